#include "formats/md5.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <fmt/format.h>

#include "formats/samples.h"

namespace qv3d {
namespace {

constexpr std::size_t kBlock = 64;

using State = std::array<std::uint32_t, 4>;

/// 2^32 times the sine of 1, 2, 3 ..., as the algorithm is defined; these are no rounding's borderline cases.
std::array<std::uint32_t, kBlock> Sines() {
  std::array<std::uint32_t, kBlock> table{};
  for (std::size_t i = 0; i < kBlock; ++i) {
    table[i] =
        static_cast<std::uint32_t>(std::floor(std::abs(std::sin(static_cast<double>(i + 1))) * 4294967296.0));
  }
  return table;
}

void Digest(std::string_view block, State& state) {
  static const std::array<std::uint32_t, kBlock> kSines = Sines();
  constexpr std::array<std::array<int, 4>, 4> kTurns{
      {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}}};
  auto [a, b, c, d] = state;
  for (std::size_t i = 0; i < kBlock; ++i) {
    std::uint32_t f = 0;
    std::size_t word = 0;
    switch (i / 16) {
      case 0:
        f = (b & c) | (~b & d), word = i;
        break;
      case 1:
        f = (d & b) | (~d & c), word = (5 * i + 1) % 16;
        break;
      case 2:
        f = b ^ c ^ d, word = (3 * i + 5) % 16;
        break;
      default:
        f = c ^ (b | ~d), word = 7 * i % 16;
        break;
    }
    f += a + kSines[i] + LoadLittle<std::uint32_t>(block, 4 * word);
    a = d;
    d = c;
    c = b;
    b += std::rotl(f, kTurns[i / 16][i % 4]);
  }
  state = {state[0] + a, state[1] + b, state[2] + c, state[3] + d};
}

}  // namespace

std::string Md5Of(std::string_view bytes) {
  State state{0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
  const auto bits = std::uint64_t{8} * bytes.size();
  while (bytes.size() >= kBlock) {
    Digest(bytes.substr(0, kBlock), state);
    bytes.remove_prefix(kBlock);
  }
  std::string rest(bytes);
  rest += '\x80';
  while (rest.size() % kBlock != kBlock - sizeof bits) rest += '\0';
  StoreLittle(rest, bits);
  for (std::size_t at = 0; at < rest.size(); at += kBlock) {
    Digest(std::string_view(rest).substr(at, kBlock), state);
  }
  std::string text;
  for (const std::uint32_t word : state) {
    for (int shift = 0; shift < 32; shift += 8) text += fmt::format("{:02x}", (word >> shift) & 0xff);
  }
  return text;
}

}  // namespace qv3d
