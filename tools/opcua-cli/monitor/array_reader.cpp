#include "monitor/array_reader.h"

#include <cstddef>
#include <optional>
#include <string>

#include "monitor/watched.h"
#include "text/drawing.h"
#include "text/utf8.h"

namespace opcua_cli {
namespace {

/// No cell of a table is wider.
constexpr std::size_t widestText = 80;

/// How many dimensions begin anew with the element at this place of the flat list. A server's lengths may be
/// any: their product need not be a number.
std::size_t beginnings(std::size_t place, const Shape& shape) {
    std::size_t size = 1;
    std::size_t count = 0;
    for (; count < shape.size(); ++count) {
        const std::size_t length = shape[shape.size() - 1 - count];
        if (place > 0 && (length > place / size || place % (size * length) != 0))
            break;
        size *= place > 0 ? length : 1;
    }
    return count;
}

/// "3x4 " of a matrix.
std::string dimensionsText(const Shape& shape) {
    std::string text;
    for (std::size_t i = 0; i < shape.size() && shape.size() > 1; ++i)
        text += (i == 0 ? "" : "x") + std::to_string(shape[i]);
    return text.empty() ? text : text + " ";
}

} // namespace

std::string elementsText(const NodeValue& value) {
    const std::size_t dimensions = value.shape.size();
    if (value.elements.empty())
        return "[]";
    std::string text;
    const std::size_t count = value.elements.size();
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t begun = beginnings(i, value.shape);
        text += std::string(begun, '[') + toText(value.elements[i]);
        const bool isLast = i + 1 == elementCount(value.shape);
        text += std::string(isLast ? dimensions : beginnings(i + 1, value.shape), ']');
        text += isLast ? "" : ", ";
    }
    return count < elementCount(value.shape) ? text + drawing().dots : text;
}

void ArrayReader::begin(std::size_t node, const Job& watched) {
    m_node = node;
    m_watched = &watched;
    m_value = NodeValue(watched.node.dimensions, {});
}

bool ArrayReader::readOn() {
    const std::size_t count = elementCount(m_value.shape);
    std::optional<Value> element;
    if (m_value.elements.size() < count)
        element = m_link.readElement(*m_watched, indexAt(m_value.elements.size(), m_value.shape));
    if (element)
        m_value.elements.push_back(beginningOf(*element));
    if (element && m_value.elements.size() < count &&
        displayWidth(printable(elementsText(m_value))) <= widestText)
        return false;
    m_watched = nullptr;
    return true;
}

std::optional<std::string> ArrayReader::text() const {
    if (m_value.elements.empty() && elementCount(m_value.shape) > 0)
        return std::nullopt;
    return dimensionsText(m_value.shape) + cutToWidth(printable(elementsText(m_value)), widestText);
}

} // namespace opcua_cli
