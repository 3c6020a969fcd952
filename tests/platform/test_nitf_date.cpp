#include <gtest/gtest.h>

#include "tessel/platform/base/nitf_date.h"
#include "tessel/platform/base/text.h"

#include <sstream>
#include <stdexcept>

namespace {

void expectDate(const nitf_date& date, int year, int month, int day, int hour, int minute,
                double second) {
    ASSERT_TRUE(date.is_valid());
    EXPECT_EQ(date.year(), year);
    EXPECT_EQ(date.month(), month);
    EXPECT_EQ(date.day(), day);
    EXPECT_EQ(date.hour(), hour);
    EXPECT_EQ(date.minute(), minute);
    EXPECT_DOUBLE_EQ(date.second(), second);
}

}  // namespace

TEST(NitfDate, DefaultIsInvalid) {
    const nitf_date date;
    EXPECT_FALSE(date.is_valid());
    EXPECT_FALSE(static_cast<bool>(date));
    EXPECT_EQ(date.to_string(), "");
    EXPECT_EQ(date.msSince1970(), 0);
}

TEST(NitfDate, ConstructorKeepsTheParts) {
    const nitf_date date(2012, 5, 4, 10, 11, 12.25);
    expectDate(date, 2012, 5, 4, 10, 11, 12.25);
    EXPECT_EQ(date.unknown_parts(), nitf_date::unknown_none);
}

TEST(NitfDate, ConstructorRejectsOutOfRangeParts) {
    EXPECT_THROW(nitf_date(1399, 1, 1), std::out_of_range);
    EXPECT_THROW(nitf_date(10000, 1, 1), std::out_of_range);
    EXPECT_THROW(nitf_date(-5, 1, 1), std::out_of_range);
    EXPECT_THROW(nitf_date(100000, 1, 1), std::out_of_range);
    EXPECT_THROW(nitf_date(2012, 0, 1), std::out_of_range);
    EXPECT_THROW(nitf_date(2012, 13, 1), std::out_of_range);
    EXPECT_THROW(nitf_date(2012, 1, 0), std::out_of_range);
    EXPECT_THROW(nitf_date(2012, 1, 32), std::out_of_range);
    EXPECT_THROW(nitf_date(2011, 2, 29), std::out_of_range);
    EXPECT_THROW(nitf_date(2012, 1, 1, 24), std::out_of_range);
    EXPECT_THROW(nitf_date(2012, 1, 1, 0, 60), std::out_of_range);
    EXPECT_THROW(nitf_date(2012, 1, 1, 0, 0, 60.0), std::out_of_range);
    EXPECT_THROW(nitf_date(2012, 1, 1, 0, 0, -0.5), std::out_of_range);
}

TEST(NitfDate, ConstructorAcceptsTheRangeEnds) {
    EXPECT_NO_THROW(nitf_date(1400, 1, 1));
    EXPECT_NO_THROW(nitf_date(9999, 12, 31, 23, 59, 59.999));
    EXPECT_NO_THROW(nitf_date(2012, 2, 29));
}

TEST(NitfDateParse, Nitf21Full) {
    const nitf_date date = nitf_date::parse("20120504101112");
    expectDate(date, 2012, 5, 4, 10, 11, 12);
    EXPECT_EQ(date.unknown_parts(), nitf_date::unknown_none);
}

TEST(NitfDateParse, Nitf21UnknownTimeOfDay) {
    const nitf_date date = nitf_date::parse("20120504------");
    expectDate(date, 2012, 5, 4, 0, 0, 0);
    EXPECT_EQ(date.unknown_parts(),
              nitf_date::unknown_hour | nitf_date::unknown_minute | nitf_date::unknown_second);
}

TEST(NitfDateParse, Nitf21OnlyYearKnown) {
    const nitf_date date = nitf_date::parse("2012----------");
    expectDate(date, 2012, 1, 1, 0, 0, 0);
    EXPECT_EQ(date.unknown_parts(), nitf_date::unknown_month | nitf_date::unknown_day |
                                        nitf_date::unknown_hour | nitf_date::unknown_minute |
                                        nitf_date::unknown_second);
}

TEST(NitfDateParse, Nitf21UnknownYearOrHalfKnownPartIsInvalid) {
    EXPECT_FALSE(nitf_date::parse("--------------").is_valid());
    EXPECT_FALSE(nitf_date::parse("201205-4101112").is_valid());
    EXPECT_FALSE(nitf_date::parse("20120504-01112").is_valid());
}

