// qv3d selftest: whether this installation finds what gauges of known parameters must give.
#include "selftest/selftest.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

#include "commands/basic_options.h"
#include "failure.h"
#include "json.h"

namespace qv3d {
namespace {

struct SelftestOptions {
  SelftestRequest request;
  std::string gaugeFolder;
  std::string disturb;
  bool json = false, quiet = false;
};

const char* NameOf(CheckState state) {
  return state == CheckState::kOk ? "ok" : state == CheckState::kFailed ? "FAILED" : "skipped";
}

std::string NameOf(const Check& check) {
  return check.gauge.empty() ? check.name : fmt::format("{}: {}", check.gauge, check.name);
}

void PrintTable(const Checks& checks) {
  std::size_t width = 0;
  for (const Check& check : checks.all()) width = std::max(width, NameOf(check).size());
  std::string family;
  fmt::print("{:<{}} {:>11} {:>11} {:>10} {:>10}\n", "check", width + 2, "expected", "found", "deviation",
             "tolerance");
  for (const Check& check : checks.all()) {
    if (check.family != family) fmt::print("{}\n", family = check.family);
    if (!check.remark.empty()) {
      const bool skipped = check.state == CheckState::kSkipped;
      fmt::print("  {}\n", skipped ? fmt::format("no display/GL: skipped ({})", check.remark)
                                   : fmt::format("FAILED: {}", check.remark));
      continue;
    }
    fmt::print("  {:<{}} {:>11.6g} {:>11.6g} {:>10.3g} {:>10.3g}  {}\n", NameOf(check), width, check.expected,
               check.found, check.Deviation(), check.tolerance, NameOf(check.state));
  }
  const std::size_t skipped = checks.Number(CheckState::kSkipped);
  fmt::print("{} checks hold, {} failed{}\n", checks.Number(CheckState::kOk),
             checks.Number(CheckState::kFailed),
             skipped == 0 ? std::string() : fmt::format("; {} part skipped", skipped));
}

Json FiniteOrNull(double number) {
  return std::isfinite(number) ? Json(number) : Json(nullptr);
}

Json JsonOf(const Check& check) {
  Json json = {{"family", check.family}, {"state", NameOf(check.state)}};
  if (!check.remark.empty()) {
    json["remark"] = check.remark;
    return json;
  }
  json["gauge"] = check.gauge;
  json["name"] = check.name;
  json["expected"] = check.expected;
  json["found"] = FiniteOrNull(check.found);
  json["deviation"] = FiniteOrNull(check.Deviation());
  json["tolerance"] = check.tolerance;
  return json;
}

void PrintJson(const Checks& checks) {
  Json json = {{"unit", kGaugeUnit},
               {"passed", checks.Number(CheckState::kOk)},
               {"failed", checks.Number(CheckState::kFailed)},
               {"skipped", checks.Number(CheckState::kSkipped)},
               {"checks", Json::array()}};
  for (const Check& check : checks.all()) json["checks"].push_back(JsonOf(check));
  fmt::print("{}\n", json.dump(2));
}

void PrintFiles(const std::vector<std::filesystem::path>& files, bool asJson) {
  Json json = {{"unit", kGaugeUnit}, {"written", Json::array()}};
  for (const std::filesystem::path& file : files) {
    json["written"].push_back(file.string());
    if (!asJson) fmt::print("wrote {}\n", file.string());
  }
  if (asJson) fmt::print("{}\n", json.dump(2));
}

void RunSelftest(const SelftestOptions& options) {
  Gauges gauges = MakeGauges();
  if (!options.disturb.empty() && !Disturb(gauges, options.disturb)) {
    throw Failure(ExitCode::kUsage, fmt::format("there is no gauge {}", options.disturb));
  }
  if (!options.gaugeFolder.empty()) {
    // Arguments are UTF-8; a path made of chars would take them otherwise on Windows.
    const std::u8string folder(options.gaugeFolder.begin(), options.gaugeFolder.end());
    PrintFiles(WriteGauges(folder, gauges), options.json);
    return;
  }
  Progress progress(options.quiet);
  const Checks checks = RunChecks(gauges, options.request, progress);
  options.json ? PrintJson(checks) : PrintTable(checks);
  if (const std::size_t failed = checks.Number(CheckState::kFailed); failed > 0) {
    throw Failure(ExitCode::kNotComputable, fmt::format("{} checks failed", failed), {}, Printed::kAlready);
  }
}

}  // namespace

void AddSelftest(CLI::App& app, Invocation& invocation) {
  CLI::App& command = *app.add_subcommand(
      "selftest", "Check this installation with surfaces whose parameters are known; needs no files");
  const auto options = std::make_shared<SelftestOptions>();
  command.add_flag("!--no-gl", options->request.draw, "Leave out what needs OpenGL");
  command
      .add_option("--write-gauges", options->gaugeFolder,
                  "Instead of checking, write the surfaces into this folder, in micrometres")
      ->type_name("DIR");
  AddOutputOptions(command, options->json, options->quiet);
  AddBackend(command, options->request.backend);
  // For tests of whether a check can fail.
  command.add_option("--disturb", options->disturb)->group("");
  command.footer("Exit status 0 when all checks hold, 4 otherwise. Lengths are in micrometres.");
  OnCommand(command, invocation, options, RunSelftest);
}

}  // namespace qv3d
