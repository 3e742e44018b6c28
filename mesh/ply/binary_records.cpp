// Records of binary files. Records in a row whose lists have equal lengths make a table of equal rows, of
// which whole columns are copied at once; files are full of such rows (all scalars; all triangles). Where
// lengths vary, tables are short, down to a single row.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "mesh/ply/diagnostics.h"
#include "mesh/ply/records.h"

namespace qv::ply {
namespace {

/// Where a property stands in the rows of a table.
struct Field {
  std::uint64_t offset;  ///< of its value, or of its first item
  std::uint32_t items;
};

/// Part of a row.
struct Range {
  std::size_t offset;
  std::size_t size;
};

void CheckExternalType(Type type) {
  if (!IsType(type)) EndForType("get_binary_item", type);
}

class BinaryRecords {
 public:
  BinaryRecords(mesh::BlockReader& reader, PlyElement& element, bool reversed)
      : reader_(reader), element_(element), reversed_(reversed), fields_(element.properties.size()) {}

  std::ptrdiff_t Read(char* records, std::size_t stride, std::size_t count) {
    std::size_t done = 0;
    while (done < count) {
      char* record = records + done * stride;
      if (!MeasureRow()) {
        // The file ends within this record, or has ended in front of it.
        const bool isThere = reader_.Available() > 0;
        if (!ReadCutRecord(record)) return -1;
        if (isThere) ++done;
        break;
      }
      if (rowBytes_ == 0) break;
      const std::size_t rows = CountRows(count - done);
      CopyRows(record, stride, rows);
      if (!SetRowsAside(rows)) return -1;
      reader_.ConsumeTo(reader_.Cursor() + rows * rowBytes_);
      done += rows;
    }
    return static_cast<std::ptrdiff_t>(done);
  }

 private:
  /// How many items the list at `source` announces.
  std::uint32_t LoadCount(const PlyProperty& property, const char* source) const {
    return WithType(property.countExternalType, [&](auto zero) {
      using T = decltype(zero);
      const T count = reversed_ ? LoadValue<T, true>(source) : LoadValue<T, false>(source);
      if constexpr (std::is_same_v<T, std::uint32_t>) {
        return count;
      } else {
        return static_cast<std::uint32_t>(std::max(ConvertValue<std::int32_t>(count), 0));
      }
    });
  }

  /// Finds where the properties of the next record stand. False when the file ends before it does.
  bool MeasureRow() {
    lengths_.clear();
    std::uint64_t offset = 0;
    for (std::size_t i = 0; i < fields_.size(); ++i) {
      const PlyProperty& property = element_.properties[i];
      std::uint32_t items = 1;
      if (property.kind != PropertyKind::kScalar) {
        CheckExternalType(property.countExternalType);
        const std::size_t bytes = BytesOf(property.countExternalType);
        if (!HaveUpTo(offset + bytes)) return false;
        items = LoadCount(property, reader_.Cursor() + offset);
        lengths_.push_back({static_cast<std::size_t>(offset), bytes});
        offset += bytes;
        if (property.isWanted && property.kind == PropertyKind::kList)
          CheckInternalType(property.countInternalType);
      }
      if (items > 0) {
        CheckExternalType(property.externalType);
        if (property.isWanted) CheckInternalType(property.internalType);
      }
      fields_[i] = {offset, items};
      offset += std::uint64_t{items} * BytesOf(property.externalType);
    }
    rowBytes_ = static_cast<std::size_t>(offset);
    return HaveUpTo(offset);
  }

  bool HaveUpTo(std::uint64_t offset) {
    return reader_.Have(static_cast<std::size_t>(std::min<std::uint64_t>(offset, PTRDIFF_MAX)));
  }

  /// How many records from the next one on are rows of one table, of those that have been read.
  std::size_t CountRows(std::size_t most) const {
    most = std::min(most, reader_.Available() / rowBytes_);
    const char* first = reader_.Cursor();
    if (lengths_.empty()) return most;
    std::size_t rows = 1;
    if (lengths_.size() == 1 && lengths_[0].size == 1) {
      const char* length = first + lengths_[0].offset;
      while (rows < most && length[rows * rowBytes_] == *length) ++rows;
      return rows;
    }
    const auto isAlike = [&](const char* row) {
      return std::all_of(lengths_.begin(), lengths_.end(), [&](const Range& length) {
        return std::memcmp(row + length.offset, first + length.offset, length.size) == 0;
      });
    };
    while (rows < most && isAlike(first + rows * rowBytes_)) ++rows;
    return rows;
  }

  void CopyRows(char* records, std::size_t stride, std::size_t rows) const {
    for (std::size_t i = 0; i < fields_.size(); ++i) {
      const PlyProperty& property = element_.properties[i];
      if (!property.isWanted) continue;
      const char* source = reader_.Cursor() + fields_[i].offset;
      if (property.kind == PropertyKind::kScalar) {
        FindColumnCopy(property.externalType, reversed_, property.internalType)(
            source, rowBytes_, records + property.offset, stride, rows);
      } else {
        if (property.kind == PropertyKind::kList)
          CopyCounts(property, fields_[i].items, records, stride, rows);
        CopyItems(property, source, fields_[i].items, records + property.offset, stride, rows);
      }
    }
  }

