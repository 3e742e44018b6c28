// Memory of the PLY import, watched and made to fail through the linker's --wrap. (What the header's names
// take comes from the C++ runtime and is not seen here.)
#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

#include "exports/QV_3D.h"
#include "tests/support/fake_diagnostics.h"
#include "tests/support/ply_files.h"
#include "tests/support/temporary_file.h"

namespace {
bool watching = false;
int callsUntilFailure = -1;  // below zero: none fails
std::ptrdiff_t blocks = 0;
std::size_t largest = 0;
}  // namespace

extern "C" {
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);

void* __wrap_realloc(void* block, std::size_t size) {
  if (!watching) return __real_realloc(block, size);
  if (callsUntilFailure >= 0 && callsUntilFailure-- == 0) return nullptr;
  if (block == nullptr) ++blocks;
  largest = std::max(largest, size);
  return __real_realloc(block, size);
}

void __wrap_free(void* block) {
  if (watching && block != nullptr) --blocks;
  __real_free(block);
}
}

namespace {

using qv::ply::FileKind;
using qv::test::TakeMessages;
using qv::test::TemporaryFile;

struct Outcome {
  bool ended = false;
  unsigned status = 77, conversion = 77;
  bool failed = false;  ///< an allocation did
  std::string messages;
};

Outcome Import(const TemporaryFile& file, int failAt) {
  float b[6], heights[9];
  int vertices = 0, faces = 0;
  Outcome out;
  TakeMessages();
  blocks = 0;
  largest = 0;
  callsUntilFailure = failAt;
  watching = true;
  out.ended = qv::test::EndsProcess([&] {
    out.status = ParsePLYFile(file.name(), b, b + 1, b + 2, b + 3, b + 4, b + 5, &vertices, &faces);
    out.conversion = ConvertPLYFile(2, 2, 0, 0, 1, 1, heights);
  });
  CleanUpPLY();
  watching = false;
  out.failed = failAt >= 0 && callsUntilFailure < 0;
  out.messages = TakeMessages();
  return out;
}

std::string Body(FileKind kind) {
  qv::test::PlyWriter file(kind);
  file.Line("element vertex 200").Line("property float x").Line("property float y").Line("property float z");
  file.Line("element other 2").Line("property int a");
  file.Line("element face 200").Line("property list uchar int vertex_indices").Line("end_header");
  for (int i = 0; i < 200; ++i) {
    for (const int c : {i, i % 2, i % 3}) file.Value(qv::ply::Type::kFloat32, c);
    file.EndRecord();
  }
  for (int i = 0; i < 2; ++i) file.Value(qv::ply::Type::kInt32, i).EndRecord();
  for (int i = 0; i < 200; ++i) {
    file.Value(qv::ply::Type::kUint8, 3);
    for (int k = 0; k < 3; ++k) file.Value(qv::ply::Type::kInt32, i % 2 == 0 ? k : 3 - k);
    file.EndRecord();
  }
  return file.bytes();
}

// With the C++ library linked in statically, what its containers release passes the counter as well, but what
// they allocate does not.
#ifdef _WIN32
constexpr bool kCountsBlocks = false;
#else
constexpr bool kCountsBlocks = true;
#endif

constexpr const char* kBombed = "Memory allocation bombed on line ";

}  // namespace

TEST(ParsePLYFile_Memory, EveryAllocationThatFails_MessageAndOne) {
  if (!kCountsBlocks)
    std::puts("blocks are not counted: the static C++ library releases its own through the counter");
  for (const FileKind kind : qv::test::kPlyKinds) {
    const TemporaryFile file(Body(kind), ".ply");
    int failures = 0;
    for (int failAt = 0;; ++failAt) {
      const Outcome out = Import(file, failAt);
      if (kCountsBlocks) {
        EXPECT_EQ(blocks, 0) << "not released, or twice";
      }
      EXPECT_FALSE(out.ended);
      if (!out.failed) {
        EXPECT_EQ(out.conversion, 0U);
        break;
      }
      // A reservation may fail without harm, and a conversion fails without a message.
      if (out.status != 0) {
        EXPECT_EQ(out.status, 1U);
        EXPECT_EQ(out.messages.substr(0, std::string(kBombed).size()), kBombed);
        EXPECT_EQ(out.messages.substr(out.messages.size() - 8), " in ply\n");
        ++failures;
      } else {
        EXPECT_EQ(out.messages, "");
        EXPECT_LE(out.conversion, 1U);
      }
    }
    EXPECT_GE(failures, 2);
  }
}

TEST(ParsePLYFile_Memory, LyingNumbers_TakeNoMoreThanTheFileIsLong) {
  constexpr std::size_t kFewBlocks = 600 * 1024;
  const std::string xyz = "property float x\nproperty float y\nproperty float z\n";
  const TemporaryFile records("ply\nformat ascii 1.0\nelement vertex 1000000\n" + xyz + "end_header\n1 2 3\n",
                              ".ply");
  EXPECT_TRUE(Import(records, -1).ended);
  EXPECT_LE(largest, kFewBlocks);
  const TemporaryFile beyond(
      "ply\nformat binary_little_endian 1.0\nelement vertex 2147483647\n" + xyz + "end_header\n", ".ply");
  EXPECT_EQ(Import(beyond, -1).status, 1U);
  EXPECT_LE(largest, kFewBlocks);
  const TemporaryFile lists("ply\nformat ascii 1.0\nelement vertex 1\n" + xyz +
                                "element face 2\nproperty list uint int vertex_indices\nend_header\n1 2 3\n"
                                "4294967295\n4000000000 1 2 3\n",
                            ".ply");
  EXPECT_EQ(Import(lists, -1).status, 0U);
  EXPECT_LE(largest, kFewBlocks);
  const TemporaryFile items("ply\nformat binary_little_endian 1.0\nelement vertex 1\n" + xyz +
                                "element face 1\nproperty list uint double vertex_indices\nend_header\n" +
                                std::string(12, '\0') + "\xFF\xFF\xFF\xFF" + std::string(100, '\1'),
                            ".ply");
  EXPECT_EQ(Import(items, -1).status, 0U);
  EXPECT_LE(largest, kFewBlocks);
}
