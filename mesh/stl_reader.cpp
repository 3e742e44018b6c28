#include "mesh/stl_reader.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>

#include "core/diagnostics.h"
#include "exports/QV_3D.h"
#include "mesh/block_reader.h"
#include "mesh/input_file.h"
#include "mesh/text_scanner.h"

namespace qv::mesh {

StlModule stl;

namespace {

using diagnostics::Print;
using Triangles = GrowingArray<Triangle>;

constexpr int kUnreadable = -1;

/// A file is text when it begins with "solid" in any letter case, also where it is a binary file whose header
/// does.
bool LooksLikeText(BlockReader& reader) {
  if (!reader.Have(5)) return false;
  const char* text = reader.Cursor();
  const char* solid = "solid";
  return std::all_of(text, text + 5, [&](char c) { return (c | 0x20) == *solid++; });
}

// Binary files: a header, the announced number of records, and the records: normal, three vertices,
// attribute.
constexpr std::size_t kHeaderBytes = 80;
constexpr std::size_t kNormalBytes = 12;
constexpr std::size_t kRecordBytes = 50;

/// The announced number of triangles; 0 where the file ends before it.
std::int32_t ReadAnnouncedCount(BlockReader& reader) {
  static_assert(sizeof(float) == 4 && sizeof(std::int32_t) == 4);
  std::int32_t count = 0;
  const bool complete = reader.Have(sizeof count);
  if (complete) std::memcpy(&count, reader.Cursor(), sizeof count);
  reader.ConsumeTo(complete ? reader.Cursor() + sizeof count : reader.End());
  return count;
}

/// Appends up to `wanted` triangles from the complete records in the buffer.
bool TakeWholeRecords(BlockReader& reader, std::size_t wanted, Triangles* triangles) {
  const std::size_t count = std::min(wanted, reader.Available() / kRecordBytes);
  Triangle* added = triangles->Extend(count);
  if (added == nullptr) return false;
  static_assert(kRecordBytes - kNormalBytes + BlockReader::kPadding >= sizeof(Triangle) + sizeof(float));
  stl.StlBounds.WidenCopying(reader.Cursor() + kNormalBytes, kRecordBytes, added, count);
  reader.ConsumeTo(reader.Cursor() + count * kRecordBytes);
  return true;
}

/// The file ends inside a record: a triangle whose normal is there counts, and each coordinate that is not
/// there keeps its value of the triangle before.
bool TakeCutRecord(BlockReader& reader, Triangles* triangles) {
  const std::size_t vertexBytes = reader.Available() - kNormalBytes;
  Triangle last = triangles->empty() ? Triangle{} : *(triangles->end() - 1);
  if (vertexBytes < sizeof last) Print("ReadSTL - Error reading triangle vertices\n");
  const std::size_t usable = std::min(vertexBytes / sizeof(float) * sizeof(float), sizeof last);
  std::memcpy(&last, reader.Cursor() + kNormalBytes, usable);
  stl.StlBounds.Widen(&last, 1);
  reader.ConsumeTo(reader.End());
  return triangles->Append(last);
}

int ReadBinary(BlockReader& reader, std::size_t fileBytes, Triangles* triangles) {
  if (stl.Verbose != 0) Print("Attempting to read a binary STL file\n");
  if (!reader.Have(kHeaderBytes)) {
    Print("ReadSTL - Error reading binary file header\n");
    return kUnreadable;
  }
  reader.ConsumeTo(reader.Cursor() + kHeaderBytes);
  const std::int32_t announced = ReadAnnouncedCount(reader);
  if (stl.Verbose != 0) Print("Expecting %d triangles\n", announced);
  if (announced < 1) return 0;

  // The announced number may be a lie, and so may the size: storage grows with what is really there. But the
  // smaller of the two is most often true, and then the array need not move.
  const auto expected = static_cast<std::size_t>(announced);
  static_cast<void>(triangles->Reserve(std::min(expected, fileBytes / kRecordBytes + 1)));
  while (triangles->size() < expected) {
    if (reader.Have(kRecordBytes)) {
      if (!TakeWholeRecords(reader, expected - triangles->size(), triangles)) return kUnreadable;
    } else if (reader.Available() >= kNormalBytes) {
      if (!TakeCutRecord(reader, triangles)) return kUnreadable;
    } else {
      Print("ReadSTL - Error reading triangle normal\n");
      break;
    }
  }
  return static_cast<int>(triangles->size());
}

/// The vertices of the facet being read from a text file.
struct PendingFacet {
  Vertex vertices[4];
  int count = 0;
};

bool ReadVertex(TextScanner& scanner, Vertex* vertex) {
  float coordinates[3];
  if (!scanner.NextNumbers(coordinates, 3)) return false;
  *vertex = {coordinates[0], coordinates[1], coordinates[2]};
  return true;
}

/// A facet is committed by the "endfacet" or "facet" that follows it, if it has three vertices by then.
bool CommitFacet(PendingFacet* facet, Triangles* triangles) {
  const bool complete = facet->count == 3;
  facet->count = 0;
  if (!complete) return true;
  return triangles->size() < INT_MAX &&
         triangles->Append({facet->vertices[0], facet->vertices[1], facet->vertices[2]});
}

int ReadText(BlockReader& reader, Triangles* triangles) {
  if (stl.Verbose != 0) Print("Attempting to read an ascii STL file\n");
  TextScanner scanner(reader);
  PendingFacet facet;
  for (;;) {
    const TextScanner::Word word = scanner.NextKeyword();
    if (word == TextScanner::Word::kNone) break;
    if (word == TextScanner::Word::kFacet || word == TextScanner::Word::kEndFacet) {
      if (!CommitFacet(&facet, triangles)) return kUnreadable;
    } else if (word == TextScanner::Word::kVertex) {
      if (!ReadVertex(scanner, &facet.vertices[facet.count])) {
        Print("ReadSTL - Error occured reading a vertex\n");
        break;
      }
      if (++facet.count > 3) {
        Print("ReadSTL - More than 3 vertices, shouldn't happen\n");
        facet.count = 0;
      }
    }
  }
  stl.StlBounds.Widen(triangles->data(), triangles->size());
  return static_cast<int>(triangles->size());
}

int ReadAny(std::FILE* file, Triangles* triangles) {
  const std::size_t fileBytes = RemainingBytes(file);
  BlockReader reader(file);
  if (!reader.Have(1)) return kUnreadable;
  const int count =
      LooksLikeText(reader) ? ReadText(reader, triangles) : ReadBinary(reader, fileBytes, triangles);
  return reader.OutOfMemory() ? kUnreadable : count;
}

void ReportBounds(const MeshBounds& bounds) {
  Print("Model bounds: %g <= x <= %g\n", bounds.minimum[0], bounds.maximum[0]);
  Print("%g <= y <= %g\n", bounds.minimum[1], bounds.maximum[1]);
  Print("%g <= z <= %g\n", bounds.minimum[2], bounds.maximum[2]);
}

}  // namespace

int ReadSTL(std::FILE* file) {
  stl.StlTriangles = {};
  const int count = ReadAny(file, &stl.StlTriangles);
  if (count < 1) stl.StlTriangles = {};
  return count;
}

int ReadSTL(const char* fileName) {
  stl.StlTriangles = {};
  const InputFile file(std::fopen(fileName, "rb"));
  return file == nullptr ? kUnreadable : ReadSTL(file.get());
}

}  // namespace qv::mesh

