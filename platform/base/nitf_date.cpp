#include "tessel/platform/base/nitf_date.h"

#include "tessel/platform/base/text.h"

#include <fmt/format.h>
#include <boost/date_time/gregorian/gregorian_types.hpp>

#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <tuple>

namespace {

constexpr int64_t kMicrosPerSecond = 1'000'000;
constexpr int64_t kMicrosPerMinute = 60 * kMicrosPerSecond;
constexpr int64_t kMicrosPerHour = 60 * kMicrosPerMinute;
constexpr int64_t kMicrosPerDay = 24 * kMicrosPerHour;

const boost::gregorian::date& epoch() {
    static const boost::gregorian::date day(1970, 1, 1);
    return day;
}

int64_t daysSinceEpoch(int year, int month, int day) {
    const boost::gregorian::date date(static_cast<unsigned short>(year),
                                      static_cast<unsigned short>(month),
                                      static_cast<unsigned short>(day));
    return (date - epoch()).days();
}

// The parts of a date as a text gives them, before any range check.
struct DateFields {
    int year = 0;
    int month = 1;
    int day = 1;
    int hour = 0;
    int minute = 0;
    double second = 0.0;
    uint8_t unknown = nitf_date::unknown_none;
    int offsetMinutes = 0;  // the zone's offset from UTC, east positive
};

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// Reads exactly `count` decimal digits at `pos`.
bool readDigits(std::string_view text, size_t pos, size_t count, int& value) {
    if (pos + count > text.size()) {
        return false;
    }
    value = 0;
    for (size_t i = pos; i < pos + count; ++i) {
        if (!isDigit(text[i])) {
            return false;
        }
        value = value * 10 + (text[i] - '0');
    }
    return true;
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kSpace = " \t\r\n";
    const size_t first = text.find_first_not_of(kSpace);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

// "CCYYMMDDhhmmss"; each part after the year may be "--" when unknown.
std::optional<DateFields> parseNitf21(std::string_view text) {
    DateFields fields;
    if (text.size() != 14 || !readDigits(text, 0, 4, fields.year)) {
        return std::nullopt;
    }
    struct Part {
        size_t pos;
        uint8_t flag;
        int* value;
    };
    int second = 0;
    const std::array<Part, 5> parts{{{4, nitf_date::unknown_month, &fields.month},
                                     {6, nitf_date::unknown_day, &fields.day},
                                     {8, nitf_date::unknown_hour, &fields.hour},
                                     {10, nitf_date::unknown_minute, &fields.minute},
                                     {12, nitf_date::unknown_second, &second}}};
    for (const Part& part : parts) {
        if (text.substr(part.pos, 2) == "--") {
            fields.unknown |= part.flag;
        } else if (!readDigits(text, part.pos, 2, *part.value)) {
            return std::nullopt;
        }
    }
    fields.second = second;
    return fields;
}

// "DDhhmmssZMONYY".
std::optional<DateFields> parseNitf20(std::string_view text) {
    DateFields fields;
    int second = 0;
    int year = 0;
    if (text.size() != 14 || text[8] != 'Z' || !readDigits(text, 0, 2, fields.day) ||
        !readDigits(text, 2, 2, fields.hour) || !readDigits(text, 4, 2, fields.minute) ||
        !readDigits(text, 6, 2, second) || !readDigits(text, 12, 2, year)) {
        return std::nullopt;
    }
    fields.month = nitf_date::lookupMonth(text.substr(9, 3));
    if (fields.month == 0) {
        return std::nullopt;
    }
    fields.year = nitf_date::adjustYear(year);
    fields.second = second;
    return fields;
}

// Reads ISO 8601 text from left to right.
class IsoScanner {
public:
    explicit IsoScanner(std::string_view text) : text_(text) {}

    std::optional<DateFields> scan() {
        DateFields fields;
        if (!scanDate(fields)) {
            return std::nullopt;
        }
        if (atEnd()) {
            return fields;
        }
        if (!accept('T') && !accept('t') && !accept(' ')) {
            return std::nullopt;
        }
        if (!scanTime(fields) || !scanZone(fields) || !atEnd()) {
            return std::nullopt;
        }
        return fields;
    }

private:
    bool atEnd() const { return pos_ == text_.size(); }
    bool peek(char c) const { return pos_ < text_.size() && text_[pos_] == c; }
    bool accept(char c) {
        if (!peek(c)) {
            return false;
        }
        ++pos_;
        return true;
    }
    bool number(size_t count, int& value) {
        if (!readDigits(text_, pos_, count, value)) {
            return false;
        }
        pos_ += count;
        return true;
    }

    // "CCYY-MM-DD" or "CCYYMMDD".
    bool scanDate(DateFields& fields) {
        if (!number(4, fields.year)) {
            return false;
        }
        const bool extended = accept('-');
        return number(2, fields.month) && (!extended || accept('-')) && number(2, fields.day);
    }

    // "hh:mm[:ss[.fff]]" or "hhmm[ss[.fff]]".
    bool scanTime(DateFields& fields) {
        if (!number(2, fields.hour)) {
            return false;
        }
        const bool extended = accept(':');
        if (!number(2, fields.minute)) {
            return false;
        }
        const bool hasSeconds =
            extended ? accept(':') : (pos_ < text_.size() && isDigit(text_[pos_]));
        if (!hasSeconds) {
            return true;
        }
        int whole = 0;
        if (!number(2, whole)) {
            return false;
        }
        fields.second = whole;
        return scanFraction(fields);
    }

    // ".fff" or ",fff" after the seconds, with at least one digit.
    bool scanFraction(DateFields& fields) {
        if (!accept('.') && !accept(',')) {
            return true;
        }
        const size_t first = pos_;
        while (pos_ < text_.size() && isDigit(text_[pos_])) {
            ++pos_;
        }
        if (pos_ == first) {
            return false;
        }
        std::string decimal = "0.";
        decimal.append(text_.substr(first, pos_ - first));
        double fraction = 0.0;
        const auto result =
            std::from_chars(decimal.data(), decimal.data() + decimal.size(), fraction);
        if (result.ec != std::errc()) {
            return false;
        }
        fields.second += fraction;
        return true;
    }

    // Nothing, "Z", or an offset "+hh", "+hhmm", "+hh:mm" (or with "-").
    bool scanZone(DateFields& fields) {
        if (atEnd() || accept('Z') || accept('z')) {
            return true;
        }
        const bool east = peek('+');
        if (!accept('+') && !accept('-')) {
            return false;
        }
        int hours = 0;
        int minutes = 0;
        if (!number(2, hours)) {
            return false;
        }
        const bool separated = accept(':');
        if ((separated || !atEnd()) && !number(2, minutes)) {
            return false;
        }
        if (hours > 23 || minutes > 59) {
            return false;
        }
        fields.offsetMinutes = (east ? 1 : -1) * (hours * 60 + minutes);
        return true;
    }

    std::string_view text_;
    size_t pos_ = 0;
};

// A part in the calendar's own type; anything that type can't hold becomes 0, which
// its range check rejects like any other bad value.
unsigned short calendarPart(int value) {
    return value < 0 || value > 0xFFFF ? 0 : static_cast<unsigned short>(value);
}

int64_t microsOf(double second) {
    return std::llround(second * static_cast<double>(kMicrosPerSecond));
}

// Integer division that rounds toward negative infinity.
int64_t floorDiv(int64_t value, int64_t divisor) {
    const int64_t quotient = value / divisor;
    return (value % divisor != 0 && value < 0) ? quotient - 1 : quotient;
}

// Shortest fixed-point text of the seconds that reads back to the same double.
std::string secondsText(double second) {
    if (second == std::floor(second)) {
        return fmt::format("{:02}", static_cast<int>(second));
    }
    std::array<char, 64> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), second,
                                      std::chars_format::fixed);
    std::string text(buffer.data(), result.ptr);
    return second < 10.0 ? "0" + text : text;
}

}  // namespace

