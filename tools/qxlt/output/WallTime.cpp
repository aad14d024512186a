#include "WallTime.h"

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <limits>

namespace qxlt {

namespace {

constexpr std::uint64_t kSecondNs = 1000000000;
constexpr std::uint64_t kDaySeconds = 86400;
constexpr std::uint64_t kMost = std::numeric_limits<std::int64_t>::max();  // some day in 2262

// Writes the number with that many digits.
void Put(char* at, std::uint64_t number, std::size_t digits) {
    for (std::size_t i = digits; i-- > 0; number /= 10) at[i] = static_cast<char>('0' + number % 10);
}

struct Date {
    std::uint64_t year;
    std::uint64_t month;
    std::uint64_t day;
};

// Counted in years that begin with March, so that a leap day is the last of its year: 1970 began 306 days into one.
Date DateOf(std::uint64_t days) {
    const std::uint64_t sinceMarch0 = days + 719468;
    const std::uint64_t era = sinceMarch0 / 146097;  // of 400 years
    const std::uint64_t dayOfEra = sinceMarch0 % 146097;
    const std::uint64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::uint64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::uint64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
    const std::uint64_t month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    const std::uint64_t day = dayOfYear - (153 * monthFromMarch + 2) / 5 + 1;
    return {era * 400 + yearOfEra + (month <= 2 ? 1 : 0), month, day};
}

// The days since 1970, which the date is not before; those of a month may be more than it has.
std::uint64_t DaysOf(const Date& date) {
    const std::uint64_t year = date.month > 2 ? date.year : date.year - 1;
    const std::uint64_t dayOfYear = (153 * (date.month > 2 ? date.month - 3 : date.month + 9) + 2) / 5 + date.day - 1;
    const std::uint64_t yearOfEra = year % 400;
    return year / 400 * 146097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719468;
}

// The digits behind the point, as nanoseconds; nothing when something else stands there.
std::optional<std::uint64_t> ReadFraction(const std::string& text) {
    if (text.empty()) return 0;
    const std::string digits = text.substr(1);
    const bool isFraction = text.front() == '.' && !digits.empty() && digits.size() <= 9 &&
                            digits.find_first_not_of("0123456789") == std::string::npos;
    if (!isFraction) return std::nullopt;
    return std::stoull(digits + std::string(9 - digits.size(), '0'));
}

}  // namespace

std::optional<std::uint64_t> WallTime(std::uint64_t time, ClockOffset offset) {
    if (!offset || time > kMost) return std::nullopt;
    const auto signedTime = static_cast<std::int64_t>(time);
    if (*offset > 0 && signedTime > std::numeric_limits<std::int64_t>::max() - *offset) return std::nullopt;
    const std::int64_t wall = signedTime + *offset;
    return wall < 0 ? std::nullopt : std::make_optional(static_cast<std::uint64_t>(wall));
}

std::string WallText(std::uint64_t wall) {
    const std::uint64_t seconds = wall / kSecondNs;
    const Date date = DateOf(seconds / kDaySeconds);
    const std::uint64_t ofDay = seconds % kDaySeconds;
    std::string text = "0000-00-00T00:00:00.000000000Z";
    char* const begin = text.data();
    Put(begin, date.year, 4);
    Put(begin + 5, date.month, 2);
    Put(begin + 8, date.day, 2);
    Put(begin + 11, ofDay / 3600, 2);
    Put(begin + 14, ofDay / 60 % 60, 2);
    Put(begin + 17, ofDay % 60, 2);
    Put(begin + 20, wall % kSecondNs, 9);
    return text;
}

std::optional<std::uint64_t> ReadWallText(const std::string& text) {
    if (text.empty() || text.back() != 'Z') return std::nullopt;
    std::tm date{};
    const char* const rest = strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S", &date);
    if (rest == nullptr || date.tm_year < 70) return std::nullopt;
    const std::optional<std::uint64_t> ns = ReadFraction(std::string(rest, &text.back()));
    const auto number = [](int part) { return static_cast<std::uint64_t>(part); };
    const std::uint64_t days = DaysOf({number(date.tm_year) + 1900, number(date.tm_mon) + 1, number(date.tm_mday)});
    const std::uint64_t ofDay = number(date.tm_hour) * 3600 + number(date.tm_min) * 60 + number(date.tm_sec);
    const std::uint64_t seconds = days * kDaySeconds + ofDay;
    if (!ns || seconds > kMost / kSecondNs) return std::nullopt;
    return seconds * kSecondNs + *ns;
}

}  // namespace qxlt
