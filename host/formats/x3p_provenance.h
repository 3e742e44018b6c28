// Record2 of an X3P description: who measured, when and with what.
#pragma once

#include <array>

#include "formats/provenance.h"

namespace qv3d {

struct X3pNote {
  const char* key;
  const char* group;  ///< the element around it; empty: none
  const char* element;
  const char* untold;  ///< what stands there where nothing is told; empty: the element may be left out
};

inline constexpr const char* kNoX3pDate = "1970-01-01T00:00:00";
inline constexpr const char* kNoX3pText = "not available";

/// In the order that the format wants.
inline constexpr std::array<X3pNote, 10> kX3pNotes{{{kCreated, "", "Date", kNoX3pDate},
                                                    {kCreator, "", "Creator", ""},
                                                    {kMaker, "Instrument", "Manufacturer", kNoX3pText},
                                                    {kModel, "Instrument", "Model", kNoX3pText},
                                                    {kSerial, "Instrument", "Serial", kNoX3pText},
                                                    {kVersion, "Instrument", "Version", kNoX3pText},
                                                    {kCalibrated, "", "CalibrationDate", kNoX3pDate},
                                                    {kProbeType, "ProbingSystem", "Type", kNoX3pText},
                                                    {kProbe, "ProbingSystem", "Identification", kNoX3pText},
                                                    {kComment, "", "Comment", ""}}};

}  // namespace qv3d
