// Results for people and for programs.
#pragma once

#include <string>
#include <vector>

#include "analysis/height_map.h"
#include "import/load.h"
#include "json.h"

namespace qv3d {

/// Lengths in the unit of the file, which stands beside them.
Json JsonOf(const MeshFacts& mesh);
Json JsonOf(const MeshCheck& check);
Json JsonOf(const Statistics& statistics);
Json JsonOfGrid(const LoadedMap& loaded);

/// What every command says first: the file, its unit, the mesh if it is one, and what became of it.
Json JsonOfSource(const ImportOptions& options, const LoadedMap& loaded);

/// A float as the shortest number that means it.
Json ShortNumber(float value);

/// A number without a unit, for people; "-" where it is none.
std::string FormatNumber(float value);

struct TableRow {
  std::string name, value, meaning;
};

/// The statistics with units, for a table.
std::vector<TableRow> RowsOf(const Statistics& statistics, const std::string& fileUnit);

struct ReportPicture {
  std::string title, caption;
  std::string file;   ///< where it can be found too; empty for nowhere
  std::string bytes;  ///< of a PNG or SVG file
  bool half = false;  ///< of the page's width
};

/// All texts are HTML.
struct HtmlReport {
  std::string title, subtitle;
  std::string statisticsTitle = "Roughness";
  std::vector<TableRow> facts;
  std::vector<TableRow> statistics;
  std::vector<TableRow> results;  ///< of single steps
  std::vector<ReportPicture> pictures;
  std::vector<std::string> steps;
  std::vector<std::string> nextSteps;
};

/// One self-contained page: the pictures are inside. A part without content has no heading.
std::string HtmlOf(const HtmlReport& report);

}  // namespace qv3d
