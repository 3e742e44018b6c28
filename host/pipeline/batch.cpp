#include "pipeline/batch.h"

#include <algorithm>
#include <cstdio>
#include <fmt/format.h>
#include <glob.h>
#include <system_error>

namespace qv3d {
namespace {

std::string CsvField(const Json& value) {
  if (value.is_null()) return {};
  if (!value.is_string()) return value.dump();
  std::string text = value.get<std::string>();
  if (text.find_first_of(",\"\n\r") == std::string::npos) return text;
  std::string quoted(1, '"');
  for (const char c : text) quoted.append(c == '"' ? 2 : 1, c);
  quoted += '"';
  return quoted;
}

Json FieldsOf(const BatchRow& row) {
  Json fields = {{"file", row.file}};
  fields.update(row.columns);
  fields["exitCode"] = static_cast<int>(row.code);
  fields["message"] = row.message.empty() ? Json(nullptr) : Json(row.message);
  return fields;
}

void PrintCsv(const std::vector<BatchRow>& rows) {
  std::vector<std::string> names;
  for (const BatchRow& row : rows) {
    for (const auto& [name, value] : row.columns.items()) {
      if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
    }
  }
  names.insert(names.begin(), "file");
  names.insert(names.end(), {"exitCode", "message"});
  std::string text;
  for (const std::string& name : names) {
    if (!text.empty()) text += ',';
    text += CsvField(name);
  }
  text += '\n';
  for (const BatchRow& row : rows) {
    const Json fields = FieldsOf(row);
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (i > 0) text += ',';
      if (fields.contains(names[i])) text += CsvField(fields[names[i]]);
    }
    text += '\n';
  }
  fmt::print("{}", text);
}

}  // namespace

void BatchTable::Add(BatchRow row) {
  if (!row.message.empty()) fmt::print(stderr, "qv3d: {}: {}\n", row.file, row.message);
  if (format_ == TableFormat::kJsonLines) {
    // File names need not be UTF-8.
    fmt::print("{}\n", FieldsOf(row).dump(-1, ' ', false, Json::error_handler_t::replace));
    std::fflush(stdout);
  }
  rows_.push_back(std::move(row));
}

ExitCode BatchTable::Finish() const {
  if (format_ == TableFormat::kCsv) PrintCsv(rows_);
  ExitCode worst = ExitCode::kOk;
  for (const BatchRow& row : rows_) worst = std::max(worst, row.code);
  return worst;
}

void RequireOk(const BatchTable& table) {
  const ExitCode worst = table.Finish();
  if (worst == ExitCode::kOk) return;
  throw Failure(worst, "not all files could be done; their rows say why", {}, Printed::kAlready);
}

std::vector<std::filesystem::path> ExpandPatterns(const std::vector<std::string>& names) {
  std::vector<std::filesystem::path> files;
  for (const std::string& name : names) {
    std::error_code error;
    const bool isPattern =
        name.find_first_of("*?[") != std::string::npos && !std::filesystem::exists(name, error);
    glob_t found{};
    if (isPattern && glob(name.c_str(), 0, nullptr, &found) == 0) {
      files.insert(files.end(), found.gl_pathv, found.gl_pathv + found.gl_pathc);
    } else {
      files.emplace_back(name);
    }
    globfree(&found);
  }
  return files;
}

Json ColumnsOf(const HeightMap& map, std::size_t missing, const std::string& unit) {
  return {{"unit", unit},
          {"width", map.width},
          {"height", map.height},
          {"spacingX", map.SpacingX()},
          {"spacingY", map.SpacingY()},
          {"missingSamples", missing},
          {"missingShare", static_cast<double>(missing) / static_cast<double>(map.heights.size())}};
}

}  // namespace qv3d
