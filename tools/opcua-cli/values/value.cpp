#include "values/value.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>
#include <variant>

#include <nlohmann/json.hpp>

#include "addressing/node_info.h"
#include "text/utf8.h"

namespace opcua_cli {
namespace {

template <std::size_t... Index>
Value zeroAt(std::size_t index, std::index_sequence<Index...>) {
    Value value;
    ((index == Index ? static_cast<void>(value.emplace<Index>()) : void()), ...);
    return value;
}

template <typename Number>
std::string shortestDigits(Number number) {
    std::array<char, 64> buffer{};
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number).ptr;
    return {buffer.data(), end};
}

template <typename Number>
std::string range() {
    return shortestDigits(std::numeric_limits<Number>::lowest()) + " to " +
           shortestDigits(std::numeric_limits<Number>::max());
}

std::string_view withoutPlus(std::string_view text) {
    if (text.size() > 1 && text[0] == '+' && text[1] != '-')
        text.remove_prefix(1);
    return text;
}

/// Reads a text as the type of the value that it is called with.
class ValueParser {
public:
    ValueParser(_OpcUaDataType type, const std::string& text) : m_type(type), m_text(text) {}

    Value operator()(std::monostate) const {
        throw usageFailure(
            "values of this type cannot be written",
            "a node whose value is one of the twelve basic types, or --type when the type is known");
    }

    Value operator()(bool) const {
        if (isOneOf({"true", "1", "on"}))
            return true;
        if (isOneOf({"false", "0", "off"}))
            return false;
        refuse("it is neither true nor false", "true, 1 or on; false, 0 or off");
    }

    Value operator()(const std::string&) const {
        if (!isValidUtf8(m_text))
            refuse("it is not UTF-8", "convert it first, for example with iconv -t UTF-8");
        if (m_text.find('\0') != std::string::npos)
            refuse("it holds a zero byte, which would end the text", "");
        return m_text;
    }

    template <typename Number>
    Value operator()(Number) const {
        if constexpr (std::is_integral_v<Number>)
            return integer<Number>();
        else
            return real<Number>();
    }

private:
    bool isOneOf(const std::array<std::string_view, 3>& words) const {
        return std::any_of(words.begin(), words.end(),
                           [&](std::string_view word) { return sameWord(word, m_text); });
    }

    template <typename Number>
    Value integer() const {
        std::string_view digits = withoutPlus(m_text);
        const bool negative = !digits.empty() && digits[0] == '-';
        if (negative)
            digits.remove_prefix(1);
        const bool hexadecimal =
            digits.size() > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X');
        if (hexadecimal)
            digits.remove_prefix(2);
        std::uint64_t magnitude = 0;
        const char* const end = digits.data() + digits.size();
        const auto [stop, error] = std::from_chars(digits.data(), end, magnitude, hexadecimal ? 16 : 10);
        const std::string advice = "a whole number from " + range<Number>();
        if (stop != end || error == std::errc::invalid_argument)
            refuse("it is no whole number", advice);
        constexpr auto greatest = static_cast<std::uint64_t>(std::numeric_limits<Number>::max());
        constexpr std::uint64_t lowest = std::is_signed_v<Number> ? greatest + 1 : 0;
        if (error != std::errc{} || magnitude > (negative ? lowest : greatest))
            refuse("it is out of range", advice);
        return static_cast<Number>(negative ? 0 - magnitude : magnitude);
    }

    template <typename Number>
    Value real() const {
        const std::string_view digits = withoutPlus(m_text);
        const char* const end = digits.data() + digits.size();
        Number number = 0;
        const auto [stop, error] = std::from_chars(digits.data(), end, number);
        if (stop != end || error == std::errc::invalid_argument)
            refuse("it is no number", "a number such as 12.5, -3e-4, NaN or -Infinity");
        if (error != std::errc{})
            refuse("it is out of range", "a number from " + range<Number>());
        return number;
    }

    /// A text is shown up to a zero byte in it, and no more than its beginning.
    [[noreturn]] void refuse(const std::string& reason, const std::string& advice) const {
        constexpr std::size_t widest = 200;
        throw usageFailure("\"" + cutToWidth(m_text.substr(0, m_text.find('\0')), widest) +
                               "\" is no value for a node of type " + std::string(typeName(m_type)) + ": " +
                               reason,
                           advice);
    }

    _OpcUaDataType m_type;
    const std::string& m_text;
};

std::string realText(double number, std::string digits) {
    if (std::isnan(number))
        return "NaN";
    if (std::isinf(number))
        return number < 0 ? "-Infinity" : "Infinity";
    return digits;
}

struct TextMaker {
    std::string operator()(std::monostate) const { return ""; }
    std::string operator()(bool value) const { return value ? "true" : "false"; }
    std::string operator()(const std::string& value) const { return "\"" + value + "\""; }
    std::string operator()(float value) const {
        return realText(static_cast<double>(value), shortestDigits(value));
    }
    std::string operator()(double value) const { return realText(value, shortestDigits(value)); }
    template <typename Integer>
    std::string operator()(Integer value) const {
        return std::to_string(value);
    }
};

struct JsonMaker {
    Json operator()(std::monostate) const { return nullptr; }
    template <typename Type>
    Json operator()(const Type& value) const {
        if constexpr (std::is_floating_point_v<Type>) {
            std::string text = toText(value);
            if (!std::isfinite(value))
                return text;
            // A Float widened bit by bit would show digits that it never had.
            double number = 0;
            std::from_chars(text.data(), text.data() + text.size(), number);
            return number;
        } else {
            return value;
        }
    }
};

} // namespace

Value zeroOf(_OpcUaDataType type) {
    return zeroAt(static_cast<std::size_t>(type), std::make_index_sequence<std::variant_size_v<Value>>{});
}

Value parseValue(_OpcUaDataType type, const std::string& text) {
    return std::visit(ValueParser(type, text), zeroOf(type));
}

bool isSame(const Value& one, const Value& other) {
    return one.index() == other.index() && toText(one) == toText(other);
}

std::string toText(const Value& value) {
    return std::visit(TextMaker{}, value);
}

Json toJson(const Value& value) {
    return std::visit(JsonMaker{}, value);
}

} // namespace opcua_cli
