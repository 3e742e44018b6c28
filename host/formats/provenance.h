// What a file tells about how its surface was measured, besides the samples: who made the instrument, when it
// measured. Carried from file to file; nothing is computed with it.
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace qv3d {

/// Texts by these keys; what is not told is not there.
using Provenance = std::map<std::string, std::string>;

inline constexpr const char* kCreated = "created";  ///< dates as in ISO 8601, "2010-01-04T08:53:00"
inline constexpr const char* kModified = "modified";
inline constexpr const char* kCalibrated = "calibrated";
inline constexpr const char* kCreator = "creator";
inline constexpr const char* kMaker = "maker";  ///< of the instrument, as the next three
inline constexpr const char* kModel = "model";
inline constexpr const char* kSerial = "serial";
inline constexpr const char* kVersion = "version";
inline constexpr const char* kProbeType = "probeType";
inline constexpr const char* kProbe = "probe";
inline constexpr const char* kComment = "comment";

/// The text of a key; `otherwise` where it is not told.
std::string TextOf(const Provenance& provenance, const std::string& key, const std::string& otherwise = {});

/// The three texts of an SDF header.
struct SdfProvenance {
  std::string maker, created, modified;
};

/// What the program writes where nothing is told is nothing told.
Provenance FromSdf(const SdfProvenance& header);
SdfProvenance ToSdf(const Provenance& provenance);

}  // namespace qv3d
