// The checksum that X3P files carry.
#pragma once

#include <string>
#include <string_view>

namespace qv3d {

/// RFC 1321, as 32 small hexadecimal digits.
std::string Md5Of(std::string_view bytes);

}  // namespace qv3d
