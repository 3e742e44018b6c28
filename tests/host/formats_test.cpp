// The table of file formats: what is read of files that others made, and what comes back of those that the
// program writes, with units, spacing, missing samples and the place of the first row.
#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <set>

#include "files/mesh_repair.h"
#include "format_plate.h"
#include "formats/format.h"
#include "formats/key_values.h"
#include "formats/md5.h"
#include "plots/image.h"

namespace qv3d {
namespace {

GridWriting As(const char* id) {
  GridWriting writing;
  writing.format = FindById(id);
  return writing;
}

/// The unit that the numbers of a sample file are in where it names none.
GridReading ReadingFor(const std::string& name) {
  GridReading reading;
  reading.unit = name.find(".xyz") == std::string::npos ? "um" : "mm";
  return reading;
}

HeightMap Scaled(HeightMap map, double factor) {
  map.xSize = static_cast<float>(map.xSize * factor);
  map.ySize = static_cast<float>(map.ySize * factor);
  map.x0 *= factor;
  map.y0 *= factor;
  for (float& h : map.heights) {
    if (!IsMissing(h)) h = static_cast<float>(h * factor);
  }
  return map;
}

HeightMap UpsideDown(const HeightMap& map) {
  HeightMap turned = map;
  for (int row = 0; row < map.height; ++row) {
    const float* const from = map.heights.data() + std::ptrdiff_t{map.height - 1 - row} * map.width;
    std::copy_n(from, map.width, turned.heights.begin() + std::ptrdiff_t{row} * map.width);
  }
  return turned;
}

TEST(ReadGrid, EverySample_IsThePlate) {
  std::set<std::string> ids;
  for (const std::filesystem::path& file : SampleFiles()) {
    SCOPED_TRACE(file.filename());
    ASSERT_TRUE(IsGridFile(file));
    const GridReading reading = ReadingFor(file.string());
    const GridContent content = ReadGridContent(file, reading);
    EXPECT_TRUE(content.file.remarks.empty());
    ids.insert(content.format->id);
    ExpectSameMap(content.map, reading.unit == "mm" ? Scaled(Plate(), 1e-3) : Plate(), 1e-6f);
  }
  for (const GridFormat& format : AllGridFormats()) {
    const bool variant = format.id == std::string("sdf-ascii") || format.id == std::string("tiff16");
    if (format.read == nullptr || variant) continue;
    EXPECT_TRUE(ids.count(format.id)) << format.id << " has no sample";
  }
}

TEST(ReadGrid, UnitAskedFor_IsThatOfTheMap) {
  const std::map<std::string, double> kPerMicrometre{
      {"m", 1e-6}, {"mm", 1e-3}, {"nm", 1e3}, {"in", 1e-6 / 0.0254}};
  for (const std::filesystem::path& file : SampleFiles()) {
    SCOPED_TRACE(file.filename());
    if (file.extension() == ".xyz") continue;  // names no unit
    for (const auto& [unit, factor] : kPerMicrometre) {
      GridReading reading;
      reading.unit = unit;
      ExpectSameMap(ReadGridContent(file, reading).map, Scaled(Plate(), factor),
                    static_cast<float>(2e-5 * factor));
    }
  }
}

TEST(ReadGrid, OriginAskedFor_TurnsTheRows) {
  for (const std::filesystem::path& file : SampleFiles()) {
    SCOPED_TRACE(file.filename());
    GridReading reading = ReadingFor(file.string());
    const GridContent plain = ReadGridContent(file, reading);
    reading.origin = plain.origin;
    if (plain.format->hasCoordinates) {
      EXPECT_THROW(ReadGridContent(file, reading), Failure);
      continue;
    }
    EXPECT_EQ(ReadGridContent(file, reading).map.heights, plain.map.heights);
    reading.origin = plain.origin == Origin::kTop ? Origin::kBottom : Origin::kTop;
    EXPECT_EQ(ReadGridContent(file, reading).map.heights, UpsideDown(plain.map).heights);
  }
}

TEST(ReadGrid, SpacingAndScaleAskedFor_OverrideTheFile) {
  for (const std::filesystem::path& file : SampleFiles()) {
    SCOPED_TRACE(file.filename());
    GridReading reading = ReadingFor(file.string());
    reading.spacing = 7;
    reading.zScale = 0;
    reading.zOffset = 3;
    const HeightMap map = ReadGridContent(file, reading).map;
    EXPECT_EQ(map.xSize, 28);
    EXPECT_EQ(map.ySize, 14);
    EXPECT_EQ(map.heights[0], 3);
    EXPECT_TRUE(IsMissing(map.At(2, 1)));
  }
}

/// What comes back of a map that is written.
HeightMap ThereAndBack(const HeightMap& map, const GridFormat& format, const std::string& unit,
                       Origin origin) {
  const std::string bytes = format.write({map, unit, origin});
  GridReading reading;
  reading.unit = unit;
  if (!format.hasCoordinates) reading.origin = origin;
  const GridContent content = UnderstandGrid("file", format, bytes, reading);
  EXPECT_TRUE(content.file.remarks.empty());
  return content.map;
}

TEST(WriteGrid, EveryFormat_ComesBack) {
  HeightMap map = Plate();
  map.x0 = 12.5;
  map.y0 = -4;
  const std::map<std::string, float> kTolerance{{"gsf", 1e-6f}, {"tiff16", 3e-4f}, {"png", 3e-4f}};
  const std::set<std::string> kWithoutPlace{"csv", "sdf", "sdf-ascii"};
  for (const GridFormat& format : AllGridFormats()) {
    if (format.read == nullptr || format.write == nullptr) continue;
    const auto found = kTolerance.find(format.id);
    const float tolerance = found == kTolerance.end() ? 0 : found->second;
    for (const std::string unit : {"um", "mm", "in"}) {
      for (const Origin origin : {Origin::kTop, Origin::kBottom}) {
        SCOPED_TRACE(std::string(format.id) + " " + unit + (origin == Origin::kTop ? " top" : " bottom"));
        const HeightMap back = ThereAndBack(map, format, unit, origin);
        ExpectSameMap(back, map, tolerance);
        const bool placed = kWithoutPlace.count(format.id) == 0;
        EXPECT_NEAR(back.x0, placed ? 12.5 : 0, 1e-5);
        EXPECT_NEAR(back.y0, placed ? -4 : 0, 1e-5);
      }
    }
  }
}

TEST(WriteGrid, FileThatSaysWhereItsFirstRowLies_NeedsNoOption) {
  for (const char* const id : {"csv", "tiff", "tiff16", "png", "xyz"}) {
    const GridFormat& format = *FindById(id);
    for (const Origin origin : {Origin::kTop, Origin::kBottom}) {
      SCOPED_TRACE(id);
      GridReading reading;
      reading.unit = "um";
      const std::string bytes = format.write({Plate(), "um", origin});
      ExpectSameMap(UnderstandGrid("file", format, bytes, reading).map, Plate(), 3e-4f);
    }
  }
}

TEST(WriteGrid, FirstRowInTheBytes_IsWhereTheTableSays) {
  for (const GridFormat& format : AllGridFormats()) {
    if (format.read == nullptr || format.write == nullptr || format.hasCoordinates) continue;
    SCOPED_TRACE(format.id);
    const FileGrid file = format.read("file", format.write({Plate(), "um", format.origin}));
    // The other corner of the plate's first column is as good as ten times higher.
    EXPECT_EQ(file.values[0] < file.values[10], format.origin == Origin::kBottom);
  }
}

TEST(WriteGrid, RandomMapsOfManySizes_ComeBack) {
  for (const auto& [width, height] :
       {std::pair(2, 2), std::pair(2, 9), std::pair(17, 2), std::pair(64, 33)}) {
    HeightMap map;
    map.width = width;
    map.height = height;
    map.xSize = static_cast<float>(width - 1) * 0.25f;
    map.ySize = static_cast<float>(height - 1) * 0.5f;
    std::uint32_t random = 12345;
    for (int i = 0; i < map.Count(); ++i) {
      random = random * 1664525U + 1013904223U;
      // Points tell nothing of a rim that is missing altogether.
      const bool missing = width > 2 && i > width && i % width > 0 && random % 11 == 0;
      map.heights.push_back(missing ? kMissing : static_cast<float>(random >> 8) / 1e5f - 50);
    }
    for (const GridFormat& format : AllGridFormats()) {
      if (format.read == nullptr || format.write == nullptr) continue;
      SCOPED_TRACE(format.id);
      const bool levels = format.id == std::string("png") || format.id == std::string("tiff16");
      ExpectSameMap(ThereAndBack(map, format, "mm", format.origin), map, levels ? 2e-3f : 1e-5f);
    }
  }
}

TEST(WriteGrid, EveryHeightMissing_ComesBackMissing) {
  HeightMap map = Plate();
  std::fill(map.heights.begin(), map.heights.end(), kMissing);
  for (const GridFormat& format : AllGridFormats()) {
    if (format.read == nullptr || format.write == nullptr || format.hasCoordinates) continue;
    SCOPED_TRACE(format.id);
    EXPECT_EQ(CountMissing(ThereAndBack(map, format, "mm", Origin::kTop)), map.heights.size());
  }
}

TEST(WriteGrid, FlatMap_ComesBackAtItsHeight) {
  HeightMap map = Plate();
  std::fill(map.heights.begin(), map.heights.end(), 2.5f);
  map.heights[3] = kMissing;
  for (const GridFormat& format : AllGridFormats()) {
    if (format.read == nullptr || format.write == nullptr) continue;
    SCOPED_TRACE(format.id);
    ExpectSameMap(ThereAndBack(map, format, "mm", Origin::kBottom), map, 1e-6f);
  }
}

TEST(WriteGrid, Picture_IsBrightWhereHighAndHasTheTopRowOnTop) {
  const TemporaryFile file = TemporaryFile::Create();
  HeightMap map = Plate();
  map.heights = {1, 2, 3, 4, 5, 6, 7, kMissing, 9, 10, 11, 12, 13, 14, 15};
  WriteGrid(file.path(), map, "um", As("png"));
  const Image image = ReadPng(file.path());
  EXPECT_EQ(*image.Pixel(4, 0), 255);
  EXPECT_EQ(*image.Pixel(2, 1), 0);
  EXPECT_GT(*image.Pixel(0, 0), *image.Pixel(0, 2));
}

TEST(WriteGrid, WideSdf_IsAUsageError) {
  HeightMap map;
  map.width = 65536;
  map.height = 2;
  map.xSize = map.ySize = 1;
  map.heights.resize(131072);
  const TemporaryFile file = TemporaryFile::Create();
  EXPECT_THROW(WriteGrid(file.path(), map, "mm", As("sdf")), Failure);
  WriteGrid(file.path(), map, "mm", As("sdf-ascii"));
  EXPECT_EQ(ReadGridContent(file.path(), {}).map.width, 65536);
}

TEST(WriteGrid, UnknownExtensionOrOriginOfPoints_IsAUsageError) {
  EXPECT_THROW(WriteGrid("plate.doc", Plate(), "mm"), Failure);
  GridWriting writing;
  writing.origin = Origin::kTop;
  for (const char* name : {"plate.xyz", "plate.stl", "plate.ply"}) {
    EXPECT_THROW(WriteGrid(name, Plate(), "mm", writing), Failure);
  }
}

TEST(FindReadable, FirstBytes_CountMoreThanTheName) {
  const TemporaryFile file = TemporaryFile::Create();
  EXPECT_FALSE(IsGridFile(file.path()));
  WriteGrid(file.path(), Plate(), "mm", As("gsf"));
  EXPECT_TRUE(IsGridFile(file.path()));
  EXPECT_STREQ(ReadGridContent(file.path(), {}).format->id, "gsf");
  EXPECT_EQ(FindReadable("plate.doc", "nothing"), nullptr);
  EXPECT_EQ(FindReadable("plate.stl", "aISO-1.0"), nullptr);
  EXPECT_STREQ(FindReadable("PLATE.SDF", "")->id, "sdf");
}

TEST(UnitOf, NamesOfFiles_AreUnderstood) {
  std::string foreign;
  EXPECT_EQ(UnitOf("", foreign), 0);
  EXPECT_EQ(UnitOf("m", foreign), 1);
  EXPECT_EQ(UnitOf("\xc2\xb5m", foreign), 1e-6);
  EXPECT_EQ(UnitOf("pm", foreign), 1e-12);
  EXPECT_TRUE(foreign.empty());
  EXPECT_EQ(UnitOf("V", foreign), 0);
  EXPECT_EQ(foreign, "V");
}

TEST(Md5Of, ExamplesOfRfc1321_AreMet) {
  EXPECT_EQ(Md5Of(""), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(Md5Of("abc"), "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(Md5Of("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
  EXPECT_EQ(Md5Of("12345678901234567890123456789012345678901234567890123456789012345678901234567890"),
            "57edf4a22be3c955ac49da2e2107b67a");
}

TEST(KeyValues, Lines_AreKeysAndValues) {
  const KeyValues keys("file", "Size = 3\n  UNIT=nm \nnothing\nSize = +4\nempty =");
  EXPECT_EQ(keys.Number("size"), 4);
  EXPECT_EQ(keys.Text("unit"), "nm");
  EXPECT_EQ(keys.Number("other", 7), 7);
  EXPECT_THROW(keys.Number("other"), Failure);
  EXPECT_THROW(keys.Number("unit"), Failure);
  EXPECT_THROW(keys.Number("empty", 1), Failure);
}

}  // namespace
}  // namespace qv3d
