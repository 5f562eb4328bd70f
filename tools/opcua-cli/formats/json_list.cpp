#include "formats/json_list.h"

#include <algorithm>
#include <cstddef>
#include <ios>
#include <istream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "formats/text_file.h"

namespace opcua_cli {
namespace {

constexpr const char* listKey = "nodes";
/// More than any array has dimensions; what copies a document, or lets it go, goes down so far.
constexpr int mostLevels = 32;

/// Notes the lines of the list's entries while the parser goes through the text, and stops it where that is
/// nested too deep.
class EntryLines {
public:
    explicit EntryLines(const std::string& text) : m_text(text), m_stream(text) {}

    std::istream& stream() { return m_stream; }

    bool see(int depth, Json::parse_event_t event, const Json& parsed) {
        using Event = Json::parse_event_t;
        if (depth >= mostLevels && (event == Event::object_start || event == Event::array_start))
            throw FormatError(line(), "there are more than " + std::to_string(mostLevels) + " levels");
        if (event == Event::array_start && depth == 0)
            m_listDepth = 0;
        if (event == Event::key && depth == 1)
            m_inList = parsed == listKey;
        const bool begins =
            event == Event::object_start || event == Event::array_start || event == Event::value;
        if (begins && depth == m_listDepth + 1 && (m_listDepth == 0 || m_inList))
            m_lines.push_back(line());
        return true;
    }

    const std::vector<std::size_t>& lines() const { return m_lines; }

    /// Of the character that the parser has read last.
    std::size_t line() {
        const auto left = std::max<std::streamsize>(m_stream.rdbuf()->in_avail(), 0);
        const std::size_t last = m_text.size() - static_cast<std::size_t>(left) - 1;
        for (; m_counted < last; ++m_counted)
            m_line += m_text[m_counted] == '\n' ? 1 : 0;
        return m_line;
    }

private:
    const std::string& m_text;
    std::istringstream m_stream;
    std::size_t m_counted = 0;
    std::size_t m_line = 1;
    int m_listDepth = 1; ///< of the array itself: 0 when it is the document
    bool m_inList = false;
    std::vector<std::size_t> m_lines;
};

/// "[json.exception...] parse error at line 2, column 5: what" without what we tell ourselves.
std::string reasonOf(const Json::exception& error) {
    std::string text = error.what();
    if (const std::size_t name = text.find("] "); name != std::string::npos)
        text.erase(0, name + 2);
    const std::size_t column = text.find("column ");
    const std::size_t colon = column == std::string::npos ? column : text.find(": ", column);
    return colon == std::string::npos ? text : text.substr(colon + 2);
}

std::size_t lineOf(const std::string& text, std::size_t byte) {
    const std::size_t end = std::min(byte == 0 ? 0 : byte - 1, text.size());
    return 1 + static_cast<std::size_t>(
                   std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), '\n'));
}

} // namespace

JsonList parseJsonList(const std::string& text) {
    EntryLines lines(text);
    JsonList list;
    try {
        list.document =
            Json::parse(lines.stream(), [&](int depth, Json::parse_event_t event, const Json& parsed) {
                return lines.see(depth, event, parsed);
            });
    } catch (const Json::parse_error& error) {
        throw FormatError(lineOf(text, error.byte), reasonOf(error));
    } catch (const Json::exception& error) { // such as a number that is too great
        throw FormatError(lines.line(), reasonOf(error));
    }
    const Json* const nodes = list.document.is_object() && list.document.contains(listKey)
                                  ? &list.document.at(listKey)
                                  : &list.document;
    if (!nodes->is_array())
        throw FormatError(1, "this is neither an array nor an object with an array \"nodes\"");
    for (std::size_t i = 0; i < nodes->size(); ++i)
        list.entries.push_back({i < lines.lines().size() ? lines.lines()[i] : 1, (*nodes)[i]});
    return list;
}

std::string textField(const Json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || found->is_null())
        return {};
    if (!found->is_string())
        throw usageFailure("\"" + std::string(key) + "\" is no text");
    return found->get<std::string>();
}

std::shared_ptr<const Json> valueIn(const Json& object) {
    const auto found = object.find("value");
    if (found == object.end() || found->is_null())
        throw usageFailure("there is no \"value\"");
    return std::make_shared<const Json>(*found);
}

} // namespace opcua_cli
