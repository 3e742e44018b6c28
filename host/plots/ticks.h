// Round numbers along an axis.
#pragma once

#include <string>
#include <vector>

namespace qv3d {

struct Tick {
  double value;
  std::string label;
};

/// A number as pictures show it: a true minus sign, powers of ten raised.
std::string TickLabel(double value);

/// Multiples of 1, 2 or 5 times a power of ten in low..high, about `most` at the utmost.
std::vector<Tick> LinearTicks(double low, double high, int most);

/// Powers of ten in low..high, thinned out to about `most`; with 2 and 5 times them where there are few. Of
/// less than a decade the linear ones. `low` must be positive.
std::vector<Tick> LogarithmicTicks(double low, double high, int most);

}  // namespace qv3d
