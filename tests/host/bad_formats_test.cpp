// Files that are not in order: every reader says what is wrong, whatever the bytes, and asks for no more
// memory than they justify.
#include <gtest/gtest.h>
#include <random>

#include "files/whole_file.h"
#include "format_plate.h"
#include "formats/zip_archive.h"
#include "import/child_process.h"
#include "plots/image.h"

namespace qv3d {
namespace {

/// Reads; false where the reader refuses, which has to be for one of the reasons a file can give.
bool Survives(const std::string& name, const std::string& bytes) {
  try {
    const GridContent content = Understand(name, bytes, {});
    const HeightMap& map = content.map;
    EXPECT_GE(map.width, 2);
    EXPECT_GE(map.height, 2);
    EXPECT_EQ(map.heights.size(), static_cast<std::size_t>(map.Count()));
    EXPECT_TRUE(map.xSize > 0 && map.ySize > 0 && std::isfinite(map.xSize) && std::isfinite(map.ySize));
    for (const float h : map.heights) EXPECT_TRUE(std::isfinite(h));
    return true;
  } catch (const Failure& failure) {
    EXPECT_TRUE(failure.code() == ExitCode::kUnreadable || failure.code() == ExitCode::kCorrupt ||
                failure.code() == ExitCode::kNotComputable)
        << failure.what();
    EXPECT_NE(std::string(failure.what()), "");
    return false;
  }
}

bool IsText(const std::filesystem::path& file) {
  return file.extension() == ".csv" || file.extension() == ".txt" || file.extension() == ".xyz";
}

TEST(BadFormats, EveryTruncatedPrefix_IsRefusedOrStillAGrid) {
  for (const std::filesystem::path& file : SampleFiles()) {
    SCOPED_TRACE(file.filename());
    const std::string bytes = ReadWholeFile(file);
    std::size_t read = 0;
    for (std::size_t size = 0; size < bytes.size(); ++size) {
      // With the format that the name asks for: the first bytes may be missing.
      read += Survives(file.filename().string(), bytes.substr(0, size)) ? 1 : 0;
    }
    // Text may end anywhere in its last row; the others need all samples, but not what may follow them.
    if (IsText(file)) continue;
    EXPECT_LT(read, 45U);
  }
}

TEST(BadFormats, TenThousandFlippedBytes_AreRefusedOrStillAGrid) {
  std::mt19937 random(20240229);
  for (const std::filesystem::path& file : SampleFiles()) {
    SCOPED_TRACE(file.filename());
    const std::string bytes = ReadWholeFile(file);
    for (int i = 0; i < 10000; ++i) {
      std::string damaged = bytes;
      for (unsigned flips = 1 + random() % 3; flips > 0; --flips) {
        damaged[random() % damaged.size()] = static_cast<char>(random() % 256);
      }
      Survives(file.filename().string(), damaged);
    }
  }
}

/// What a reader says of bytes.
struct Verdict {
  ExitCode code = ExitCode::kOk;
  std::string says;
};

Verdict Judge(const std::string& name, const std::string& bytes) {
  try {
    Understand(name, bytes, {});
    return {};
  } catch (const Failure& failure) {
    return {failure.code(), failure.what()};
  }
}

void ExpectRefused(const std::string& name, const std::string& bytes, ExitCode code,
                   const std::string& says) {
  const Verdict verdict = Judge(name, bytes);
  EXPECT_EQ(verdict.code, code) << verdict.says;
  EXPECT_NE(verdict.says.find(says), std::string::npos) << verdict.says;
}

std::string Sample(const std::string& name) {
  for (const std::filesystem::path& file : SampleFiles()) {
    if (file.filename() == name) return ReadWholeFile(file);
  }
  ADD_FAILURE() << "no sample " << name;
  return {};
}

/// Replaces the first place of a text by one of the same or another length.
std::string With(std::string bytes, const std::string& old, const std::string& fresh) {
  const std::size_t at = bytes.find(old);
  EXPECT_NE(at, std::string::npos) << old;
  return bytes.replace(at, old.size(), fresh);
}

TEST(BadFormats, Sdf_SaysWhatIsWrong) {
  const std::string ascii = Sample("ascii.sdf"), binary = Sample("plate.sdf");
  ExpectRefused("a.sdf", "", ExitCode::kCorrupt, "begins with neither");
  ExpectRefused("a.sdf", binary.substr(0, 80), ExitCode::kCorrupt, "80 bytes");
  ExpectRefused("a.sdf", binary.substr(0, binary.size() - 1), ExitCode::kCorrupt, "ends after 14");
  ExpectRefused("a.sdf", With(ascii, "NumPoints = 5", "NumPoints = 5.5"), ExitCode::kCorrupt,
                "at least 2 x 2");
  ExpectRefused("a.sdf", With(ascii, "NumPoints = 5", "NumPoints = 6"), ExitCode::kCorrupt,
                "only 15 are there");
  ExpectRefused("a.sdf", With(ascii, "NumPoints", "NumPonts"), ExitCode::kCorrupt, "\"numpoints\"");
  ExpectRefused("a.sdf", With(ascii, "Xscale = 2.0E-5", "Xscale = 0"), ExitCode::kCorrupt, "scale of 0");
  ExpectRefused("a.sdf", With(ascii, "Zscale = 1.0E-6", "Zscale = 1,0"), ExitCode::kCorrupt, "is no number");
  ExpectRefused("a.sdf", With(ascii, "Compression = 0", "Compression = 1"), ExitCode::kUnreadable,
                "compressed");
  ExpectRefused("a.sdf", With(ascii, "DataType = 7", "DataType = 8"), ExitCode::kCorrupt, "type 8");
  ExpectRefused("a.sdf", With(ascii, "BAD", "WORSE"), ExitCode::kCorrupt, "\"WORSE\" is no sample");
  ExpectRefused("a.sdf", ascii.substr(0, 100), ExitCode::kCorrupt, "asterisk");
}

TEST(BadFormats, SdfWithMoreSamples_IsReadWithARemark) {
  const GridContent content = Understand("a.sdf", With(Sample("ascii.sdf"), "BAD", "1 BAD"), {});
  ASSERT_EQ(content.file.remarks.size(), 1U);
  EXPECT_NE(content.file.remarks[0].find("more samples"), std::string::npos);
}

TEST(BadFormats, Gsf_SaysWhatIsWrong) {
  const std::string good = Sample("plate.gsf");
  ExpectRefused("a.gsf", "Gwyddion Simple Field 2.0\n", ExitCode::kCorrupt, "first line");
  ExpectRefused("a.gsf", good.substr(0, 60), ExitCode::kCorrupt, "does not end");
  ExpectRefused("a.gsf", good.substr(0, good.size() - 4), ExitCode::kCorrupt, "ends after 14");
  ExpectRefused("a.gsf", With(good, "XRes = 5", "XRes = 1"), ExitCode::kCorrupt, "at least 2 x 2");
  ExpectRefused("a.gsf", With(good, "XReal = 1e-4", "XReal = -1.0"), ExitCode::kCorrupt, "extent of -1");
  ExpectRefused("a.gsf", With(good, "XYUnits = m", "XYUnits = V"), ExitCode::kUnreadable, "\"V\"");
  ExpectRefused("a.gsf", With(good, "ZUnits = m", "ZUnits = V"), ExitCode::kNotComputable, "no length");
  GridReading reading;
  reading.zScale = 2;
  EXPECT_EQ(Understand("a.gsf", With(good, "ZUnits = m", "ZUnits = V"), reading).map.At(0, 0), 2 * 1.5e-6f);
}

TEST(BadFormats, Bcr_SaysWhatIsWrong) {
  const std::string good = Sample("plate.bcr");
  ExpectRefused("a.bcr", "hello", ExitCode::kCorrupt, "does not begin");
  ExpectRefused("a.bcr", good.substr(0, 2000), ExitCode::kCorrupt, "ends after 0");
  ExpectRefused("a.bcr", With(good, "headersize = 2048", "headersize = -1"), ExitCode::kCorrupt, "own size");
  ExpectRefused("a.bcr", With(good, "bcrstm", "bcrxyz"), ExitCode::kUnreadable, "bcrxyz");
  ExpectRefused("a.bcr", With(good, "xunit = nm", "xunit = Hz"), ExitCode::kUnreadable, "\"Hz\"");
}

TEST(BadFormats, Al3d_SaysWhatIsWrong) {
  const std::string good = Sample("plate.al3d");
  ExpectRefused("a.al3d", "AliconaImaging", ExitCode::kCorrupt, "no AL3D");
  ExpectRefused("a.al3d", good.substr(0, 100), ExitCode::kCorrupt, "does not tell");
  ExpectRefused("a.al3d", good.substr(0, good.size() - 1), ExitCode::kCorrupt, "ends at");
}

TEST(BadFormats, Pictures_SayWhatIsWrong) {
  const std::string png = Sample("plate.png"), tiff = Sample("float.tif");
  ExpectRefused("a.png", png.substr(0, 20), ExitCode::kCorrupt, "ends too early");
  ExpectRefused("a.png", With(png, "IDAT", "IDAX"), ExitCode::kCorrupt, "PNG");
  Image colour(4, 4);
  ExpectRefused("a.png", EncodePng(colour), ExitCode::kUnreadable, "in colour");
  ExpectRefused("a.tif", "II*", ExitCode::kCorrupt, "no TIFF");
  ExpectRefused("a.tif", tiff.substr(0, 60), ExitCode::kCorrupt, "TIFF");
  ExpectRefused("a.tif", With(tiff, "Spacing x: 20", "Spacing x: xx"), ExitCode::kCorrupt, "is no number");
}

TEST(BadFormats, PictureWithoutNotes_SaysThatItsScaleIsMissing) {
  std::string tiff = With(Sample("grey.tif"), "Z scale", "Q scale");
  EXPECT_TRUE(Understand("a.tif", tiff, {}).file.scaleMissing);
  EXPECT_FALSE(Understand("a.tif", Sample("grey.tif"), {}).file.scaleMissing);
  EXPECT_FALSE(Understand("a.tif", Sample("float.tif"), {}).file.scaleMissing);
}

std::string Description(const std::string& name) {
  const std::string bytes = Sample(name);
  return *ZipArchive(name, bytes).Read("main.xml", 100000);
}

TEST(BadFormats, X3p_SaysWhatIsWrong) {
  const std::string listed = Description("listed.x3p"), linked = Description("plate.x3p");
  const auto expect = [](const std::string& xml, ExitCode code, const std::string& says) {
    ExpectRefused("a.x3p", WriteZip({{"main.xml", xml}, {"bindata/data.bin", "short"}}), code, says);
  };
  ExpectRefused("a.x3p", "PK\x03\x04", ExitCode::kCorrupt, "no zip archive");
  ExpectRefused("a.x3p", WriteZip({{"other.xml", listed}}), ExitCode::kCorrupt, "no main.xml");
  expect(listed.substr(0, 400), ExitCode::kCorrupt, "damaged at byte");
  expect(With(listed, "SUR", "PRF"), ExitCode::kUnreadable, "\"PRF\"");
  expect(With(listed, "<Increment>2e-5", "<Increment>0"), ExitCode::kCorrupt, "spacing of 0");
  expect(With(listed, "<Increment>2e-5", "<Increment>x"), ExitCode::kCorrupt, "is no number");
  expect(With(listed, "<SizeX>5", "<SizeX>6"), ExitCode::kCorrupt, "15 samples are listed for 6 x 3");
  expect(With(listed, "<SizeZ>1", "<SizeZ>2"), ExitCode::kUnreadable, "layers");
  expect(With(listed, "<CX><AxisType>I", "<CX><AxisType>A"), ExitCode::kUnreadable, "no grid");
  expect(With(listed, "<CZ><AxisType>A</AxisType><DataType>D", "<CZ><AxisType>A</AxisType><DataType>Q"),
         ExitCode::kCorrupt, "no type");
  expect(linked, ExitCode::kCorrupt, "\"bindata/data.bin\" has 5 bytes");
  expect(With(linked, "<PointDataLink>bindata/", "<PointDataLink>other/"), ExitCode::kCorrupt, "no \"other/");
}

TEST(BadFormats, X3pWithAnotherChecksum_IsReadWithARemark) {
  const std::string bytes = Sample("plate.x3p");
  const ZipArchive archive("plate.x3p", bytes);
  const std::string xml = With(Description("plate.x3p"), "</PointDataLink>",
                               "</PointDataLink><MD5ChecksumPointData>00</MD5ChecksumPointData>");
  const std::string other = WriteZip({{"main.xml", xml},
                                      {"bindata/data.bin", *archive.Read("bindata/data.bin", 1000)},
                                      {"bindata/valid.bin", *archive.Read("bindata/valid.bin", 1000)}});
  const GridContent content = Understand("a.x3p", other, {});
  ASSERT_EQ(content.file.remarks.size(), 1U);
  EXPECT_NE(content.file.remarks[0].find("checksum"), std::string::npos);
}

TEST(BadFormats, ScatteredPoints_AreNoGrid) {
  ExpectRefused("a.xyz", "0 0 1\n1 0 1\n0 1 1\n", ExitCode::kCorrupt, "3 points");
  ExpectRefused("a.xyz", "0 0 1\n1 0 1\n0 1 1\n0.4 1 1\n", ExitCode::kNotComputable, "no grid");
  ExpectRefused("a.xyz", "0 0 1\n1 0 1\n0 1 1\n1 0 2\n", ExitCode::kNotComputable, "two have");
  ExpectRefused("a.xyz", "0 0 1\n0 1 1\n0 2 1\n0 3 2\n", ExitCode::kNotComputable, "no extent");
  ExpectRefused("a.xyz", "0 0\n", ExitCode::kCorrupt, "line 1");
  ExpectRefused("a.xyz", "0 nan 1\n", ExitCode::kCorrupt, "without x or y");
}

TEST(BadFormats, HeightsThatNobodyMeasures_AreRefused) {
  ExpectRefused("a.csv", "1,2\n3,1e300\n", ExitCode::kCorrupt, "more than can be measured");
  ExpectRefused("a.csv", "1,2\n3,-1e30\n", ExitCode::kCorrupt, "more than can be measured");
  EXPECT_TRUE(IsMissing(Understand("a.csv", "1,2\n3,inf\n", {}).map.At(1, 1)));
}

/// Files of some bytes that announce thousands of millions of samples.
std::vector<std::pair<std::string, std::string>> Boasters() {
  std::string sdf = Sample("plate.sdf");
  sdf[42] = sdf[43] = sdf[44] = '\xff';
  sdf[45] = '\x3f';
  std::string png = Sample("plate.png");
  png[33] = '\x39';  // the first chunk after the header
  return {{"a.sdf", sdf},
          {"a.sdf", With(With(Sample("ascii.sdf"), "NumPoints = 5", "NumPoints = 30000"), "NumProfiles = 3",
                         "NumProfiles = 30000")},
          {"a.gsf", With(With(Sample("plate.gsf"), "XRes = 5", "XRes = 30000"), "YRes = 3", "YRes = 30000")},
          {"a.bcr", With(With(Sample("plate.bcr"), "xpixels = 5", "xpixels = 30000"), "ypixels = 3",
                         "ypixels = 30000")},
          {"a.png", png},
          {"a.x3p", WriteZip({{"main.xml", With(With(Description("plate.x3p"), "<SizeX>5", "<SizeX>30000"),
                                                "<SizeY>3", "<SizeY>30000")},
                              {"bindata/data.bin", std::string(100, 'x')}})},
          {"a.x3p", WriteZip({{"main.xml", With(With(Description("listed.x3p"), "<SizeX>5", "<SizeX>30000"),
                                                "<SizeY>3", "<SizeY>30000")}})},
          {"a.xyz", "0 0 1\n1e-5 1e-5 1\n1 1 1\n0 1 1\n0.5 2e-5 1\n"}};
}

TEST(BadFormats, AnnouncedSizes_TakeNoMemory) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer needs more address space than the limit";
#endif
  ChildLimits limits;
  limits.memoryMiB = 64;
  for (const auto& [name, bytes] : Boasters()) {
    const ChildOutcome outcome = RunInChild(
        limits,
        [&name = name, &bytes = bytes](const Reporter&) {
          const ExitCode code = Judge(name, bytes).code;
          return code == ExitCode::kCorrupt || code == ExitCode::kNotComputable ? 0 : 1;
        },
        [](const qv3d::ChildState&) {});
    EXPECT_EQ(outcome.end, ChildOutcome::End::kExited) << name << outcome.errors;
    EXPECT_EQ(outcome.code, 0) << name << " " << Judge(name, bytes).says;
  }
}

TEST(BadFormats, OverflowingSizes_AreRefused) {
  for (const char* const size :
       {"65536", "4294967296", "1e18", "1e300", "nan", "-5", "99999999999999999999"}) {
    std::string gsf = With(With(Sample("plate.gsf"), "XRes = 5", std::string("XRes = ") + size), "YRes = 3",
                           std::string("YRes = ") + size);
    EXPECT_EQ(Judge("a.gsf", gsf).code, ExitCode::kCorrupt) << size;
  }
}

}  // namespace
}  // namespace qv3d