// Sets the parts that the public constructor can't.
struct nitf_date_builder {
    static nitf_date fromFields(const DateFields& fields) {
        try {
            nitf_date date(fields.year, fields.month, fields.day, fields.hour, fields.minute,
                           fields.second);
            if (fields.offsetMinutes != 0) {
                date = date.plusMilliseconds(-int64_t{fields.offsetMinutes} * 60'000);
            }
            date.unknown_ = fields.unknown;
            return date;
        } catch (const std::exception&) {
            return {};
        }
    }

    static int64_t microsSinceEpoch(const nitf_date& date) {
        return daysSinceEpoch(date.year_, date.month_, date.day_) * kMicrosPerDay +
               date.hour_ * kMicrosPerHour + date.minute_ * kMicrosPerMinute +
               microsOf(date.second_);
    }

    static nitf_date fromMicros(int64_t micros) {
        const int64_t days = floorDiv(micros, kMicrosPerDay);
        int64_t rest = micros - days * kMicrosPerDay;
        if (days < daysSinceEpoch(1400, 1, 1) || days > daysSinceEpoch(9999, 12, 31)) {
            throw std::out_of_range("Year is out of valid range: 1400..9999");
        }
        const boost::gregorian::date day = epoch() + boost::gregorian::days(days);
        const int hour = static_cast<int>(rest / kMicrosPerHour);
        rest %= kMicrosPerHour;
        const int minute = static_cast<int>(rest / kMicrosPerMinute);
        rest %= kMicrosPerMinute;
        const double second = static_cast<double>(rest) / static_cast<double>(kMicrosPerSecond);
        return nitf_date(day.year(), day.month(), day.day(), hour, minute, second);
    }
};

nitf_date::nitf_date(int year, int month, int day, int hour, int minute, double second) {
    // The calendar's own types throw std::out_of_range subclasses for each bad part,
    // and the date itself for a day that its month doesn't have.
    const boost::gregorian::date date(calendarPart(year), calendarPart(month), calendarPart(day));
    if (hour < 0 || hour > 23 || minute < 0 || minute > 59 || !(second >= 0.0 && second < 60.0)) {
        throw std::out_of_range("Time of day is out of valid range");
    }
    valid_ = true;
    year_ = static_cast<uint16_t>(date.year());
    month_ = static_cast<uint8_t>(date.month());
    day_ = static_cast<uint8_t>(date.day());
    hour_ = static_cast<uint8_t>(hour);
    minute_ = static_cast<uint8_t>(minute);
    second_ = second;
}

nitf_date nitf_date::parse(std::string_view text) {
    text = trimmed(text);
    std::optional<DateFields> fields;
    if (text.size() == 14 && text[8] == 'Z') {
        fields = parseNitf20(text);
    } else if (text.size() == 14) {
        fields = parseNitf21(text);
    } else {
        fields = IsoScanner(text).scan();
    }
    return fields ? nitf_date_builder::fromFields(*fields) : nitf_date();
}

nitf_date nitf_date::parse(std::wstring_view text) {
    return parse(std::to_string(text));
}

int nitf_date::lookupMonth(std::string_view month) {
    static constexpr std::array<std::string_view, 12> kMonths = {
        "JAN", "FEB", "MAR", "APR", "MAY", "JUN", "JUL", "AUG", "SEP", "OCT", "NOV", "DEC"};
    if (month.size() != 3) {
        return 0;
    }
    std::string upper(month);
    for (char& c : upper) {
        if (c >= 'a' && c <= 'z') {
            c = static_cast<char>(c - 'a' + 'A');
        }
    }
    for (size_t i = 0; i < kMonths.size(); ++i) {
        if (kMonths[i] == upper) {
            return static_cast<int>(i) + 1;
        }
    }
    return 0;
}

int nitf_date::adjustYear(int year) {
    if (year < 0 || year > 99) {
        return year;
    }
    return year < 70 ? 2000 + year : 1900 + year;
}

int64_t nitf_date::msSince1970() const {
    if (!valid_) {
        return 0;
    }
    return nitf_date_builder::microsSinceEpoch(*this) / 1000;  // truncates toward zero
}

nitf_date nitf_date::plusMilliseconds(int64_t ms) const {
    if (!valid_) {
        return *this;
    }
    // Beyond this, no result can be a date of the calendar; it also keeps the sum in range.
    constexpr int64_t kLimit = 1'000'000'000'000'000;
    if (ms > kLimit || ms < -kLimit) {
        throw std::out_of_range("Year is out of valid range: 1400..9999");
    }
    return nitf_date_builder::fromMicros(nitf_date_builder::microsSinceEpoch(*this) + ms * 1000);
}

std::string nitf_date::to_string() const {
    if (!valid_) {
        return {};
    }
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{}", year_, month_, day_, hour_, minute_,
                       secondsText(second_));
}

std::wstring nitf_date::to_wstring() const {
    return std::to_wstring(to_string());
}

bool nitf_date::operator==(const nitf_date& other) const {
    return std::tie(valid_, year_, month_, day_, hour_, minute_, second_, unknown_) ==
           std::tie(other.valid_, other.year_, other.month_, other.day_, other.hour_, other.minute_,
                    other.second_, other.unknown_);
}

std::partial_ordering nitf_date::operator<=>(const nitf_date& other) const {
    if (!valid_ || !other.valid_) {
        return valid_ == other.valid_ ? std::partial_ordering::equivalent
                                      : std::partial_ordering::unordered;
    }
    return std::tie(year_, month_, day_, hour_, minute_, second_, unknown_) <=>
           std::tie(other.year_, other.month_, other.day_, other.hour_, other.minute_,
                    other.second_, other.unknown_);
}

std::ostream& operator<<(std::ostream& os, const nitf_date& date) {
    return os << date.to_string();
}

std::wostream& operator<<(std::wostream& os, const nitf_date& date) {
    return os << date.to_wstring();
}

namespace std {
string to_string(const nitf_date& date) {
    return date.to_string();
}
wstring to_wstring(const nitf_date& date) {
    return date.to_wstring();
}
}  // namespace std
