// Feeds arbitrary bytes to the PLY reader: as the import reads them, and with every property of every element
// requested in a type that the bytes choose. With clang's libFuzzer (QV_3D_BUILD_FUZZERS) it searches; with
// replay_main.cpp it is an ordinary test that runs the corpus.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "exports/QV_3D.h"
#include "mesh/ply/ply_file.h"
#include "mesh/ply_reader.h"
#include "tests/support/fake_diagnostics.h"
#include "tests/support/temporary_file.h"

namespace {

using qv::mesh::ply;
using qv::ply::PlyFile;
using qv::ply::Type;

void Import(const char* name) {
  float b[6];
  int vertices = 0, faces = 0;
  const unsigned status = ParsePLYFile(name, b, b + 1, b + 2, b + 3, b + 4, b + 5, &vertices, &faces);
  if (status > 1) std::abort();
  const auto isCount = [](std::size_t size, int count) {
    return count >= 0 && size == static_cast<std::size_t>(count);
  };
  if (status == 0 &&
      (vertices < 1 || !isCount(ply.PlyVertices.size(), vertices) || !isCount(ply.PlyFaces.size(), faces)))
    std::abort();
}

/// Asks for a property in a record that has 64 bytes for it. Returns the bytes of its record.
std::size_t Request(PlyFile& file, int element, const qv::ply::PlyProperty& property, std::size_t offset,
                    int choice) {
  const auto type = static_cast<Type>(choice % 9 + (choice == 255 ? 1 : 0));
  const auto countType = static_cast<Type>(choice / 9 % 8 + 1);
  switch (property.kind) {
    case qv::ply::PropertyKind::kScalar:
      file.RequestScalar(element, property.name.c_str(), type, offset);
      break;
    case qv::ply::PropertyKind::kList:
      file.RequestList(element, property.name.c_str(), {type, offset, 7, countType, offset + 56});
      break;
    default:
      file.RequestString(element, property.name.c_str(), offset, static_cast<std::size_t>(choice % 64));
      break;
  }
  return 64;
}

void ReadEverything(const char* name, const std::uint8_t* data, std::size_t size) {
  std::FILE* opened = std::fopen(name, "rb");
  if (opened == nullptr) std::abort();
  const std::unique_ptr<PlyFile> file = PlyFile::Open(opened);
  if (file == nullptr) return;
  std::size_t next = 0;
  for (int i = 0; i < file->elementCount(); ++i) {
    std::size_t stride = 0;
    const std::vector<qv::ply::PlyProperty> properties = file->Element(i)->properties;
    for (const qv::ply::PlyProperty& property : properties) {
      const int choice = data[next++ % size];
      if (choice % 4 != 0) stride += Request(*file, i, property, stride, choice);
    }
    if (data[next++ % size] % 2 == 0) file->KeepOthers(i);
    std::vector<char> records(3 * stride);
    for (int left = file->Element(i)->recordCount; left > 0 && left < 1000; left -= 3) {
      if (file->ReadRecords(i, records.data(), stride, static_cast<std::size_t>(std::min(left, 3))) < 0)
        std::abort();
    }
  }
}

}  // namespace

// NOLINTNEXTLINE(readability-identifier-naming): libFuzzer's name
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const qv::test::TemporaryFile file("");
  file.Write(std::string(reinterpret_cast<const char*>(data), size));
  qv::test::EndsProcess([&] { Import(file.name()); });
  CleanUpPLY();
  if (size > 0) qv::test::EndsProcess([&] { ReadEverything(file.name(), data, size); });
  qv::test::TakeMessages();
  return 0;
}
