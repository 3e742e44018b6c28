// A general reader of PLY polygon files: it reads the header, lets its caller choose which properties of an
// element to store and where in records of its own, and reads the records, every value converted from the
// file's type to the caller's.
//
// The elements must be read in the order of the header, each from its first record to its last: the file is
// one stream.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "mesh/block_reader.h"
#include "mesh/growing_array.h"
#include "mesh/ply/diagnostics.h"
#include "mesh/ply/header.h"

namespace qv::ply {

/// Where a record keeps a list: its length, as a number of a type of the caller's choice, and as many of its
/// items as there is room for. (A list in the heap for every record would cost more than reading it.)
struct ListPlace {
  Type type;
  std::size_t offset;
  std::size_t room;  ///< in items
  Type countType;
  std::size_t countOffset;
};

class PlyFile {
 public:
  /// Reads the header. Takes the file, and closes it in the end unless it is a standard stream. Null where
  /// this is no PLY file.
  static std::unique_ptr<PlyFile> Open(std::FILE* file);

  FileKind kind() const { return header_.kind; }
  float version() const { return header_.version; }
  const std::vector<std::string>& comments() const { return header_.comments; }
  const std::vector<std::string>& objInfo() const { return header_.objInfo; }
  int elementCount() const { return static_cast<int>(header_.elements.size()); }

  /// Null, with a warning, when there is none of this index.
  const PlyElement* Element(int index) const;

  /// Asks for a property of an element to be stored in its records. Where the element has none of this name
  /// and kind there is a warning, false is returned, and that part of the records stays zero.
  bool RequestScalar(int element, const char* name, Type type, std::size_t offset);
  bool RequestList(int element, const char* name, const ListPlace& place);
  /// The string's characters and a zero behind them; `room` counts that too.
  bool RequestString(int element, const char* name, std::size_t offset, std::size_t room);

  /// Asks for what is not requested of an element to be set aside in its `others`.
  bool KeepOthers(int element);
  /// The same by the element's name. False, with a message, when there is no such element.
  bool KeepOthers(const std::string& elementName);

  /// Reads the next `count` records of an element, `stride` bytes apart; what is not stored in them becomes
  /// zero. Returns how many the file has: where a binary file ends early, which is no error, the others are
  /// zero, and so are records without properties, which take no place in it. A text file that ends early ends
  /// the process, and so does a type that is none. Returns -1 after a message when memory ran out.
  std::ptrdiff_t ReadRecords(int element, void* records, std::size_t stride, std::size_t count);

  /// Reads all the records of an element. The array becomes as long as the file has records. Returns false
  /// after a message when memory ran out, and also for an announced number that is both large and larger than
  /// the file: memory is given for what is there, not for what is said to be.
  template <class Record>
  [[nodiscard]] bool ReadElement(int element, mesh::GrowingArray<Record>* records);

  /// The same for an element of which nothing is stored.
  [[nodiscard]] bool PassElement(int element);

 private:
  explicit PlyFile(std::FILE* file);

  struct CloseUnlessStandard {
    void operator()(std::FILE* file) const {
      if (file != stdin && file != stdout) std::fclose(file);
    }
  };

  PlyProperty* FindProperty(int element, const char* name, PropertyKind kind);
  static bool IsBelievable(std::size_t announced, std::size_t fileBytes);

  static constexpr std::size_t kRecordsAtOnce = 8192;
  static constexpr std::size_t kAlwaysBelieved = 1'000'000;

  std::unique_ptr<std::FILE, CloseUnlessStandard> file_;
  std::size_t fileBytes_;  ///< the largest number when not known
  mesh::BlockReader reader_;
  PlyHeader header_;
};

template <class Record>
bool PlyFile::ReadElement(int element, mesh::GrowingArray<Record>* records) {
  records->Truncate(0);
  const auto announced =
      static_cast<std::size_t>(header_.elements[static_cast<std::size_t>(element)].recordCount);
  if (!IsBelievable(announced, fileBytes_)) return false;
  // Most often the number is true, and then the array need not move. Memory is used only as it is filled.
  static_cast<void>(records->Reserve(std::min(announced, fileBytes_)));
  while (records->size() < announced) {
    const std::size_t before = records->size(), wanted = std::min(announced - before, kRecordsAtOnce);
    Record* added = records->Extend(wanted);
    if (added == nullptr) {
      ReportAllocation();
      return false;
    }
    const std::ptrdiff_t found = ReadRecords(element, added, sizeof(Record), wanted);
    if (found < 0) return false;
    records->Truncate(before + static_cast<std::size_t>(found));
    if (static_cast<std::size_t>(found) < wanted) return IsBelievable(announced, reader_.BytesRead());
  }
  return true;
}

}  // namespace qv::ply
