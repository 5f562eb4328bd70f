#include "located_json.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace opcua_cli {
namespace {

constexpr const char* listKey = "nodes";

/// How far the parser has read.
struct Position {
    std::size_t line = 1; ///< of the character that was read last
    bool lineEnds = false;

    void pass(char character) {
        line += lineEnds ? 1 : 0;
        lineEnds = character == '\n';
    }
};

/// Goes through the text and keeps the position up to date.
class TracingIterator {
public:
    // NOLINTBEGIN(readability-identifier-naming): the standard's names
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;
    // NOLINTEND(readability-identifier-naming)

    TracingIterator(const char* at, Position& position) : m_at(at), m_position(&position) {}
    reference operator*() const { return *m_at; }
    TracingIterator& operator++() {
        m_position->pass(*m_at++);
        return *this;
    }
    bool operator==(const TracingIterator& other) const { return m_at == other.m_at; }
    bool operator!=(const TracingIterator& other) const { return m_at != other.m_at; }

private:
    const char* m_at;
    Position* m_position;
};

/// Notes the lines of the list's entries while the parser goes by.
class EntryLines {
public:
    void see(int depth, Json::parse_event_t event, const Json& parsed, std::size_t line) {
        using Event = Json::parse_event_t;
        if (event == Event::array_start && depth == 0)
            m_listDepth = 0;
        if (event == Event::key && depth == 1)
            m_inList = parsed == listKey;
        const bool begins =
            event == Event::object_start || event == Event::array_start || event == Event::value;
        if (begins && depth == m_listDepth + 1 && (m_listDepth == 0 || m_inList))
            m_lines.push_back(line);
    }

    const std::vector<std::size_t>& lines() const { return m_lines; }

private:
    int m_listDepth = 1; ///< of the array itself: 0 when it is the document
    bool m_inList = false;
    std::vector<std::size_t> m_lines;
};

/// "[json.exception...] parse error at line 2, column 5: what" without what we tell ourselves.
std::string reasonOf(const Json::parse_error& error) {
    const std::string text = error.what();
    const std::size_t column = text.find("column ");
    const std::size_t colon = column == std::string::npos ? column : text.find(": ", column);
    return colon == std::string::npos ? text : text.substr(colon + 2);
}

std::size_t lineOf(std::string_view text, std::size_t byte) {
    const std::size_t end = std::min(byte == 0 ? 0 : byte - 1, text.size());
    return 1 + static_cast<std::size_t>(
                   std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), '\n'));
}

} // namespace

JsonList parseJsonList(std::string_view text) {
    Position position;
    EntryLines lines;
    JsonList list;
    try {
        list.document = Json::parse(TracingIterator(text.data(), position),
                                    TracingIterator(text.data() + text.size(), position),
                                    [&](int depth, Json::parse_event_t event, Json& parsed) {
                                        lines.see(depth, event, parsed, position.line);
                                        return true;
                                    });
    } catch (const Json::parse_error& error) {
        throw JsonError(lineOf(text, error.byte), reasonOf(error));
    }
    const Json* const nodes = list.document.is_object() && list.document.contains(listKey)
                                  ? &list.document.at(listKey)
                                  : &list.document;
    if (!nodes->is_array())
        throw JsonError(1, "this is neither an array nor an object with an array \"nodes\"");
    for (std::size_t i = 0; i < nodes->size(); ++i)
        list.entries.push_back({i < lines.lines().size() ? lines.lines()[i] : 1, (*nodes)[i]});
    return list;
}

} // namespace opcua_cli
