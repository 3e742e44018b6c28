#include "units.h"

#include <array>
#include <cmath>
#include <fmt/format.h>

namespace qv3d {
namespace {

struct Metric {
  const char* option;
  const char* name;
  double metres;
};
constexpr std::array<Metric, 4> kMetric{
    {{"m", "m", 1}, {"mm", "mm", 1e-3}, {"um", "µm", 1e-6}, {"nm", "nm", 1e-9}}};

const Metric* FindMetric(const std::string& option) {
  for (const Metric& unit : kMetric) {
    if (option == unit.option) return &unit;
  }
  return nullptr;
}

}  // namespace

bool IsKnownUnit(const std::string& fileUnit) {
  return fileUnit == "in" || FindMetric(fileUnit) != nullptr;
}

double UnitInMetres(const std::string& name) {
  if (name == "in") return 0.0254;
  if (name == "cm") return 0.01;
  if (name == "pm") return 1e-12;
  for (const char* micro : {"µm", "\xce\xbcm", "\xb5m"}) {
    if (name == micro) return 1e-6;
  }
  const Metric* const unit = FindMetric(name);
  return unit == nullptr ? 0 : unit->metres;
}

Unit HandyUnit(const std::string& fileUnit, double length) {
  const Metric* const file = FindMetric(fileUnit);
  if (file == nullptr) return {fileUnit, 1};
  if (length == 0) return {file->name, 1};
  const double metres = std::abs(length) * file->metres;
  // From a tenth of a millimetre down, people of the trade speak in micrometres.
  const Metric& handy = metres >= 10     ? kMetric[0]
                        : metres >= 2e-4 ? kMetric[1]
                        : metres >= 1e-7 ? kMetric[2]
                                         : kMetric[3];
  return {handy.name, file->metres / handy.metres};
}

std::string FormatLength(double length, const Unit& unit) {
  return fmt::format("{:.4g} {}", length * unit.factor, unit.name);
}

double NiceStepBelow(double most) {
  if (!(most > 0) || !std::isfinite(most)) return 1;
  const double power = std::pow(10.0, std::floor(std::log10(most)));
  const double mantissa = most / power;
  return (mantissa >= 5 ? 5 : mantissa >= 2 ? 2 : 1) * power;
}

double NiceStepAbove(double least) {
  if (!(least > 0) || !std::isfinite(least)) return 1;
  const double power = std::pow(10.0, std::floor(std::log10(least)));
  const double mantissa = least / power;
  return (mantissa <= 1 ? 1 : mantissa <= 2 ? 2 : mantissa <= 5 ? 5 : 10) * power;
}

std::string UnitName(const std::string& fileUnit) {
  const Metric* const unit = FindMetric(fileUnit);
  return unit == nullptr ? fileUnit : unit->name;
}

}  // namespace qv3d