TEST(NitfDateParse, Nitf20WithTwoDigitYear) {
    expectDate(nitf_date::parse("04101112ZMAY12"), 2012, 5, 4, 10, 11, 12);
    expectDate(nitf_date::parse("31235959ZDEC99"), 1999, 12, 31, 23, 59, 59);
    expectDate(nitf_date::parse("01000000Zjan70"), 1970, 1, 1, 0, 0, 0);
}

TEST(NitfDateParse, Nitf20BadMonthOrDayIsInvalid) {
    EXPECT_FALSE(nitf_date::parse("04101112ZMAX12").is_valid());
    EXPECT_FALSE(nitf_date::parse("30101112ZFEB12").is_valid());
    EXPECT_FALSE(nitf_date::parse("04101112XMAY12").is_valid());
}

TEST(NitfDateParse, IsoWithZone) {
    expectDate(nitf_date::parse("2012-05-04T10:11:12Z"), 2012, 5, 4, 10, 11, 12);
}

TEST(NitfDateParse, IsoWithFraction) {
    expectDate(nitf_date::parse("2012-05-04T10:11:12.5Z"), 2012, 5, 4, 10, 11, 12.5);
    expectDate(nitf_date::parse("2012-05-04T10:11:12,25"), 2012, 5, 4, 10, 11, 12.25);
    expectDate(nitf_date::parse("2012-05-04 10:11:12.123456789"), 2012, 5, 4, 10, 11, 12.123456789);
}

TEST(NitfDateParse, IsoWithSpace) {
    expectDate(nitf_date::parse("2012-05-04 10:11:12"), 2012, 5, 4, 10, 11, 12);
}

TEST(NitfDateParse, IsoDateOnly) {
    const nitf_date date = nitf_date::parse("2012-05-04");
    expectDate(date, 2012, 5, 4, 0, 0, 0);
    EXPECT_EQ(date.unknown_parts(), nitf_date::unknown_none);
}

TEST(NitfDateParse, IsoCompact) {
    expectDate(nitf_date::parse("20120504T101112"), 2012, 5, 4, 10, 11, 12);
    expectDate(nitf_date::parse("20120504T101112.75Z"), 2012, 5, 4, 10, 11, 12.75);
    expectDate(nitf_date::parse("20120504"), 2012, 5, 4, 0, 0, 0);
}

TEST(NitfDateParse, IsoWithoutSeconds) {
    expectDate(nitf_date::parse("2012-05-04T10:11"), 2012, 5, 4, 10, 11, 0);
}

TEST(NitfDateParse, IsoZoneOffsetGivesUtc) {
    expectDate(nitf_date::parse("2012-05-04T10:11:12+02:00"), 2012, 5, 4, 8, 11, 12);
    expectDate(nitf_date::parse("2012-05-04T23:30:00-0100"), 2012, 5, 5, 0, 30, 0);
    expectDate(nitf_date::parse("2012-05-04T10:11:12+05"), 2012, 5, 4, 5, 11, 12);
    EXPECT_FALSE(nitf_date::parse("2012-05-04T10:11:12+2").is_valid());
    EXPECT_FALSE(nitf_date::parse("2012-05-04T10:11:12+25:00").is_valid());
}

TEST(NitfDateParse, SurroundingSpaceIsIgnored) {
    expectDate(nitf_date::parse("  20120504101112 "), 2012, 5, 4, 10, 11, 12);
}

TEST(NitfDateParse, WideText) {
    expectDate(nitf_date::parse(std::wstring_view(L"2012-05-04T10:11:12Z")), 2012, 5, 4, 10, 11,
               12);
    expectDate(nitf_date::parse(std::wstring_view(L"04101112ZMAY12")), 2012, 5, 4, 10, 11, 12);
    EXPECT_FALSE(nitf_date::parse(std::wstring_view(L"2012-05-04T10:11:1\u00e9")).is_valid());
}

