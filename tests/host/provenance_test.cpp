// What SDF and X3P files tell about the measurement, from file to file.
#include "formats/provenance.h"

#include <gtest/gtest.h>

#include "format_plate.h"
#include "formats/zip_archive.h"

namespace qv3d {
namespace {

const Provenance kAll{{kCreated, "2010-01-04T08:53:00"},
                      {kCreator, "A & B <c@d>"},
                      {kMaker, "Maker"},
                      {kModel, "M 1"},
                      {kSerial, "12-3"},
                      {kVersion, "6.2"},
                      {kCalibrated, "2009-12-31T23:59:00"},
                      {kProbeType, "Contacting"},
                      {kProbe, "tip \xC2\xB5"},
                      {kComment, "two\nlines"}};

Provenance ThereAndBack(const char* id, const Provenance& provenance) {
  const GridFormat& format = *FindById(id);
  const HeightMap plate = Plate();
  const std::string bytes = format.write({plate, "um", Origin::kBottom, true, provenance});
  GridReading reading;
  reading.unit = "um";
  const GridContent content = UnderstandGrid("file", format, bytes, reading);
  EXPECT_EQ(content.origin, Origin::kBottom);
  EXPECT_EQ(content.map.heights, plate.heights);
  return content.file.provenance;
}

TEST(Provenance, X3p_KeepsAll) {
  EXPECT_EQ(ThereAndBack("x3p", kAll), kAll);
}

TEST(Provenance, X3p_TellsEveryPartAlone) {
  for (const auto& [key, text] : kAll)
    EXPECT_EQ(ThereAndBack("x3p", {{key, text}}), (Provenance{{key, text}}));
}

TEST(Provenance, Sdf_KeepsMakerAndDates) {
  const Provenance told{
      {kMaker, "Maker"}, {kCreated, "2010-01-04T08:53:00"}, {kModified, "2011-12-31T23:59:00"}};
  for (const char* const id : {"sdf", "sdf-ascii"}) {
    EXPECT_EQ(ThereAndBack(id, told), told);
    Provenance more = kAll;
    more[kModified] = told.at(kModified);
    EXPECT_EQ(ThereAndBack(id, more), told);
  }
}

TEST(Provenance, NothingTold_IsNothingReadBack) {
  for (const char* const id : {"sdf", "sdf-ascii", "x3p"}) EXPECT_TRUE(ThereAndBack(id, {}).empty()) << id;
}

TEST(Provenance, SdfHasRoomForSoMuch) {
  const Provenance told{{kMaker, "A maker of a long name\n\xC2\xB5"}};
  EXPECT_EQ(ThereAndBack("sdf", told), (Provenance{{kMaker, "A maker of"}}));
  EXPECT_EQ(ThereAndBack("sdf-ascii", told), (Provenance{{kMaker, "A maker of a long name???"}}));
}

TEST(Provenance, SdfNamesGwyddion_HasItsFirstRowAtTheBottomAllTheSame) {
  EXPECT_EQ(ThereAndBack("sdf-ascii", {{kMaker, "Gwyddion"}}), (Provenance{{kMaker, "Gwyddion"}}));
}

TEST(SdfDates, OthersThanDates_AreNone) {
  for (const char* const date : {"", "0401", "04012010085x", "0401201008530", "010120000000"}) {
    EXPECT_TRUE(FromSdf({"QV_3D", date, date}).empty()) << date;
  }
  for (const char* const date :
       {"", "2010", "4 January 2010 08:53", "2010-01-04 08:53", "2010-01-0xT08:53"}) {
    EXPECT_EQ(ToSdf({{kCreated, date}}).created, "010120000000") << date;
  }
  EXPECT_EQ(FromSdf({"", " 040120100853 ", ""}), (Provenance{{kCreated, "2010-01-04T08:53:00"}}));
  EXPECT_EQ(ToSdf({{kCreated, "2010-01-04T08:53:12.5+01:00"}}).created, "040120100853");
}

/// An X3P file with this in its Record2.
Provenance ReadRecord2(const std::string& record2) {
  const HeightMap plate = Plate();
  const std::string whole = FindById("x3p")->write({plate, "um", Origin::kBottom});
  const ZipArchive archive("file", whole);
  std::string description = *archive.Read("main.xml", 1 << 20);
  description.insert(description.find("  <Record3>"), "<Record2>" + record2 + "</Record2>");
  const std::string bytes = WriteZip({{"main.xml", description},
                                      {"bindata/data.bin", *archive.Read("bindata/data.bin", 1 << 20)},
                                      {"bindata/valid.bin", *archive.Read("bindata/valid.bin", 1 << 20)}});
  return Understand("file.x3p", bytes, {}).file.provenance;
}

TEST(X3pRecord2, WhatStandsForNothing_IsNotTold) {
  EXPECT_TRUE(ReadRecord2("").empty());
  EXPECT_TRUE(ReadRecord2("<Date>1970-01-01T01:00:00</Date><Instrument><Serial>not available</Serial>"
                          "<Model> </Model></Instrument><Comment/><Creator></Creator>")
                  .empty());
  EXPECT_EQ(ReadRecord2("<Date> 2020-02-03T04:05:06 </Date><Instrument><Model>M</Model></Instrument>"
                        "<Manufacturer>of nothing</Manufacturer>"),
            (Provenance{{kCreated, "2020-02-03T04:05:06"}, {kModel, "M"}}));
}

TEST(X3pRecord2, CharactersThatXmlDoesNotKnow_BecomeBlanks) {
  EXPECT_EQ(ThereAndBack("x3p", {{kComment, "a\x01z"}}), (Provenance{{kComment, "a z"}}));
}

}  // namespace
}  // namespace qv3d
