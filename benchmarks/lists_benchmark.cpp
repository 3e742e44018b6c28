// Index lists and shadow structures of 1024 x 1024 samples beside writing as many bytes once: by streaming
// stores, and by a plain loop into the places that they have.
#include <cstddef>
#include <cstdint>
#include <emmintrin.h>
#include <string>
#include <vector>

#include "benchmarks/alternating.h"
#include "exports/QV_3D.h"
#include "tests/support/random_grid.h"

namespace {

constexpr int kSide = 1024;
constexpr std::size_t kSamples = std::size_t{kSide} * kSide;
constexpr std::size_t kTriangles = 2 * std::size_t{kSide - 1} * (kSide - 1);

struct Lists {
  std::vector<float> h;
  std::vector<unsigned> indices = std::vector<unsigned>(3 * kSamples);
  std::vector<unsigned> starts = std::vector<unsigned>(kSamples);
  unsigned indexCount = 0, stripCount = 0;

  explicit Lists(double missing) {
    qv::test::Random random(3);
    h = qv::test::RandomSamples(random, kSamples, {.missing = missing, .magnitude = 0.01});
    Make();
  }

  void Make() {
    CreateIndiciesList(h.data(), kSide, kSide, indices.data(), starts.data(), &indexCount, &stripCount);
    benchmark::ClobberMemory();
  }
};

std::vector<QV_ShadowTriangle>& Triangles() {
  static std::vector<QV_ShadowTriangle> triangles(kTriangles);
  return triangles;
}

/// Writes so many bytes past the cache, from the first 16-byte boundary on.
void Stream(void* to, std::size_t bytes) {
  const auto misplaced = reinterpret_cast<std::uintptr_t>(to) % 16;
  auto* at = reinterpret_cast<__m128i*>(static_cast<char*>(to) + (16 - misplaced) % 16);
  const __m128i value = _mm_set1_epi32(static_cast<int>(bytes));
  for (std::size_t i = 0; i < bytes / 16; ++i) _mm_stream_si128(at + i, value);
  _mm_sfence();
  benchmark::ClobberMemory();
}

void WriteTriangles() {
  auto& triangles = Triangles();
  for (std::size_t t = 0; t < triangles.size(); ++t) {
    for (int e = 0; e < 3; ++e) {
      triangles[t].vertex[e] = static_cast<unsigned>(t);
      triangles[t].neighbour[e] = static_cast<int>(t);
    }
  }
  benchmark::ClobberMemory();
}

void MakeShadows() {
  QV_ShadowStructure structure = {0, 0, Triangles().data()};
  CreateShadowStructure(&structure, 0, kSide, kSide);
  benchmark::ClobberMemory();
}

template <class Ours, class Theirs>
void Register(const std::string& title, const std::string& contender, Ours ours, Theirs theirs) {
  qv::bench::RegisterPair(
      title, contender, [] {}, ours, theirs)
      ->Unit(benchmark::kMicrosecond);
}

template <class Get>
void RegisterIndexList(const std::string& title, Get lists) {
  const auto ours = [=] { lists().Make(); };
  Register(title, "streamed once", ours,
           [=] { Stream(lists().indices.data(), lists().indexCount * sizeof(unsigned)); });
  Register(title, "written once", ours, [=] {
    Lists& l = lists();
    for (unsigned i = 0; i < l.indexCount; ++i) l.indices[i] = i;
    benchmark::ClobberMemory();
  });
}

const bool kRegistered = [] {
  RegisterIndexList("index list", []() -> Lists& {
    static Lists lists(0);
    return lists;
  });
  RegisterIndexList("index list, holes", []() -> Lists& {
    static Lists lists(0.01);
    return lists;
  });
  RegisterIndexList("index list, a tenth missing", []() -> Lists& {
    static Lists lists(0.1);
    return lists;
  });
  // Of a triangle's record the vertices and the neighbours are written.
  Register("shadow structure", "streamed once", &MakeShadows,
           [] { Stream(Triangles().data(), kTriangles * 6 * sizeof(int)); });
  Register("shadow structure", "written once", &MakeShadows, &WriteTriangles);
  return true;
}();

}  // namespace
