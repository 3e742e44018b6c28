#include "plots/ticks.h"

#include <cmath>
#include <fmt/format.h>

#include "units.h"

namespace qv3d {
namespace {

/// What rounding may take from the ends of an axis; positions come from floats.
constexpr double kSlack = 1e-6;

std::string Raised(int exponent) {
  constexpr const char* kDigits[] = {"⁰", "¹", "²", "³", "⁴", "⁵", "⁶", "⁷", "⁸", "⁹"};
  std::string text = exponent < 0 ? "⁻" : "";
  for (const char digit : fmt::format("{}", std::abs(exponent))) text += kDigits[digit - '0'];
  return text;
}

std::string PositiveLabel(double value) {
  std::string text = fmt::format("{:g}", value);
  const std::size_t e = text.find('e');
  if (e == std::string::npos) return text;
  const std::string power = "10" + Raised(std::stoi(text.substr(e + 1)));
  const std::string mantissa = text.substr(0, e);
  return mantissa == "1" ? power : mantissa + "·" + power;
}

}  // namespace

std::string TickLabel(double value) {
  return value < 0 ? "\u2212" + PositiveLabel(-value) : PositiveLabel(value + 0.0);
}

std::vector<Tick> LinearTicks(double low, double high, int most) {
  std::vector<Tick> ticks;
  if (!(high > low)) return ticks;
  const double step = NiceStepAbove((high - low) / most);
  for (double k = std::ceil(low / step - kSlack); k * step <= high + kSlack * (high - low); ++k) {
    // Zero without a sign.
    const double value = k * step + 0.0;
    ticks.push_back({value, TickLabel(value)});
  }
  return ticks;
}

std::vector<Tick> LogarithmicTicks(double low, double high, int most) {
  const double decades = std::log10(high / low);
  if (!(decades >= 1)) return LinearTicks(low, high, most);
  std::vector<Tick> ticks;
  const bool hasBetween = 3 * decades <= most;
  const int stride = std::max(1, static_cast<int>(std::ceil(decades / most)));
  for (int e = static_cast<int>(std::floor(std::log10(low))); std::pow(10.0, e) <= high * (1 + kSlack); ++e) {
    if (e % stride != 0) continue;
    for (const int mantissa : {1, 2, 5}) {
      const double value = mantissa * std::pow(10.0, e);
      if ((mantissa > 1 && !hasBetween) || value < low * (1 - kSlack) || value > high * (1 + kSlack))
        continue;
      ticks.push_back({value, TickLabel(value)});
    }
  }
  return ticks;
}

}  // namespace qv3d