unsigned QV_CALL ParseSTLFile(const char* fileName, float* minX, float* maxX, float* minY, float* maxY,
                              float* minZ, float* maxZ, int* triangleCount) {
  using qv::diagnostics::Print;
  using qv::mesh::stl;

  stl.StlBounds = {};
  stl.StlTriangleCount = qv::mesh::ReadSTL(fileName);
  if (stl.StlTriangleCount < 0) {
    Print("Failed to open or recognise the STL file\n");
    qv::diagnostics::EndProcess();
  }
  if (stl.StlTriangleCount == 0) {
    Print("Failed to read any triangles\n");
    qv::diagnostics::EndProcess();
  }
  if (stl.Verbose != 0) Print("Successfully read %d triangles\n", stl.StlTriangleCount);

  const qv::mesh::MeshBounds& bounds = stl.StlBounds;
  if (stl.Verbose != 0) qv::mesh::ReportBounds(bounds);

  *minX = bounds.minimum[0];
  *maxX = bounds.maximum[0];
  *minY = bounds.minimum[1];
  *maxY = bounds.maximum[1];
  *minZ = bounds.minimum[2];
  *maxZ = bounds.maximum[2];
  *triangleCount = stl.StlTriangleCount;
  return 0;
}

unsigned QV_CALL CleanUpSTL(void) {
  qv::mesh::stl.StlTriangles = {};
  return 0;
}
