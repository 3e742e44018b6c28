// Many files in one table: a row for each, whatever became of it.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "failure.h"
#include "pipeline/step.h"

namespace qv3d {

struct BatchRow {
  std::string file;
  Json columns = Json::object();  ///< in order; numbers, texts or null
  ExitCode code = ExitCode::kOk;
  std::string message;  ///< of a failure
};

enum class TableFormat { kCsv, kJsonLines };

/// Prints every row as soon as it is there (JSON lines), or all of them at the end (CSV, whose columns are
/// those of all rows).
class BatchTable {
 public:
  explicit BatchTable(TableFormat format) : format_(format) {}

  void Add(BatchRow row);
  /// The worst of all rows.
  ExitCode Finish() const;

 private:
  TableFormat format_;
  std::vector<BatchRow> rows_;
};

/// The files, with those that are none and look like a pattern (*, ?, [) replaced by what they match. A
/// pattern that matches nothing stays, and cannot be read.
std::vector<std::filesystem::path> ExpandPatterns(const std::vector<std::string>& names);

/// Grid, spacing and missing samples of what was loaded, as the first columns of a row.
Json ColumnsOf(const HeightMap& map, std::size_t missing, const std::string& unit);

/// Makes the row of a file by `fill`, or of the Failure that it ends with.
template <class Fill>
BatchRow RowOf(const std::filesystem::path& file, Fill fill) {
  BatchRow row;
  row.file = file.string();
  try {
    fill(row);
  } catch (const Failure& failure) {
    row.code = failure.code();
    row.message = failure.what();
  } catch (const std::bad_alloc&) {
    row.code = ExitCode::kNotComputable;
    row.message = "out of memory";
  }
  return row;
}

/// Throws Failure with the worst code of a table that has been printed, unless all is well.
void RequireOk(const BatchTable& table);

}  // namespace qv3d
