#include "files/stl_file.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fmt/format.h>
#include <fstream>

#include "failure.h"

namespace qv3d {
namespace {

constexpr std::size_t kHeaderBytes = 84;
constexpr std::size_t kRecordBytes = 50;

bool SaysSolid(std::string_view bytes) {
  return EqualsIgnoringCase(bytes.substr(0, 5), "solid");
}

std::uint32_t AnnouncedCount(std::string_view bytes) {
  std::uint32_t count = 0;
  if (bytes.size() >= kHeaderBytes) std::memcpy(&count, bytes.data() + 80, sizeof count);
  return count;
}

bool SizeMatchesCount(std::string_view bytes) {
  return bytes.size() >= kHeaderBytes &&
         bytes.size() == kHeaderBytes + kRecordBytes * std::uint64_t{AnnouncedCount(bytes)};
}

/// Text does not hold zero bytes; a binary header is mostly padded with them, and coordinates are full of
/// them.
bool HoldsZeroByteEarly(std::string_view bytes) {
  return bytes.substr(0, 4096).find('\0') != std::string_view::npos;
}

bool IsBinary(std::string_view bytes) {
  return !SaysSolid(bytes) || SizeMatchesCount(bytes) || HoldsZeroByteEarly(bytes);
}

void ScanBinary(std::string_view bytes, const std::function<void(const Triangle&)>& visit, bool trustSize,
                StlScan& scan) {
  scan.saysSolid = SaysSolid(bytes);
  scan.headerComplete = bytes.size() >= kHeaderBytes;
  if (!scan.headerComplete) return;
  scan.announced = AnnouncedCount(bytes);
  scan.recordsPresent = (bytes.size() - kHeaderBytes) / kRecordBytes;
  scan.triangles =
      trustSize ? scan.recordsPresent : std::min<std::uint64_t>(scan.announced, scan.recordsPresent);
  const char* record = bytes.data() + kHeaderBytes;
  for (std::uint64_t i = 0; i < scan.triangles; ++i, record += kRecordBytes) {
    Triangle t;
    std::memcpy(t.data(), record + 12, sizeof t);
    visit(t);
  }
}

/// Words separated by white space, with the line on which the last one stood.
class Words {
 public:
  explicit Words(std::string_view text) : text_(text) {}

  std::string_view Next() {
    while (at_ < text_.size() && IsSpace(text_[at_])) line_ += text_[at_++] == '\n';
    const std::size_t start = at_;
    while (at_ < text_.size() && !IsSpace(text_[at_])) ++at_;
    return text_.substr(start, at_ - start);
  }
  std::uint64_t line() const { return line_; }

 private:
  static bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

  std::string_view text_;
  std::size_t at_ = 0;
  std::uint64_t line_ = 1;
};

class AsciiScanner {
 public:
  AsciiScanner(std::string_view bytes, const std::function<void(const Triangle&)>& visit, StlScan& scan)
      : words_(bytes), visit_(visit), scan_(scan) {}

  void Run() {
    bool inFacet = false;
    std::string_view word = words_.Next();
    while (!word.empty()) {
      if (EqualsIgnoringCase(word, "facet")) {
        CloseFacet(inFacet);
        inFacet = true;
      } else if (EqualsIgnoringCase(word, "endfacet")) {
        CloseFacet(inFacet);
        inFacet = false;
      } else if (EqualsIgnoringCase(word, "vertex")) {
        // A word that is no number may be the next keyword: it is looked at again.
        word = ReadVertex();
        continue;
      }
      word = words_.Next();
    }
    scan_.unfinishedFacet = inFacet || vertices_ > 0;
  }

 private:
  void CloseFacet(bool inFacet) {
    if (vertices_ == 3 && !damaged_) {
      visit_(pending_);
      ++scan_.triangles;
    } else if (inFacet && !damaged_) {
      ++scan_.oddFacets;
    }
    vertices_ = 0;
    damaged_ = false;
  }

  std::string_view ReadVertex() {
    const std::uint64_t line = words_.line();
    bool hasComma = false;
    for (int i = 0; i < 3; ++i) {
      const std::string_view word = words_.Next();
      double value = 0;
      if (word.empty() || !ParseForgivingly(word, value, hasComma)) {
        if (scan_.badVertices++ == 0) scan_.firstBadVertexLine = line;
        damaged_ = true;
        return word;
      }
      if (vertices_ < 3)
        pending_[3 * static_cast<std::size_t>(vertices_) + static_cast<std::size_t>(i)] =
            static_cast<float>(value);
    }
    scan_.decimalCommas += hasComma;
    ++vertices_;
    return words_.Next();
  }

  Words words_;
  const std::function<void(const Triangle&)>& visit_;
  StlScan& scan_;
  Triangle pending_{};
  int vertices_ = 0;
  bool damaged_ = false;
};

std::array<float, 3> Normal(const Triangle& t) {
  const double a[3] = {double{t[3]} - t[0], double{t[4]} - t[1], double{t[5]} - t[2]};
  const double b[3] = {double{t[6]} - t[0], double{t[7]} - t[1], double{t[8]} - t[2]};
  const double n[3] = {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
  const double length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
  if (!(length > 0)) return {0, 0, 0};
  return {static_cast<float>(n[0] / length), static_cast<float>(n[1] / length),
          static_cast<float>(n[2] / length)};
}

}  // namespace

StlScan ScanStl(std::string_view bytes, const std::function<void(const Triangle&)>& visit, bool trustSize) {
  StlScan scan;
  scan.fileBytes = bytes.size();
  if (IsBinary(bytes)) {
    ScanBinary(bytes, visit, trustSize, scan);
  } else {
    scan.format = StlFormat::kAscii;
    AsciiScanner(bytes, visit, scan).Run();
  }
  return scan;
}

bool LooksLikeStl(std::string_view bytes) {
  return SaysSolid(bytes) || SizeMatchesCount(bytes);
}

std::string StlBytes(const std::vector<Triangle>& triangles, std::string_view header) {
  std::string bytes(kHeaderBytes + kRecordBytes * triangles.size(), '\0');
  std::memcpy(bytes.data(), header.data(), std::min<std::size_t>(header.size(), 80));
  const auto count = static_cast<std::uint32_t>(triangles.size());
  std::memcpy(bytes.data() + 80, &count, sizeof count);
  char* record = bytes.data() + kHeaderBytes;
  for (const Triangle& t : triangles) {
    const std::array<float, 3> normal = Normal(t);
    std::memcpy(record, normal.data(), sizeof normal);
    std::memcpy(record + sizeof normal, t.data(), sizeof t);
    record += kRecordBytes;
  }
  return bytes;
}

void WriteBinaryStl(const std::filesystem::path& path, const std::vector<Triangle>& triangles,
                    std::string_view header) {
  const std::string bytes = StlBytes(triangles, header);
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  if (!file) throw Failure(ExitCode::kUnreadable, fmt::format("{}: cannot be written", path.string()));
}

}  // namespace qv3d
