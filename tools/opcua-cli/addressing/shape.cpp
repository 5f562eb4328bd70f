#include "addressing/shape.h"

#include <charconv>
#include <cstddef>
#include <limits>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "failure.h"

namespace opcua_cli {
namespace {

constexpr std::size_t mostDimensions = 16;

[[noreturn]] void refuseIndex(const std::string& text, const std::string& reason) {
    throw usageFailure("\"" + text + "\" is no index: " + reason,
                       "positions counted from 0, such as 4 in an array, or 2,3 for row 2 and column 3");
}

/// "[2][3]" as "2,3".
std::string_view withoutBrackets(std::string& text) {
    if (text.size() < 2 || text.front() != '[' || text.back() != ']')
        return text;
    for (std::size_t at = text.find("]["); at != std::string::npos; at = text.find("][", at))
        text.replace(at, 2, ",");
    return std::string_view(text).substr(1, text.size() - 2);
}

unsigned long parsePosition(const std::string& text, std::string_view digits) {
    // The library takes 32 bits of a position.
    unsigned position = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, position);
    if (stop != end || error != std::errc{})
        refuseIndex(text, "\"" + std::string(digits) + "\" is no position");
    return position;
}

std::string dimensionsText(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " dimension" : " dimensions");
}

} // namespace

Index parseIndex(const std::string& text) {
    std::string plain = text;
    std::string_view rest = withoutBrackets(plain);
    Index index;
    for (;;) {
        const std::size_t comma = rest.find(',');
        index.push_back(parsePosition(text, rest.substr(0, comma)));
        if (comma == std::string_view::npos)
            break;
        rest.remove_prefix(comma + 1);
    }
    if (index.size() > mostDimensions)
        refuseIndex(text, "no value has more than " + dimensionsText(mostDimensions));
    return index;
}

std::string indexText(const std::vector<unsigned long>& index) {
    std::string text;
    for (const unsigned long position : index)
        text += "[" + std::to_string(position) + "]";
    return text;
}

std::size_t elementCount(const Shape& shape) {
    std::size_t count = 1;
    for (const unsigned long length : shape)
        if (length == 0)
            return 0;
    for (const unsigned long length : shape) {
        if (count > std::numeric_limits<std::size_t>::max() / length)
            return std::numeric_limits<std::size_t>::max();
        count *= length;
    }
    return count;
}

Index indexAt(std::size_t place, const Shape& shape) {
    Index index(shape.size());
    for (std::size_t i = shape.size(); i-- > 0;) {
        index[i] = place % shape[i];
        place /= shape[i];
    }
    return index;
}

void throwIfOutside(const Index& index, const Shape& shape) {
    if (shape.empty())
        throw Failure(ExitCode::Failed,
                      {"the node holds a single value, it has no element " + indexText(index),
                       "the same without an index"});
    if (index.size() != shape.size())
        throw Failure(ExitCode::Failed,
                      {"the index " + indexText(index) + " has " + dimensionsText(index.size()) +
                           ", the value " + dimensionsText(shape.size()) + ": " + indexText(shape),
                       "one position for each, outermost first: row, column"});
    for (std::size_t i = 0; i < index.size(); ++i) {
        if (index[i] < shape[i])
            continue;
        const std::string last = shape[i] == 0 ? "none" : "0 to " + std::to_string(shape[i] - 1);
        throw Failure(ExitCode::Failed,
                      {"there is no element " + indexText(index) + " in a value of " + indexText(shape),
                       "positions are counted from 0; dimension " + std::to_string(i + 1) + " has " + last});
    }
}

} // namespace opcua_cli
