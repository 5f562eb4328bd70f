#include "value.h"

#include "../text/utf8.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace opcua_cli {
namespace {

constexpr std::array<std::string_view, std::variant_size_v<Value>> names{
    "other",  "Boolean", "SByte",  "Byte",  "Int16",  "UInt16", "Int32",
    "UInt32", "Int64",   "UInt64", "Float", "Double", "String"};

template <typename Container>
bool contains(const Container& words, std::string_view text) {
    return std::any_of(words.begin(), words.end(),
                       [&](std::string_view word) { return sameWord(word, text); });
}

template <typename Number>
std::string shortestDigits(Number number) {
    std::array<char, 64> buffer{};
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number).ptr;
    return {buffer.data(), end};
}

[[noreturn]] void refuse(_OpcUaDataType type, const std::string& text, const std::string& reason,
                         const std::string& advice) {
    throw usageFailure("\"" + text + "\" is no value for a node of type " + std::string(typeName(type)) +
                           ": " + reason,
                       advice);
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

template <typename Type>
struct Parser;

template <>
struct Parser<std::monostate> {
    static Value parse(_OpcUaDataType, const std::string&) {
        throw usageFailure(
            "values of this type cannot be written",
            "a node whose value is one of the twelve basic types, or --type when the type is known");
    }
};

template <>
struct Parser<bool> {
    static Value parse(_OpcUaDataType type, const std::string& text) {
        constexpr std::array<std::string_view, 3> yes{"true", "1", "on"};
        constexpr std::array<std::string_view, 3> no{"false", "0", "off"};
        if (contains(yes, text))
            return true;
        if (contains(no, text))
            return false;
        refuse(type, text, "it is neither true nor false", "true, 1 or on; false, 0 or off");
    }
};

template <>
struct Parser<std::string> {
    static Value parse(_OpcUaDataType type, const std::string& text) {
        if (!isValidUtf8(text))
            refuse(type, text, "it is not UTF-8", "convert it first, for example with iconv -t UTF-8");
        if (text.find('\0') != std::string::npos)
            refuse(type, text.substr(0, text.find('\0')), "it holds a zero byte, which would end the text",
                   "");
        return text;
    }
};

template <typename Number>
struct Parser {
    static Value parse(_OpcUaDataType type, const std::string& text) {
        if constexpr (std::is_integral_v<Number>)
            return parseInteger(type, text);
        else
            return parseReal(type, text);
    }

private:
    static Value parseInteger(_OpcUaDataType type, const std::string& text) {
        std::string_view digits = withoutPlus(text);
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
            refuse(type, text, "it is no whole number", advice);
        const std::uint64_t limit = negative ? lowestMagnitude() : greatest();
        if (error != std::errc{} || magnitude > limit)
            refuse(type, text, "it is out of range", advice);
        return static_cast<Number>(negative ? 0 - magnitude : magnitude);
    }

    static Value parseReal(_OpcUaDataType type, const std::string& text) {
        const std::string_view digits = withoutPlus(text);
        const char* const end = digits.data() + digits.size();
        Number number = 0;
        const auto [stop, error] = std::from_chars(digits.data(), end, number);
        if (stop != end || error == std::errc::invalid_argument)
            refuse(type, text, "it is no number", "a number such as 12.5, -3e-4, NaN or -Infinity");
        if (error != std::errc{})
            refuse(type, text, "it is out of range", "a number from " + range<Number>());
        return number;
    }

    static constexpr std::uint64_t greatest() {
        return static_cast<std::uint64_t>(std::numeric_limits<Number>::max());
    }
    static constexpr std::uint64_t lowestMagnitude() { return std::is_signed_v<Number> ? greatest() + 1 : 0; }
};

using ParseFunction = Value (*)(_OpcUaDataType, const std::string&);

template <std::size_t... Index>
constexpr std::array<ParseFunction, sizeof...(Index)> parsers(std::index_sequence<Index...>) {
    return {&Parser<std::variant_alternative_t<Index, Value>>::parse...};
}

std::size_t indexOf(_OpcUaDataType type) {
    const auto index = static_cast<std::size_t>(type);
    return index < names.size() ? index : 0;
}

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
    Json operator()(float value) const { return realJson(value); }
    Json operator()(double value) const { return realJson(value); }
    template <typename Type>
    Json operator()(const Type& value) const {
        return value;
    }

private:
    template <typename Real>
    static Json realJson(Real value) {
        std::string text = toText(value);
        if (!std::isfinite(value))
            return text;
        // A Float widened bit by bit would show digits that it never had.
        double number = 0;
        std::from_chars(text.data(), text.data() + text.size(), number);
        return number;
    }
};

} // namespace

std::string_view typeName(_OpcUaDataType type) {
    return names[indexOf(type)];
}

std::optional<_OpcUaDataType> typeFromName(std::string_view name) {
    for (std::size_t i = 1; i < names.size(); ++i) {
        if (sameWord(names[i], name))
            return static_cast<_OpcUaDataType>(i);
    }
    return std::nullopt;
}

std::vector<std::string> typeNames() {
    return {names.begin() + 1, names.end()};
}

bool sameWord(std::string_view a, std::string_view b) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [&](char one, char other) { return lower(one) == lower(other); });
}

std::string unknownTypeText(const std::string& name) {
    std::string text = "no type is called " + name + "; there are";
    for (const std::string& known : typeNames())
        text += " " + known;
    return text;
}

Value parseValue(_OpcUaDataType type, const std::string& text) {
    static constexpr auto table = parsers(std::make_index_sequence<std::variant_size_v<Value>>{});
    return table[indexOf(type)](type, text);
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
