#include "formats/provenance.h"

#include <algorithm>
#include <fmt/format.h>

#include "files/number_lines.h"

namespace qv3d {
namespace {

// What SDF files have where nothing is told: the same surface makes the same file.
constexpr const char* kNoMaker = "QV_3D";
constexpr const char* kNoDate = "010120000000";
constexpr std::size_t kDateDigits = 12;

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

/// Day, month, year, hour and minute without anything between. Empty where it is none.
std::string IsoDate(std::string_view date) {
  date = Trim(date);
  if (date.size() != kDateDigits || date == kNoDate || !std::all_of(date.begin(), date.end(), IsDigit))
    return {};
  return fmt::format("{}-{}-{}T{}:{}:00", date.substr(4, 4), date.substr(2, 2), date.substr(0, 2),
                     date.substr(8, 2), date.substr(10, 2));
}

/// The other way round; of any other text the date that stands for none.
std::string SdfDate(const std::string& iso) {
  constexpr std::string_view kForm = "0000-00-00T00:00";
  bool fits = iso.size() >= kForm.size();
  for (std::size_t i = 0; fits && i < kForm.size(); ++i)
    fits = kForm[i] == '0' ? IsDigit(iso[i]) : kForm[i] == iso[i];
  if (!fits) return kNoDate;
  return iso.substr(8, 2) + iso.substr(5, 2) + iso.substr(0, 4) + iso.substr(11, 2) + iso.substr(14, 2);
}

/// A header has room for one line of plain characters.
std::string Plain(std::string_view text) {
  std::string plain(Trim(text));
  for (char& c : plain) {
    if (c < ' ' || c > '~') c = '?';
  }
  return plain;
}

void Tell(Provenance& provenance, const char* key, const std::string& text) {
  if (!text.empty()) provenance[key] = text;
}

}  // namespace

std::string TextOf(const Provenance& provenance, const std::string& key, const std::string& otherwise) {
  const auto found = provenance.find(key);
  return found == provenance.end() ? otherwise : found->second;
}

Provenance FromSdf(const SdfProvenance& header) {
  Provenance provenance;
  const std::string maker = Plain(header.maker);
  if (maker != kNoMaker) Tell(provenance, kMaker, maker);
  Tell(provenance, kCreated, IsoDate(header.created));
  Tell(provenance, kModified, IsoDate(header.modified));
  return provenance;
}

SdfProvenance ToSdf(const Provenance& provenance) {
  return {Plain(TextOf(provenance, kMaker, kNoMaker)), SdfDate(TextOf(provenance, kCreated)),
          SdfDate(TextOf(provenance, kModified))};
}

}  // namespace qv3d