TEST(NitfDateParse, BadTextIsInvalidAndDoesNotThrow) {
    const char* const bad[] = {
        "",
        "   ",
        "2012050410111",    // 13 characters
        "201205041011123",  // 15 digits
        "2012O504101112",   // a letter for a digit
        "20121304101112",   // month 13
        "20120532101112",   // day 32
        "20120504251112",   // hour 25
        "20120504106112",   // minute 61
        "20120504101160",   // second 60
        "13991231000000",   // year before the calendar
        "2012-13-04",
        "2012-05-32",
        "2012-02-30",
        "2012-05-04T25:00:00",
        "2012-05-04T10:11:12.",
        "2012-05-04T10:11:12Zjunk",
        "2012-05-04X10:11:12",
        "2012-05-04T",
        "2012-5-4",
        "2012/05/04",
        "yesterday",
        "9999-12-31T23:59:59-01:00",  // past the calendar's end once in UTC
    };
    for (const char* text : bad) {
        nitf_date date;
        EXPECT_NO_THROW(date = nitf_date::parse(text)) << text;
        EXPECT_FALSE(date.is_valid()) << text;
        EXPECT_EQ(date, nitf_date()) << text;
    }
}

TEST(NitfDateParse, EmbeddedNulIsInvalid) {
    using namespace std::string_view_literals;
    EXPECT_FALSE(nitf_date::parse("2012-05-04\0"sv).is_valid());
}

TEST(NitfDate, LookupMonth) {
    EXPECT_EQ(nitf_date::lookupMonth("JAN"), 1);
    EXPECT_EQ(nitf_date::lookupMonth("may"), 5);
    EXPECT_EQ(nitf_date::lookupMonth("Dec"), 12);
    EXPECT_EQ(nitf_date::lookupMonth("DECEMBER"), 0);
    EXPECT_EQ(nitf_date::lookupMonth("XYZ"), 0);
    EXPECT_EQ(nitf_date::lookupMonth(""), 0);
}

TEST(NitfDate, AdjustYear) {
    EXPECT_EQ(nitf_date::adjustYear(0), 2000);
    EXPECT_EQ(nitf_date::adjustYear(12), 2012);
    EXPECT_EQ(nitf_date::adjustYear(69), 2069);
    EXPECT_EQ(nitf_date::adjustYear(70), 1970);
    EXPECT_EQ(nitf_date::adjustYear(99), 1999);
    EXPECT_EQ(nitf_date::adjustYear(100), 100);
    EXPECT_EQ(nitf_date::adjustYear(2012), 2012);
}

TEST(NitfDate, MsSince1970OfKnownDates) {
    EXPECT_EQ(nitf_date(1970, 1, 1).msSince1970(), 0);
    EXPECT_EQ(nitf_date(2012, 5, 4, 10, 11, 12).msSince1970(), 1336126272000);
    EXPECT_EQ(nitf_date(2012, 5, 4, 10, 11, 12.3456).msSince1970(), 1336126272345);
    EXPECT_EQ(nitf_date(1969, 12, 31, 23, 59, 59).msSince1970(), -1000);
}

TEST(NitfDate, MsSince1970TruncatesTowardZero) {
    EXPECT_EQ(nitf_date(1969, 12, 31, 23, 59, 59.9995).msSince1970(), 0);
    EXPECT_EQ(nitf_date(1969, 12, 31, 23, 59, 59.9985).msSince1970(), -1);
}

TEST(NitfDate, PlusMilliseconds) {
    const nitf_date date(2012, 5, 4, 10, 11, 12);
    const nitf_date nextDay = date.plusMilliseconds(86'400'000);
    expectDate(nextDay, 2012, 5, 5, 10, 11, 12);
    EXPECT_EQ(nextDay.msSince1970() - date.msSince1970(), 86'400'000);
    expectDate(date.plusMilliseconds(-500), 2012, 5, 4, 10, 11, 11.5);
    expectDate(nitf_date(2012, 12, 31, 23, 59, 59).plusMilliseconds(1000), 2013, 1, 1, 0, 0, 0);
    expectDate(nitf_date(2012, 3, 1).plusMilliseconds(-1), 2012, 2, 29, 23, 59, 59.999);
}

TEST(NitfDate, PlusMillisecondsClearsUnknownParts) {
    const nitf_date date = nitf_date::parse("20120504------");
    EXPECT_EQ(date.plusMilliseconds(0).unknown_parts(), nitf_date::unknown_none);
}

