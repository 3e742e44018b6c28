// The report page. Styles and pictures are inside, so that the one file can be mailed.
#include <fmt/format.h>

#include "report.h"

namespace qv3d {
namespace {

constexpr const char* kStyle = R"(
:root { --ink: #262a30; --quiet: #69707a; --line: #e1e3e0; --paper: #fafaf8; --accent: #1f6f6b; }
* { box-sizing: border-box; }
body { margin: 0; background: #eef0ec; color: var(--ink); font: 16px/1.55 "DejaVu Sans", "Segoe UI", system-ui, sans-serif; }
main { max-width: 1120px; margin: 0 auto; padding: 48px 40px 64px; background: var(--paper); }
h1 { font-size: 30px; line-height: 1.2; margin: 0 0 6px; letter-spacing: -.01em; }
h2 { font-size: 19px; margin: 44px 0 12px; padding-bottom: 6px; border-bottom: 2px solid var(--accent); }
p.sub { color: var(--quiet); margin: 0 0 28px; }
.columns { display: grid; grid-template-columns: repeat(auto-fit, minmax(420px, 1fr)); gap: 0 44px; }
table { border-collapse: collapse; width: 100%; font-variant-numeric: tabular-nums; }
td { padding: 7px 10px 7px 0; border-bottom: 1px solid var(--line); vertical-align: baseline; }
td.value { text-align: right; white-space: nowrap; font-weight: 600; }
td.meaning { color: var(--quiet); padding-left: 14px; }
.narrow { max-width: 50%; }
.figures { display: grid; grid-template-columns: 1fr 1fr; gap: 26px 28px; }
figure { margin: 0; grid-column: 1 / -1; }
figure.half { grid-column: auto; }
figure img { width: 100%; border: 1px solid var(--line); display: block; }
figcaption { margin-top: 8px; color: var(--quiet); }
figcaption b { color: var(--ink); }
ol, ul { padding-left: 22px; }
li { margin: 5px 0; }
code { font: 14px/1.4 "DejaVu Sans Mono", ui-monospace, monospace; background: #e9ece7; padding: 2px 5px; border-radius: 3px; }
@page { size: A4; margin: 14mm 13mm; }
@media print {
  body { background: none; font-size: 10.5px; -webkit-print-color-adjust: exact; print-color-adjust: exact; }
  main { max-width: none; padding: 0; background: none; }
  h1 { font-size: 20px; } h2 { font-size: 13px; margin: 18px 0 6px; break-after: avoid; }
  .columns { grid-template-columns: 1fr 1fr; gap: 0 24px; } .figures { gap: 14px 16px; }
  td { padding: 3px 6px 3px 0; } code { font-size: 9.5px; }
  figure, tr, li { break-inside: avoid; } figure img { max-height: 118mm; object-fit: contain; }
}
)";

std::string Base64(const std::string& bytes) {
  static constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    unsigned group = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      group = group << 8 | (i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0u);
    }
    for (std::size_t k = 0; k < 4; ++k) {
      text += i + k > bytes.size() ? '=' : kDigits[group >> (18 - 6 * k) & 63];
    }
  }
  return text;
}

std::string TableOf(const std::vector<TableRow>& rows) {
  if (rows.empty()) return {};
  std::string html = "<table>";
  for (const TableRow& row : rows) {
    html += fmt::format("<tr><td>{}</td><td class=\"value\">{}</td>", row.name, row.value);
    html +=
        row.meaning.empty() ? "</tr>\n" : fmt::format("<td class=\"meaning\">{}</td></tr>\n", row.meaning);
  }
  return html + "</table>";
}

std::string ListOf(const char* tag, const std::vector<std::string>& items) {
  if (items.empty()) return {};
  std::string html = fmt::format("<{}>", tag);
  for (const std::string& item : items) html += fmt::format("<li>{}</li>\n", item);
  return html + fmt::format("</{}>", tag);
}

std::string FigureOf(const ReportPicture& picture) {
  const bool isSvg = picture.bytes.rfind("<?xml", 0) == 0;
  return fmt::format(
      "<figure{}><img alt=\"{}\" src=\"data:image/{};base64,{}\">"
      "<figcaption><b>{}.</b> {}{}</figcaption></figure>\n",
      picture.half ? " class=\"half\"" : "", picture.title, isSvg ? "svg+xml" : "png", Base64(picture.bytes),
      picture.title, picture.caption,
      picture.file.empty() ? std::string() : fmt::format(" Also in <code>{}</code>.", picture.file));
}

/// Beside a table of two columns there is no need for the whole width.
std::string Narrow(const std::string& table) {
  return table.empty() ? table : "<div class=\"narrow\">" + table + "</div>";
}

/// A heading and what stands below it, where there is something.
std::string PartOf(const char* heading, const std::string& content) {
  return content.empty() ? std::string() : fmt::format("<h2>{}</h2>\n{}\n", heading, content);
}

}  // namespace

std::string HtmlOf(const HtmlReport& report) {
  std::string figures;
  for (const ReportPicture& picture : report.pictures) figures += FigureOf(picture);
  if (!figures.empty()) figures = "<div class=\"figures\">\n" + figures + "</div>";
  return fmt::format(
      "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>{0}</title>\n"
      "<style>{1}</style></head>\n<body><main>\n<h1>{0}</h1>\n<p class=\"sub\">{2}</p>\n"
      "<div class=\"columns\"><section>{3}</section>\n<section>{4}</section></div>\n{5}{6}{7}{8}"
      "</main></body></html>\n",
      report.title, kStyle, report.subtitle,
      PartOf(report.statisticsTitle.c_str(), TableOf(report.statistics)),
      PartOf("Measurement", TableOf(report.facts)),
      PartOf("Results of single steps", Narrow(TableOf(report.results))), PartOf("Pictures", figures),
      PartOf("What was done", ListOf("ol", report.steps)),
      PartOf("What to try next", ListOf("ul", report.nextSteps)));
}

}  // namespace qv3d
