// Lengths for people: the unit of the file, and a handier one for heights.
#pragma once

#include <string>

namespace qv3d {

struct Unit {
  std::string name;   ///< "mm", "µm" ...
  double factor = 1;  ///< number of these in one unit of the file
};

/// True for m, mm, um, nm and in: what an STL file's numbers may be in.
bool IsKnownUnit(const std::string& fileUnit);

/// Metres in one of these units; 0 for a name that is none. Takes µm in the spellings that files have.
double UnitInMetres(const std::string& name);

/// The unit in which a length of this size (in the file's unit) is a handy number.
Unit HandyUnit(const std::string& fileUnit, double length);

/// A number with a sensible number of digits for a table.
std::string FormatLength(double length, const Unit& unit);

/// 1, 2 or 5 times a power of ten: the largest that is at most `most`, the smallest that is at least `least`.
double NiceStepBelow(double most);
double NiceStepAbove(double least);

/// The file's unit as people write it.
std::string UnitName(const std::string& fileUnit);

}  // namespace qv3d