  static void CopyCounts(const PlyProperty& property, std::uint32_t count, char* records, std::size_t stride,
                         std::size_t rows) {
    char bytes[sizeof count];
    std::memcpy(bytes, &count, sizeof count);
    FindColumnCopy(Type::kUint32, false, property.countInternalType)(bytes, 0, records + property.countOffset,
                                                                     stride, rows);
  }

  /// Column by column, or row by row, whichever are fewer.
  void CopyItems(const PlyProperty& property, const char* source, std::size_t count, char* target,
                 std::size_t stride, std::size_t rows) const {
    const std::size_t kept = KeptItems(property, count);
    if (kept == 0) return;
    const ColumnCopy copy = FindColumnCopy(property.externalType, reversed_, property.internalType);
    const std::size_t itemBytes = BytesOf(property.externalType);
    const std::size_t storedBytes = BytesOf(property.internalType);
    if (kept < rows) {
      for (std::size_t k = 0; k < kept; ++k)
        copy(source + k * itemBytes, rowBytes_, target + k * storedBytes, stride, rows);
    } else {
      for (std::size_t row = 0; row < rows; ++row)
        copy(source + row * rowBytes_, itemBytes, target + row * stride, storedBytes, kept);
    }
  }

  bool SetRowsAside(std::size_t rows) {
    if (!element_.keepsOthers) return true;
    FindOtherRanges();
    if (others_.size() == 1 && others_[0].size == rowBytes_)
      return SetAside(reader_.Cursor(), rows * rowBytes_);
    for (std::size_t row = 0; row < rows; ++row) {
      for (const Range& range : others_) {
        if (!SetAside(reader_.Cursor() + row * rowBytes_ + range.offset, range.size)) return false;
      }
    }
    return true;
  }

  /// The parts of a row that are not wanted, joined where they touch.
  void FindOtherRanges() {
    others_.clear();
    std::size_t begin = 0;
    for (std::size_t i = 0; i < fields_.size(); ++i) {
      const std::size_t end = static_cast<std::size_t>(
          fields_[i].offset + std::uint64_t{fields_[i].items} * BytesOf(element_.properties[i].externalType));
      if (!element_.properties[i].isWanted && end > begin) {
        if (!others_.empty() && others_.back().offset + others_.back().size == begin) {
          others_.back().size += end - begin;
        } else {
          others_.push_back({begin, end - begin});
        }
      }
      begin = end;
    }
  }

  bool SetAside(const char* bytes, std::size_t count) {
    if (count == 0) return true;
    char* kept = element_.others.Extend(count);
    if (kept == nullptr) return false;
    std::memcpy(kept, bytes, count);
    return true;
  }

  /// The last record, of which only a part is there: a value that is cut is zero, and so are those behind it.
  bool ReadCutRecord(char* record) {
    for (const PlyProperty& property : element_.properties) {
      const char* before = reader_.Cursor();
      std::uint32_t items = 1;
      if (property.kind != PropertyKind::kScalar) {
        CheckExternalType(property.countExternalType);
        const std::size_t bytes = BytesOf(property.countExternalType);
        const bool isThere = reader_.Available() >= bytes;
        items = isThere ? LoadCount(property, reader_.Cursor()) : 0;
        Consume(bytes);
        if (property.isWanted && property.kind == PropertyKind::kList) {
          CheckInternalType(property.countInternalType);
          CopyCounts(property, items, record, 0, 1);
        }
      }
      if (items > 0) ReadCutItems(property, items, record);
      const auto taken = static_cast<std::size_t>(reader_.Cursor() - before);
      if (element_.keepsOthers && !property.isWanted && !SetAside(before, taken)) return false;
    }
    return true;
  }

  void ReadCutItems(const PlyProperty& property, std::size_t items, char* record) {
    CheckExternalType(property.externalType);
    const std::size_t itemBytes = BytesOf(property.externalType);
    if (property.isWanted) {
      CheckInternalType(property.internalType);
      const std::size_t there = std::min(KeptItems(property, items), reader_.Available() / itemBytes);
      FindColumnCopy(property.externalType, reversed_, property.internalType)(
          reader_.Cursor(), itemBytes, record + property.offset, BytesOf(property.internalType), there);
    }
    Consume(std::uint64_t{items} * itemBytes);
  }

  /// A value that is cut is gone too.
  void Consume(std::uint64_t bytes) {
    const std::uint64_t there = reader_.Available();
    reader_.ConsumeTo(reader_.Cursor() + static_cast<std::size_t>(std::min(bytes, there)));
  }

  mesh::BlockReader& reader_;
  PlyElement& element_;
  const bool reversed_;
  std::vector<Field> fields_;
  std::vector<Range> lengths_;  ///< of the lists of a row
  std::vector<Range> others_;
  std::size_t rowBytes_ = 0;
};

}  // namespace

std::ptrdiff_t ReadBinaryRecords(mesh::BlockReader& reader, PlyElement& element, bool reversed, char* records,
                                 std::size_t stride, std::size_t count) {
  return BinaryRecords(reader, element, reversed).Read(records, stride, count);
}

}  // namespace qv::ply
