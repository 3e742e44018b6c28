// Makes a mesh of arbitrary bytes, has it imported as an STL or a PLY file and converted to a small grid.
// With clang's libFuzzer (QV_3D_BUILD_FUZZERS) it searches; with replay_main.cpp it is an ordinary test that
// runs the corpus.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "exports/QV_3D.h"
#include "mesh/ply_reader.h"
#include "mesh/stl_reader.h"
#include "tests/fuzz/refinement.h"
#include "tests/support/fake_diagnostics.h"
#include "tests/support/ply_files.h"
#include "tests/support/stl_files.h"
#include "tests/support/temporary_file.h"

namespace {

using qv::mesh::Triangle;
using qv::mesh::Vertex;

constexpr std::size_t kHeadBytes = 8;
constexpr std::size_t kFewestTriangles = 200;

/// How the rest of the input is understood.
struct Head {
  bool isPly, isBinary, isLattice;
  int nx, ny;
  float xOffset, yOffset, xSize, ySize;  ///< in extents of the mesh

  explicit Head(const std::uint8_t* bytes)
      : isPly((bytes[0] & 1) != 0),
        isBinary((bytes[0] & 2) != 0),
        isLattice((bytes[0] & 4) != 0),
        nx(bytes[1] % 40 - 2),
        ny(bytes[2] % 40 - 2),
        xOffset(static_cast<float>(bytes[3] - 64) / 256),
        yOffset(static_cast<float>(bytes[4] - 64) / 256),
        xSize(static_cast<float>(bytes[5] - 64) / 64),
        ySize(static_cast<float>(bytes[6] - 64) / 64) {}
};

/// Small whole numbers, which meet each other and the samples, or any floats.
std::vector<Vertex> TakeVertices(const Head& head, const std::uint8_t* data, std::size_t size) {
  const std::size_t each = head.isLattice ? 3 : sizeof(Vertex);
  std::vector<Vertex> vertices(size / each);
  for (std::size_t i = 0; i < vertices.size(); ++i) {
    const std::uint8_t* at = data + i * each;
    if (head.isLattice) {
      vertices[i] = {static_cast<float>(at[0] % 32), static_cast<float>(at[1] % 32),
                     static_cast<float>(at[2])};
    } else {
      std::memcpy(&vertices[i], at, sizeof(Vertex));
    }
  }
  return vertices;
}

/// Each vertex with the two behind it, over and over until there are enough triangles for a conversion.
qv::test::PlyFaces MakeFaces(std::size_t vertexCount) {
  qv::test::PlyFaces faces;
  for (std::size_t i = 0; faces.size() < std::max(kFewestTriangles, vertexCount); ++i) {
    const auto corner = [&](std::size_t k) { return static_cast<int>((i + k) % vertexCount); };
    faces.push_back({corner(0), corner(1), corner(2)});
  }
  return faces;
}

std::string StlBytes(const Head& head, const std::vector<Vertex>& vertices, const qv::test::PlyFaces& faces) {
  qv::test::Triangles triangles;
  const auto at = [&](int corner) { return vertices[static_cast<std::size_t>(corner)]; };
  for (const std::vector<int>& face : faces) triangles.push_back({at(face[0]), at(face[1]), at(face[2])});
  return head.isBinary ? qv::test::BinaryStl(triangles) : qv::test::AsciiStl(triangles);
}

std::string PlyBytes(const Head& head, const std::vector<Vertex>& vertices, const qv::test::PlyFaces& faces) {
  return qv::test::PlyMesh(head.isBinary ? qv::ply::FileKind::kBinaryBigEndian : qv::ply::FileKind::kAscii,
                           vertices, faces);
}

/// Returns the parse's bounds in `b`. False when the mesh would take long.
bool Load(const Head& head, const char* name, float* b) {
  int count = 0, faces = 0;
  if (!head.isPly) {
    if (ParseSTLFile(name, b, b + 1, b + 2, b + 3, b + 4, b + 5, &count) != 0) std::abort();
    return qv::test::IsQuicklyRefined(qv::mesh::stl.StlTriangles, qv::mesh::stl.StlTriangleCount,
                                      qv::mesh::stl.StlBounds);
  }
  if (ParsePLYFile(name, b, b + 1, b + 2, b + 3, b + 4, b + 5, &count, &faces) != 0) std::abort();
  qv::mesh::GrowingArray<Triangle> triangles;
  for (const qv::mesh::PlyFace& face : qv::mesh::ply.PlyFaces) {
    const auto at = [&](int k) {
      return qv::mesh::ply.PlyVertices[static_cast<std::size_t>(face.vertexIndices[k])];
    };
    if (!triangles.Append({at(0), at(1), at(2)})) std::abort();
  }
  return qv::test::IsQuicklyRefined(triangles, faces, qv::mesh::ply.PlyBounds);
}

/// Every height is the missing value or one between those of the vertices, give or take a rounding; or 0.
void CheckHeights(const std::vector<float>& heights, float low, float high) {
  const float slack = 1e-3F * (std::abs(low) + std::abs(high)) + (high - low);
  for (const float z : heights) {
    if (z != -1e10F && z != 0 && (z < low - slack || z > high + slack)) std::abort();
  }
}

void Convert(const Head& head, const float* b) {
  const auto intervals = [](int n) { return n < 0 ? 0 : static_cast<std::size_t>(n) + 1; };
  std::vector<float> heights(intervals(head.nx) * intervals(head.ny), -1e10F);
  const float width = b[1] - b[0], depth = b[3] - b[2];
  const auto convert = head.isPly ? ConvertPLYFile : ConvertSTLFile;
  const unsigned status = convert(head.nx, head.ny, head.xOffset * width, head.yOffset * depth,
                                  head.xSize * width, head.ySize * depth, heights.data());
  if (status > 1) std::abort();
  if (status == 0 && std::isfinite(b[4]) && std::isfinite(b[5]) && head.isLattice)
    CheckHeights(heights, b[4], b[5]);
}

}  // namespace

// NOLINTNEXTLINE(readability-identifier-naming): libFuzzer's name
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const qv::test::TemporaryFile file("");
  if (size < kHeadBytes) return 0;
  const Head head(data);
  const std::vector<Vertex> vertices = TakeVertices(head, data + kHeadBytes, size - kHeadBytes);
  if (vertices.empty()) return 0;
  const qv::test::PlyFaces faces = MakeFaces(vertices.size());
  file.Write(head.isPly ? PlyBytes(head, vertices, faces) : StlBytes(head, vertices, faces));
  qv::mesh::stl.Verbose = qv::mesh::ply.PlyVerbose = data[7] % 2;
  qv::test::EndsProcess([&] {
    float b[6];
    if (Load(head, file.name(), b)) Convert(head, b);
  });
  CleanUpSTL();
  CleanUpPLY();
  qv::test::TakeMessages();
  return 0;
}
