#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace opcua_cli {

/// What was typed: a byte of text, or one of these.
enum Key : int {
    KeyEnter = '\n',
    KeyEscape = 0x1b,
    KeyBackspace = 0x7f,
    KeyUp = 256,
    KeyDown,
    KeyPageUp,
    KeyPageDown,
    KeyHome,
    KeyEnd
};

/// Makes keys of the bytes that a terminal sends. Sequences of keys that are none of the above are dropped.
class KeyDecoder {
public:
    std::vector<int> decode(std::string_view bytes);

    /// True while more bytes decide what the last ones are: the Escape key is the beginning of many others.
    bool isOpen() const { return !m_sequence.empty(); }
    /// To be called when none came for a while.
    std::vector<int> close();

private:
    void take(char byte, std::vector<int>& keys);

    std::string m_sequence;
};

/// A line that a person types.
class LineInput {
public:
    void press(int key);
    const std::string& text() const { return m_text; }

private:
    std::string m_text;
};

/// A label with what was typed behind it, of a long text the end.
std::string inputLine(const std::string& label, const std::string& text, std::size_t width);

} // namespace opcua_cli
