#include "der.h"

#include <cstddef>
#include <stdexcept>
#include <string_view>

namespace opcua_cli {
namespace {

unsigned octet(char character) {
    return static_cast<unsigned char>(character);
}

} // namespace

std::string_view DerReader::take(std::size_t count) {
    if (count > m_rest.size())
        throw std::invalid_argument("the encoding is cut off");
    const std::string_view taken = m_rest.substr(0, count);
    m_rest.remove_prefix(count);
    return taken;
}

std::size_t DerReader::takeLength() {
    constexpr unsigned longForm = 0x80;
    const unsigned first = octet(take(1)[0]);
    if (first < longForm)
        return first;
    if (first == longForm || first > longForm + 4)
        throw std::invalid_argument("a length without end");
    std::size_t length = 0;
    for (const char character : take(first - longForm))
        length = length << 8U | octet(character);
    return length;
}

bool DerReader::nextIs(unsigned tag) const {
    return !m_rest.empty() && octet(m_rest[0]) == tag;
}

DerElement DerReader::next() {
    DerElement element;
    element.tag = octet(take(1)[0]);
    element.content = take(takeLength());
    return element;
}

DerElement DerReader::next(unsigned tag) {
    if (!nextIs(tag))
        throw std::invalid_argument("another element than expected");
    return next();
}

} // namespace opcua_cli
