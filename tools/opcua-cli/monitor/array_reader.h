#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "monitor/link.h"
#include "values/job.h"

namespace opcua_cli {

/// "[[0, 1], [2, 3]]"; "[[0, 1], [2, …" when elements are missing at the end.
std::string elementsText(const NodeValue& value);

/// Reads the first elements of an array or matrix, as many as a person would see of them. The library reads
/// one element at a time, and each costs a round trip: in between there is time for all else.
class ArrayReader {
public:
    explicit ArrayReader(Link& link) : m_link(link) {}

    /// The node's dimensions must be known.
    void begin(std::size_t node, const Job& watched);
    bool isReading() const { return m_watched != nullptr; }
    /// Reads one more element; true when it was the last.
    bool readOn();

    std::size_t node() const { return m_node; }
    /// Nothing when not even the first element could be read.
    std::optional<std::string> text() const;

private:
    Link& m_link;
    std::size_t m_node = 0;
    const Job* m_watched = nullptr;
    NodeValue m_value;
};

} // namespace opcua_cli
