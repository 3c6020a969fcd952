#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// A calendar date with time of day, as NITF headers and ISO 8601 text carry it.

#include <compare>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

class nitf_date {
public:
    // Parts that a NITF 2.10 date may leave unknown by writing "-" in their digits.
    enum unknown_part : uint8_t {
        unknown_none = 0,
        unknown_month = 1,
        unknown_day = 2,
        unknown_hour = 4,
        unknown_minute = 8,
        unknown_second = 16,
    };

    nitf_date() = default;
    // Throws std::out_of_range for a year outside 1400..9999, a month outside 1..12,
    // a day outside 1..31 (the calendar library's range rules), or a bad time of day.
    nitf_date(int year, int month, int day, int hour = 0, int minute = 0, double second = 0.0);

    // Accepts NITF 2.10 "CCYYMMDDhhmmss" (unknown digits as "-"), NITF 2.00
    // "DDhhmmssZMONYY", ISO 8601 ("2012-05-04T10:11:12.5Z", "2012-05-04 10:11:12",
    // "2012-05-04") and the text form of a file time (what to_string gives).
    // A zone offset ("+02:00") is applied, so that the date is in UTC. Surrounding
    // white space is ignored. Bad text gives an invalid date; it never throws.
    static nitf_date parse(std::string_view text);
    static nitf_date parse(std::wstring_view text);

    // 1..12 for "JAN".."DEC" (case-insensitive), 0 for anything else.
    static int lookupMonth(std::string_view month);
    // Two-digit years: 00..69 become 2000..2069, 70..99 become 1970..1999. Larger
    // numbers pass unchanged.
    static int adjustYear(int year);

    bool is_valid() const { return valid_; }
    explicit operator bool() const { return valid_; }

    int year() const { return year_; }
    int month() const { return month_; }
    int day() const { return day_; }
    int hour() const { return hour_; }
    int minute() const { return minute_; }
    double second() const { return second_; }
    uint8_t unknown_parts() const { return unknown_; }

    // Milliseconds since 1970-01-01T00:00:00, truncated toward zero; 0 for an invalid date.
    int64_t msSince1970() const;
    // The same date moved by a number of milliseconds, held to the microsecond; the
    // unknown parts are cleared. An invalid date stays invalid. Throws std::out_of_range
    // when the result falls outside the years 1400..9999.
    nitf_date plusMilliseconds(int64_t ms) const;

    // ISO 8601 "CCYY-MM-DDThh:mm:ss" with a fraction of a second when there is one;
    // an invalid date gives the empty text.
    std::string to_string() const;
    std::wstring to_wstring() const;

    // Invalid dates are equal to each other and unordered against valid ones; valid
    // dates order by time, then by their unknown parts.
    bool operator==(const nitf_date& other) const;
    std::partial_ordering operator<=>(const nitf_date& other) const;

private:
    bool valid_ = false;
    uint8_t unknown_ = unknown_none;
    uint16_t year_ = 0;
    uint8_t month_ = 0;
    uint8_t day_ = 0;
    uint8_t hour_ = 0;
    uint8_t minute_ = 0;
    double second_ = 0.0;

    friend struct nitf_date_builder;
};

std::ostream& operator<<(std::ostream& os, const nitf_date& date);
std::wostream& operator<<(std::wostream& os, const nitf_date& date);

TESSEL_PUBLIC_END
