#include "text/TimeText.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <sstream>
#include <vector>

#include "text/TextParts.h"

namespace tool {

namespace {

constexpr std::size_t kMaximumDigits = 9;

bool IsNumber(const std::string &text) {
    return !text.empty() && text.size() <= kMaximumDigits &&
           std::all_of(text.begin(), text.end(), IsDigit);
}

std::vector<std::string> SplitAtColons(const std::string &text) {
    std::vector<std::string> parts;
    std::size_t begin = 0;
    for (std::size_t colon = text.find(':'); colon != std::string::npos;
         colon = text.find(':', begin)) {
        parts.push_back(text.substr(begin, colon - begin));
        begin = colon + 1;
    }
    parts.push_back(text.substr(begin));
    return parts;
}

/// Takes the fraction off the last part: "5.25" leaves "5" and gives 250 ms.
std::optional<std::int64_t> TakeFraction(std::string &seconds) {
    const std::size_t point = seconds.find('.');
    if (point == std::string::npos)
        return 0;
    std::string fraction = seconds.substr(point + 1);
    seconds.resize(point);
    if (!IsNumber(fraction))
        return std::nullopt;
    fraction.resize(3, '0');
    return std::stoll(fraction);
}

}  // namespace

std::optional<std::int64_t> ParseTime(const std::string &text) {
    std::vector<std::string> parts = SplitAtColons(text);
    const std::optional<std::int64_t> fraction = TakeFraction(parts.back());
    if (!fraction || parts.size() > 3)
        return std::nullopt;
    std::int64_t seconds = 0;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (!IsNumber(parts[i]))
            return std::nullopt;
        const std::int64_t value = std::stoll(parts[i]);
        if (i > 0 && value >= 60)
            return std::nullopt;
        seconds = seconds * 60 + value;
    }
    const std::int64_t milliseconds = seconds * 1000 + *fraction;
    if (milliseconds > std::numeric_limits<std::int32_t>::max())
        return std::nullopt;
    return milliseconds;
}

std::string TimeText(std::int64_t milliseconds) {
    const long long tenths = std::max<std::int64_t>(milliseconds, 0) / 100;
    char text[32];
    std::snprintf(text, sizeof text, "%02lld:%02lld.%lld", tenths / 600, tenths / 10 % 60,
                  tenths % 10);
    return text;
}

std::string RateText(double rate) {
    if (std::isnan(rate))
        return "not a number";
    if (std::isinf(rate))
        return rate < 0 ? "-infinite" : "infinite";
    std::ostringstream text;
    text << rate << 'x';
    return text.str();
}

std::string PidText(std::int64_t pid) {
    constexpr std::int64_t kHighestPid = 0x1FFF;
    if (pid <= 0 || pid > kHighestPid)
        return "none";
    char text[16];
    std::snprintf(text, sizeof text, "0x%x", static_cast<unsigned int>(pid));
    return text;
}

}  // namespace tool
