#include <gtest/gtest.h>

#include <iostream>
#include <limits>
#include <sstream>
#include <string>

#include "tessel/paths/PathComponents.h"

namespace {

// Captures what the parser writes to the standard error stream.
class CerrCapture {
public:
    CerrCapture() : old_(std::cerr.rdbuf(buffer_.rdbuf())) {}
    ~CerrCapture() { std::cerr.rdbuf(old_); }
    CerrCapture(const CerrCapture&) = delete;
    CerrCapture& operator=(const CerrCapture&) = delete;
    std::string text() const { return buffer_.str(); }

private:
    std::ostringstream buffer_;
    std::streambuf* old_;
};

std::wstring printed(const PathComponents& components) {
    std::wostringstream out;
    out << components;
    return out.str();
}

TEST(PathQueryParser, DefaultsWithoutAQuery) {
    const PathComponents c = PathComponents::parse("/FileHeader/FL");
    EXPECT_EQ(c.path, "/FileHeader/FL");
    EXPECT_EQ(c.parseType, PathComponents::ParseString);
    EXPECT_EQ(c.format, PathContext::FormatString);
    EXPECT_EQ(c.rangeMin, std::numeric_limits<double>::lowest());
    EXPECT_EQ(c.rangeMin, -1.7976931348623157e308);
    EXPECT_EQ(c.rangeMax, 1.7976931348623157e308);
    EXPECT_EQ(c.units, PathComponents::UnitsNone);
    EXPECT_TRUE(c.exp.empty());
    EXPECT_EQ(c.depth, std::numeric_limits<double>::max());
}

TEST(PathQueryParser, FirstQuestionMarkEndsThePath) {
    const PathComponents c = PathComponents::parse("/a/b?format=JSON?x");
    EXPECT_EQ(c.path, "/a/b");
    // "JSON?x" isn't a format word.
    EXPECT_EQ(c.format, PathContext::FormatString);
    EXPECT_EQ(PathComponents::parse("?").path, "");
    EXPECT_EQ(PathComponents::parse("/p?").path, "/p");
}

TEST(PathQueryParser, FormatWordsStandAlone) {
    EXPECT_EQ(PathComponents::parse("/a?XML").format, PathContext::FormatXML);
    EXPECT_EQ(PathComponents::parse("/a?JSON").format, PathContext::FormatJSON);
    EXPECT_EQ(PathComponents::parse("/a?RAW").format, PathContext::FormatRaw);
    EXPECT_EQ(PathComponents::parse("/a?XML").path, "/a");
}

TEST(PathQueryParser, FormatWordsAreExact) {
    EXPECT_EQ(PathComponents::parse("/a?xml").format, PathContext::FormatString);
    EXPECT_EQ(PathComponents::parse("/a? XML").format, PathContext::FormatString);
    EXPECT_EQ(PathComponents::parse("/a?XML&parse=int").format, PathContext::FormatString);
    EXPECT_EQ(PathComponents::parse("/a?XML&parse=int").parseType, PathComponents::ParseInt);
}

TEST(PathQueryParser, FormatKey) {
    EXPECT_EQ(PathComponents::parse("/a?format=XML").format, PathContext::FormatXML);
    EXPECT_EQ(PathComponents::parse("/a?format=JSON").format, PathContext::FormatJSON);
    EXPECT_EQ(PathComponents::parse("/a?format=RAW").format, PathContext::FormatRaw);
    EXPECT_EQ(PathComponents::parse("/a?format=XML&format=STRING").format,
              PathContext::FormatString);
    EXPECT_EQ(PathComponents::parse("/a?format=XML&format=json").format, PathContext::FormatString);
}

TEST(PathQueryParser, ParseWords) {
    EXPECT_EQ(PathComponents::parse("/a?parse=double").parseType, PathComponents::ParseDouble);
    EXPECT_EQ(PathComponents::parse("/a?parse=int").parseType, PathComponents::ParseInt);
    EXPECT_EQ(PathComponents::parse("/a?parse=ImageID").parseType, PathComponents::ParseImageID);
    EXPECT_EQ(PathComponents::parse("/a?parse=FDT").parseType, PathComponents::ParseFDT);
    EXPECT_EQ(PathComponents::parse("/a?parse=int&parse=string").parseType,
              PathComponents::ParseString);
}

TEST(PathQueryParser, UnknownParseWordIsReportedAndKeepsTheType) {
    CerrCapture cerr;
    const PathComponents c = PathComponents::parse("/a/b?parse=int&parse=Double&units=m");
    EXPECT_EQ(c.parseType, PathComponents::ParseInt);
    EXPECT_EQ(c.units, PathComponents::UnitsMeters);  // the query goes on
    EXPECT_EQ(cerr.text(),
              "NITFProfile::AttributeSourcePart::parse(/a/b?parse=int&parse=Double&units=m): "
              "parse type unknown\n");
}

TEST(PathQueryParser, Range) {
    PathComponents c = PathComponents::parse("/a?range=1.5,2");
    EXPECT_EQ(c.rangeMin, 1.5);
    EXPECT_EQ(c.rangeMax, 2.0);
    c = PathComponents::parse("/a?range=+5,-");
    EXPECT_EQ(c.rangeMin, 5.0);
    EXPECT_EQ(c.rangeMax, std::numeric_limits<double>::max());
    c = PathComponents::parse("/a?range=-3,-1e2");
    EXPECT_EQ(c.rangeMin, -3.0);
    EXPECT_EQ(c.rangeMax, -100.0);
}

TEST(PathQueryParser, OpenLowBoundKeepsTheLowestDouble) {
    const PathComponents c = PathComponents::parse("/a?range=-,10");
    EXPECT_EQ(c.rangeMin, std::numeric_limits<double>::lowest());
    EXPECT_EQ(c.rangeMax, 10.0);
}

TEST(PathQueryParser, MalformedRangesKeepTheDefaults) {
    PathComponents c = PathComponents::parse("/a?range=5");
    EXPECT_EQ(c.rangeMin, std::numeric_limits<double>::lowest());
    EXPECT_EQ(c.rangeMax, std::numeric_limits<double>::max());
    c = PathComponents::parse("/a?range=abc,3");
    EXPECT_EQ(c.rangeMin, std::numeric_limits<double>::lowest());
    EXPECT_EQ(c.rangeMax, 3.0);
    c = PathComponents::parse("/a?range=1,2,3");
    EXPECT_EQ(c.rangeMin, 1.0);
    EXPECT_EQ(c.rangeMax, std::numeric_limits<double>::max());
    c = PathComponents::parse("/a?range=1x,++2");
    EXPECT_EQ(c.rangeMin, std::numeric_limits<double>::lowest());
    EXPECT_EQ(c.rangeMax, std::numeric_limits<double>::max());
    c = PathComponents::parse("/a?range=,");
    EXPECT_EQ(c.rangeMin, std::numeric_limits<double>::lowest());
    EXPECT_EQ(c.rangeMax, std::numeric_limits<double>::max());
}

TEST(PathQueryParser, Units) {
    EXPECT_EQ(PathComponents::parse("/a?units=ft").units, PathComponents::UnitsFeet);
    EXPECT_EQ(PathComponents::parse("/a?units=in").units, PathComponents::UnitsInches);
    EXPECT_EQ(PathComponents::parse("/a?units=m").units, PathComponents::UnitsMeters);
    EXPECT_EQ(PathComponents::parse("/a?units=ft&units=Feet").units, PathComponents::UnitsFeet);
    EXPECT_EQ(PathComponents::parse("/a?units=meters").units, PathComponents::UnitsNone);
}

TEST(PathQueryParser, ExpressionTokens) {
    const PathComponents c = PathComponents::parse("/a?exp= @ , 2 ,, * ,abc,+7,-1.5e1");
    ASSERT_EQ(c.exp.size(), 6u);
    EXPECT_EQ(c.exp[0], any_type::value(std::string("@")));
    EXPECT_EQ(c.exp[1], any_type::value(2.0));
    EXPECT_EQ(c.exp[2], any_type::value(std::string("*")));
    EXPECT_EQ(c.exp[3], any_type::value(std::string("abc")));
    EXPECT_EQ(c.exp[4], any_type::value(7.0));  // every numeric token is a double
    EXPECT_EQ(c.exp[5], any_type::value(-15.0));
}

TEST(PathQueryParser, OperatorTokensStayText) {
    const PathComponents c = PathComponents::parse("/a?exp=+,-,/,ws");
    ASSERT_EQ(c.exp.size(), 4u);
    for (const auto& token : c.exp) {
        EXPECT_TRUE(std::holds_alternative<std::string>(token));
    }
}

TEST(PathQueryParser, Depth) {
    EXPECT_EQ(PathComponents::parse("/a?depth=2").depth, 2.0);
    EXPECT_EQ(PathComponents::parse("/a?depth=0").depth, 0.0);
    EXPECT_EQ(PathComponents::parse("/a?depth=two").depth, std::numeric_limits<double>::max());
}

TEST(PathQueryParser, ItemsAreTrimmedAndMalformedOnesSkipped) {
    const PathComponents c =
        PathComponents::parse("/a? parse=int &&novalue& Parse=double&color=red&units=in ");
    EXPECT_EQ(c.parseType, PathComponents::ParseInt);
    EXPECT_EQ(c.units, PathComponents::UnitsInches);
    EXPECT_EQ(c.format, PathContext::FormatString);
}

TEST(PathQueryParser, KeyEndsAtTheFirstEquals) {
    const PathComponents c = PathComponents::parse("/a?exp=a=b");
    ASSERT_EQ(c.exp.size(), 1u);
    EXPECT_EQ(c.exp[0], any_type::value(std::string("a=b")));
}

TEST(PathQueryPrinting, DefaultsPrintThePathOnly) {
    EXPECT_EQ(printed(PathComponents::parse("/FileHeader/FL")), L"/FileHeader/FL");
    EXPECT_EQ(printed(PathComponents::parse("/FileHeader/FL?format=STRING&parse=string")),
              L"/FileHeader/FL");
}

TEST(PathQueryPrinting, NonDefaultPartsInSortedKeyOrder) {
    const PathComponents c =
        PathComponents::parse("/a?units=in&range=-,10&exp=@,2,*&parse=double&format=JSON&depth=3");
    EXPECT_EQ(printed(c),
              L"/a?exp=@,2.000000,*&format=JSON&parse=double&range=-,10.000000&units=Inchs");
}

TEST(PathQueryPrinting, WordsOfEachPart) {
    EXPECT_EQ(printed(PathComponents::parse("/a?XML")), L"/a?format=XML");
    EXPECT_EQ(printed(PathComponents::parse("/a?RAW")), L"/a?format=RAW");
    EXPECT_EQ(printed(PathComponents::parse("/a?parse=int")), L"/a?parse=int");
    EXPECT_EQ(printed(PathComponents::parse("/a?parse=ImageID")), L"/a?parse=ImageID");
    EXPECT_EQ(printed(PathComponents::parse("/a?parse=FDT")), L"/a?parse=FDT");
    EXPECT_EQ(printed(PathComponents::parse("/a?units=ft")), L"/a?units=Feet");
    EXPECT_EQ(printed(PathComponents::parse("/a?units=m")), L"/a?units=Meters");
    EXPECT_EQ(printed(PathComponents::parse("/a?range=1,-")), L"/a?range=1.000000,-");
    PathComponents odd = PathComponents::parse("/a");
    odd.units = static_cast<PathComponents::Units>(9);
    EXPECT_EQ(printed(odd), L"/a?units=Unknown");
}

TEST(PathQueryPrinting, LongUnitNamesAreNotParsedBack) {
    EXPECT_EQ(PathComponents::parse("/a?units=Inchs").units, PathComponents::UnitsNone);
    EXPECT_EQ(PathComponents::parse("/a?units=Meters").units, PathComponents::UnitsNone);
}

TEST(FormatTypeStream, NarrowAndWideNames) {
    std::ostringstream narrow;
    narrow << PathContext::FormatString << ' ' << PathContext::FormatXML << ' '
           << PathContext::FormatJSON << ' ' << PathContext::FormatRaw << ' '
           << static_cast<PathContext::FormatType>(7);
    EXPECT_EQ(narrow.str(), "FormatString FormatXML FormatJSON FormatRaw FormatString");
    std::wostringstream wide;
    wide << PathContext::FormatJSON << L' ' << static_cast<PathContext::FormatType>(-1);
    EXPECT_EQ(wide.str(), L"FormatJSON FormatString");
}

TEST(FormatTypeStream, FixedNumbers) {
    EXPECT_EQ(static_cast<int>(PathContext::FormatString), 0);
    EXPECT_EQ(static_cast<int>(PathContext::FormatXML), 1);
    EXPECT_EQ(static_cast<int>(PathContext::FormatJSON), 2);
    EXPECT_EQ(static_cast<int>(PathContext::FormatRaw), 3);
    EXPECT_EQ(static_cast<int>(PathComponents::ParseFDT), 4);
    EXPECT_EQ(static_cast<int>(PathComponents::UnitsMeters), 3);
}

}  // namespace
