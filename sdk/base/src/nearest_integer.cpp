#include "nearest_integer.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <limits>
#include <optional>
#include <string_view>

namespace {

/// False when the number would have more than 64 bits; it is left alone then.
bool append(OpcUa_UInt64& number, unsigned int digit) {
    constexpr OpcUa_UInt64 greatest = std::numeric_limits<OpcUa_UInt64>::max();
    if (number > (greatest - digit) / 10)
        return false;
    number = number * 10 + digit;
    return true;
}

/// 0 also where there are too many digits: such a text can only denote 0.
long exponentOf(std::string_view text) {
    text.remove_prefix(std::min(text.size(), text.find_first_of("eE")));
    text.remove_prefix(std::min(text.size(), text.find_first_not_of("eE+")));
    int exponent = 0;
    std::from_chars(text.data(), text.data() + text.size(), exponent);
    return exponent;
}

bool roundUp(NearestInteger& number) {
    ++number.magnitude;
    return number.magnitude != 0;
}

} // namespace

std::optional<NearestInteger> nearestInteger(std::string_view text) {
    NearestInteger number;
    number.isNegative = text.front() == '-';
    text.remove_prefix(number.isNegative ? 1 : 0);
    const std::string_view digits = text.substr(0, text.find_first_of("eE"));
    long before = exponentOf(text) + static_cast<long>(std::min(digits.size(), digits.find('.')));
    for (const char character : digits) {
        if (character == '.')
            continue;
        const auto digit = static_cast<unsigned int>(character - '0');
        if (before <= 0) {
            const bool isUp = before == 0 && digit >= 5;
            return !isUp || roundUp(number) ? std::optional(number) : std::nullopt;
        }
        if (!append(number.magnitude, digit))
            return std::nullopt;
        --before;
    }
    for (; before > 0 && number.magnitude != 0; --before)
        if (!append(number.magnitude, 0))
            return std::nullopt;
    return number;
}
