#include "WallTime.h"

#include <algorithm>
#include <cstddef>
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

}  // namespace qxlt
