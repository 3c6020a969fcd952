#include <gtest/gtest.h>

#include "tessel/core/ImageID.h"

#include <sstream>
#include <string>

using Tessel::ImageID;

namespace {

constexpr const char* kHead = "04MAY12AB12X1007";

}  // namespace

TEST(ImageIDParse, StructuredTextGivesEveryPart) {
    const ImageID id = ImageID::parse(std::string_view("04MAY12AB12X1007"));
    EXPECT_EQ(id.text, "04MAY12AB12X1007");
    EXPECT_EQ(id.day, 4);
    EXPECT_EQ(id.month, 5);
    EXPECT_EQ(id.year, 2012);
    EXPECT_EQ(id.mission, "AB12");
    EXPECT_EQ(id.platform, "AB");
    EXPECT_EQ(id.vehicle, 12);
    EXPECT_EQ(id.pass, "X1");
    EXPECT_EQ(id.operation, 7);
    EXPECT_EQ(id, ImageID("04MAY12AB12X1007", 4, 5, 2012, "AB12", "AB", 12, "X1", 7));
}

TEST(ImageIDParse, LowerCaseMonthOrLettersDoNotParse) {
    EXPECT_EQ(ImageID::parse(std::string_view("04may12AB12X1007")), ImageID());
    EXPECT_EQ(ImageID::parse(std::string_view("04MAY12ab12X1007")), ImageID());
    EXPECT_EQ(ImageID::parse(std::string_view("04MAY12AB12x1007")), ImageID());
}

TEST(ImageIDParse, FirstDayDigitAboveThreeDoesNotParse) {
    EXPECT_TRUE(ImageID::parse(std::string_view("45MAY12AB12X1007")).text.empty());
}

TEST(ImageIDParse, TailOfAtMostSixtyFourCharactersParses) {
    const std::string text = kHead + std::string(64, '*');
    const ImageID id = ImageID::parse(std::string_view(text));
    EXPECT_EQ(id.text, text);
    EXPECT_EQ(id.operation, 7);
    EXPECT_TRUE(ImageID::parse(std::string_view(kHead + std::string(65, '*'))).text.empty());
}

TEST(ImageIDParse, EmptyTextGivesDefault) {
    EXPECT_EQ(ImageID::parse(std::string_view("")), ImageID());
    EXPECT_EQ(ImageID::parse(std::wstring_view(L"")), ImageID());
}

TEST(ImageIDParse, DayIsNotChecked) {
    EXPECT_EQ(ImageID::parse(std::string_view("00JAN70AB12X1007")).day, 0);
    const ImageID id = ImageID::parse(std::string_view("39DEC99ZZ99A9999"));
    EXPECT_EQ(id.day, 39);
    EXPECT_EQ(id.month, 12);
    EXPECT_EQ(id.year, 1999);
    EXPECT_EQ(id.vehicle, 99);
    EXPECT_EQ(id.operation, 999);
}

TEST(ImageIDParse, LineBreakInTheTailDoesNotParse) {
    EXPECT_TRUE(ImageID::parse(std::string_view("04MAY12AB12X1007 notes\nmore")).text.empty());
    EXPECT_FALSE(ImageID::parse(std::string_view("04MAY12AB12X1007 notes more")).text.empty());
}

TEST(ImageIDParse, ShortOrMalformedHeadDoesNotParse) {
    EXPECT_EQ(ImageID::parse(std::string_view("04MAY12AB12X100")), ImageID());
    EXPECT_EQ(ImageID::parse(std::string_view("04MAY12ABC2X1007")), ImageID());
    EXPECT_EQ(ImageID::parse(std::string_view(" 04MAY12AB12X1007")), ImageID());
}

TEST(ImageIDParse, WideTextParsesLikeNarrow) {
    EXPECT_EQ(ImageID::parse(std::wstring_view(L"04MAY12AB12X1007")),
              ImageID::parse(std::string_view("04MAY12AB12X1007")));
    EXPECT_EQ(ImageID::parse(std::wstring_view(L"04MAY12AB12X1007\u00e9")).text,
              "04MAY12AB12X1007\xC3\xA9");
}

TEST(ImageID, EqualityComparesEveryField) {
    const ImageID base("t", 4, 5, 2012, "AB12", "AB", 12, "X1", 7);
    EXPECT_EQ(base, ImageID(base));
    EXPECT_NE(base, ImageID("u", 4, 5, 2012, "AB12", "AB", 12, "X1", 7));
    EXPECT_NE(base, ImageID("t", 5, 5, 2012, "AB12", "AB", 12, "X1", 7));
    EXPECT_NE(base, ImageID("t", 4, 6, 2012, "AB12", "AB", 12, "X1", 7));
    EXPECT_NE(base, ImageID("t", 4, 5, 2013, "AB12", "AB", 12, "X1", 7));
    EXPECT_NE(base, ImageID("t", 4, 5, 2012, "AB13", "AB", 12, "X1", 7));
    EXPECT_NE(base, ImageID("t", 4, 5, 2012, "AB12", "AC", 12, "X1", 7));
    EXPECT_NE(base, ImageID("t", 4, 5, 2012, "AB12", "AB", 13, "X1", 7));
    EXPECT_NE(base, ImageID("t", 4, 5, 2012, "AB12", "AB", 12, "X2", 7));
    EXPECT_NE(base, ImageID("t", 4, 5, 2012, "AB12", "AB", 12, "X1", 8));
}

TEST(ImageID, PrintsLabelsAndNumbers) {
    const ImageID id = ImageID::parse(std::string_view("04MAY12AB12X1007"));
    std::ostringstream narrow;
    narrow << id;
    EXPECT_EQ(narrow.str(), "(D: 4, M: 5, Y: 2012, MS: AB12, PL: AB, VH: 12, PS: X1, OP: 7)");
    std::wostringstream wide;
    wide << id;
    EXPECT_EQ(wide.str(), L"(D: 4, M: 5, Y: 2012, MS: AB12, PL: AB, VH: 12, PS: X1, OP: 7)");
}

TEST(ImageID, DefaultPrintsZerosAndEmptyText) {
    std::ostringstream out;
    out << ImageID();
    EXPECT_EQ(out.str(), "(D: 0, M: 0, Y: 0, MS: , PL: , VH: 0, PS: , OP: 0)");
}
