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
figure { margin: 26px 0 0; }
figure img { width: 100%; border: 1px solid var(--line); display: block; }
figcaption { margin-top: 8px; color: var(--quiet); }
figcaption b { color: var(--ink); }
ol, ul { padding-left: 22px; }
li { margin: 5px 0; }
code { font: 14px/1.4 "DejaVu Sans Mono", ui-monospace, monospace; background: #e9ece7; padding: 2px 5px; border-radius: 3px; }
@media print { body { background: none; } main { padding: 0; } figure { break-inside: avoid; } }
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
  std::string html = "<table>";
  for (const TableRow& row : rows) {
    html += fmt::format("<tr><td>{}</td><td class=\"value\">{}</td>", row.name, row.value);
    html +=
        row.meaning.empty() ? "</tr>\n" : fmt::format("<td class=\"meaning\">{}</td></tr>\n", row.meaning);
  }
  return html + "</table>";
}

std::string ListOf(const char* tag, const std::vector<std::string>& items) {
  std::string html = fmt::format("<{}>", tag);
  for (const std::string& item : items) html += fmt::format("<li>{}</li>\n", item);
  return html + fmt::format("</{}>", tag);
}

}  // namespace

std::string HtmlOf(const HtmlReport& report) {
  std::string figures;
  for (const ReportPicture& picture : report.pictures) {
    figures += fmt::format(
        "<figure><img alt=\"{0}\" src=\"data:image/png;base64,{1}\">"
        "<figcaption><b>{0}.</b> {2} Also in <code>{3}</code>.</figcaption></figure>\n",
        picture.title, Base64(picture.png), picture.caption, picture.file);
  }
  return fmt::format(
      "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>{0}</title>\n"
      "<style>{1}</style></head>\n<body><main>\n<h1>{0}</h1>\n<p class=\"sub\">{2}</p>\n"
      "<div class=\"columns\"><section><h2>Roughness</h2>\n{3}</section>\n"
      "<section><h2>Measurement</h2>\n{4}</section></div>\n<h2>Pictures</h2>\n{5}\n"
      "<h2>What was done</h2>\n{6}\n<h2>What to try next</h2>\n{7}\n</main></body></html>\n",
      report.title, kStyle, report.subtitle, TableOf(report.statistics), TableOf(report.facts), figures,
      ListOf("ol", report.steps), ListOf("ul", report.nextSteps));
}

}  // namespace qv3d
