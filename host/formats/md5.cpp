#include "formats/md5.h"

#include <cstdint>
#include <md5.h>

namespace qv3d {

std::string Md5Of(std::string_view bytes) {
  char digits[MD5_DIGEST_STRING_LENGTH];
  MD5Data(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size(), digits);
  return digits;
}

}  // namespace qv3d
