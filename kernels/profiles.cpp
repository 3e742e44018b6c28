#include "kernels/kernels.h"
#include "kernels/lanes.h"

namespace qv::kernels::QV_KERNEL_ISA {

namespace {

constexpr std::ptrdiff_t kPart = 8;   // lanes of one vector
constexpr std::ptrdiff_t kParts = 4;  // sums kept in registers at once
constexpr std::ptrdiff_t kTile = kPart * kParts;

/// One step of the two offsets around the cycle.
QV_INLINE void Turn(std::ptrdiff_t n, std::ptrdiff_t& ahead, std::ptrdiff_t& behind) {
  if (++ahead == n) ahead = 0;
  if (--behind < 0) behind = n - 1;
}

/// Each result takes the pairs in the order of the weights; only the results are taken tile by tile.
void AddPairs(const double* cycle, std::ptrdiff_t n, const double* weights, std::ptrdiff_t count,
              std::ptrdiff_t firstAhead, std::ptrdiff_t firstBehind, double* out) {
  std::ptrdiff_t i = 0;
  for (; i + kTile <= n; i += kTile) {
    Doubles sum[kParts];
    for (std::ptrdiff_t p = 0; p < kParts; ++p) sum[p] = LoadDoubles(out + i + p * kPart);
    std::ptrdiff_t ahead = firstAhead, behind = firstBehind;
    for (std::ptrdiff_t j = 0; j < count; ++j) {
      for (std::ptrdiff_t p = 0; p < kParts; ++p) {
        const std::ptrdiff_t at = i + p * kPart;
        sum[p] += weights[j] * (LoadDoubles(cycle + at + ahead) + LoadDoubles(cycle + at + behind));
      }
      Turn(n, ahead, behind);
    }
    for (std::ptrdiff_t p = 0; p < kParts; ++p) __builtin_memcpy(out + i + p * kPart, &sum[p], sizeof sum[p]);
  }
  for (; i < n; ++i) {
    std::ptrdiff_t ahead = firstAhead, behind = firstBehind;
    for (std::ptrdiff_t j = 0; j < count; ++j) {
      out[i] += weights[j] * (cycle[i + ahead] + cycle[i + behind]);
      Turn(n, ahead, behind);
    }
  }
}

void RaiseForward(double height, const double* arc, std::ptrdiff_t count, double* out) {
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    const double z = height - arc[i], held = out[i];
    out[i] = z > held ? z : held;
  }
}

void RaiseBackward(double height, const double* arc, std::ptrdiff_t count, double* out) {
  double* last = out - count + 1;
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    const double z = height - arc[count - 1 - i], held = last[i];
    last[i] = z > held ? z : held;
  }
}

}  // namespace

extern const ProfileKernels profiles;
const ProfileKernels profiles = {AddPairs, RaiseForward, RaiseBackward};

}  // namespace qv::kernels::QV_KERNEL_ISA
