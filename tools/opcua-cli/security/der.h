#pragma once

#include <cstddef>
#include <string_view>

namespace opcua_cli {

/// One element of a DER encoding (ITU-T X.690).
struct DerElement {
    unsigned tag = 0; ///< the identifier octet
    std::string_view content;
};

/// Walks through the elements of an encoding, which it does not own. Everything here throws
/// std::invalid_argument for what is no DER.
class DerReader {
public:
    explicit DerReader(std::string_view bytes) : m_rest(bytes) {}
    /// Walks through what is inside an element.
    explicit DerReader(const DerElement& element) : m_rest(element.content) {}

    bool atEnd() const { return m_rest.empty(); }
    std::size_t restSize() const { return m_rest.size(); }
    bool nextIs(unsigned tag) const;
    DerElement next();
    /// The next element, which must have the given tag.
    DerElement next(unsigned tag);

private:
    std::string_view take(std::size_t count);
    std::size_t takeLength();

    std::string_view m_rest;
};

} // namespace opcua_cli
