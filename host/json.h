// JSON whose members keep their order.
#pragma once

#include <nlohmann/json.hpp>

namespace qv3d {

using Json = nlohmann::ordered_json;

}  // namespace qv3d