TEST(NitfDate, PlusMillisecondsOutsideTheCalendarThrows) {
    EXPECT_THROW(nitf_date(9999, 12, 31, 23).plusMilliseconds(3'600'000), std::out_of_range);
    EXPECT_THROW(nitf_date(1400, 1, 1).plusMilliseconds(-1), std::out_of_range);
    EXPECT_THROW(nitf_date(2012, 1, 1).plusMilliseconds(INT64_MAX), std::out_of_range);
    EXPECT_THROW(nitf_date(2012, 1, 1).plusMilliseconds(INT64_MIN), std::out_of_range);
}

TEST(NitfDate, PlusMillisecondsOfInvalidStaysInvalid) {
    EXPECT_FALSE(nitf_date().plusMilliseconds(1000).is_valid());
}

TEST(NitfDate, ToStringForms) {
    EXPECT_EQ(nitf_date(2012, 5, 4, 10, 11, 12).to_string(), "2012-05-04T10:11:12");
    EXPECT_EQ(nitf_date(2012, 5, 4, 10, 11, 2.5).to_string(), "2012-05-04T10:11:02.5");
    EXPECT_EQ(nitf_date(1400, 1, 1).to_string(), "1400-01-01T00:00:00");
    EXPECT_EQ(nitf_date(2012, 5, 4, 10, 11, 12.125).to_wstring(), L"2012-05-04T10:11:12.125");
    EXPECT_EQ(std::to_string(nitf_date(2012, 5, 4)), "2012-05-04T00:00:00");
    EXPECT_EQ(std::to_wstring(nitf_date(2012, 5, 4)), L"2012-05-04T00:00:00");
}

TEST(NitfDate, TextRoundTrip) {
    const nitf_date dates[] = {
        nitf_date(2012, 5, 4, 10, 11, 12),          nitf_date(2012, 5, 4, 10, 11, 12.5),
        nitf_date(1999, 12, 31, 23, 59, 59.999999), nitf_date(1400, 1, 1, 0, 0, 0.1),
        nitf_date(9999, 12, 31, 23, 59, 7.0625),    nitf_date(2000, 2, 29, 1, 2, 3.3),
    };
    for (const nitf_date& date : dates) {
        EXPECT_EQ(nitf_date::parse(date.to_string()), date) << date;
        EXPECT_EQ(nitf_date::parse(date.to_wstring()), date) << date;
    }
}

TEST(NitfDate, StreamOperators) {
    std::ostringstream narrow;
    narrow << nitf_date(2012, 5, 4, 10, 11, 12) << '|' << nitf_date();
    EXPECT_EQ(narrow.str(), "2012-05-04T10:11:12|");
    std::wostringstream wide;
    wide << nitf_date(2012, 5, 4, 10, 11, 12);
    EXPECT_EQ(wide.str(), L"2012-05-04T10:11:12");
}

TEST(NitfDate, EqualityComparesEveryPart) {
    EXPECT_EQ(nitf_date(2012, 5, 4, 10, 11, 12), nitf_date::parse("20120504101112"));
    EXPECT_NE(nitf_date(2012, 5, 4, 10, 11, 12), nitf_date(2012, 5, 4, 10, 11, 12.001));
    EXPECT_NE(nitf_date(2012, 5, 4), nitf_date::parse("20120504------"));
    EXPECT_EQ(nitf_date(), nitf_date::parse("junk"));
    EXPECT_NE(nitf_date(), nitf_date(2012, 5, 4));
}

TEST(NitfDate, Ordering) {
    const nitf_date early(2012, 5, 4, 10, 11, 12);
    const nitf_date late(2012, 5, 4, 10, 11, 12.5);
    EXPECT_LT(early, late);
    EXPECT_GT(late, early);
    EXPECT_LT(nitf_date(2011, 12, 31, 23, 59, 59), nitf_date(2012, 1, 1));
    EXPECT_LT(nitf_date(2012, 1, 31), nitf_date(2012, 2, 1));
    EXPECT_TRUE((early <=> early) == std::partial_ordering::equivalent);
}

TEST(NitfDate, InvalidIsUnorderedAgainstValid) {
    const nitf_date valid(2012, 5, 4);
    EXPECT_TRUE((nitf_date() <=> valid) == std::partial_ordering::unordered);
    EXPECT_FALSE(nitf_date() < valid);
    EXPECT_FALSE(nitf_date() > valid);
    EXPECT_TRUE((nitf_date() <=> nitf_date()) == std::partial_ordering::equivalent);
}
