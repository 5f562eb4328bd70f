#include "output/keys.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "text/utf8.h"

namespace opcua_cli {
namespace {

constexpr char escape = KeyEscape;
constexpr std::size_t longestSequence = 16;
constexpr std::size_t longestLine = 4096;
constexpr int clearLine = 'U' - '@'; // Ctrl-U

// As xterm sends them, as it does in application mode, and as the Linux console and rxvt do.
constexpr std::array<std::pair<std::string_view, Key>, 14> sequences{{{"[A", KeyUp},
                                                                      {"OA", KeyUp},
                                                                      {"[B", KeyDown},
                                                                      {"OB", KeyDown},
                                                                      {"[5~", KeyPageUp},
                                                                      {"[6~", KeyPageDown},
                                                                      {"[H", KeyHome},
                                                                      {"OH", KeyHome},
                                                                      {"[1~", KeyHome},
                                                                      {"[7~", KeyHome},
                                                                      {"[F", KeyEnd},
                                                                      {"OF", KeyEnd},
                                                                      {"[4~", KeyEnd},
                                                                      {"[8~", KeyEnd}}};

bool isIntroducer(char byte) {
    return byte == '[' || byte == 'O';
}

/// Of a control sequence (ECMA-48, 5.4), or the one byte behind ESC O.
bool isLast(const std::string& sequence, char byte) {
    return sequence[1] == 'O' || (byte >= '@' && byte <= '~');
}

bool isText(int key) {
    return key >= ' ' && key < KeyUp && key != KeyBackspace;
}

int plainKey(char byte) {
    if (byte == '\r')
        return KeyEnter;
    return byte == '\b' ? int{KeyBackspace} : static_cast<unsigned char>(byte);
}

} // namespace

std::vector<int> KeyDecoder::decode(std::string_view bytes) {
    std::vector<int> keys;
    for (const char byte : bytes)
        take(byte, keys);
    return keys;
}

std::vector<int> KeyDecoder::close() {
    const std::string sequence = std::exchange(m_sequence, {});
    return sequence.size() == 1 ? std::vector<int>{KeyEscape} : std::vector<int>{};
}

void KeyDecoder::take(char byte, std::vector<int>& keys) {
    if (m_sequence.size() == 1 && !isIntroducer(byte)) {
        m_sequence.clear();
        keys.push_back(KeyEscape);
    }
    if (m_sequence.empty() || byte < ' ') {
        m_sequence.clear();
        if (byte == escape)
            m_sequence = byte;
        else
            keys.push_back(plainKey(byte));
        return;
    }
    const bool last = m_sequence.size() > 1 && isLast(m_sequence, byte);
    m_sequence += byte;
    if (!last && m_sequence.size() < longestSequence)
        return;
    for (const auto& [sequence, key] : sequences)
        if (sequence == std::string_view(m_sequence).substr(1))
            keys.push_back(key);
    m_sequence.clear();
}

void LineInput::press(int key) {
    if (key == clearLine)
        m_text.clear();
    if (isText(key) && m_text.size() < longestLine)
        m_text += static_cast<char>(key);
    if (key != KeyBackspace || m_text.empty())
        return;
    m_text.pop_back();
    m_text.resize(withoutCutCharacter(m_text).size());
}

std::string inputLine(const std::string& label, const std::string& text, std::size_t width) {
    constexpr std::size_t mostBytes = 4; // of a character
    const std::size_t room = width - std::min(width, displayWidth(label) + 1);
    std::string end = printable(text);
    end.erase(0, end.size() - std::min(end.size(), (room + 1) * mostBytes));
    while (!end.empty() && (isContinuation(end.front()) || displayWidth(end) > room))
        end.erase(0, 1);
    return cutToWidth(label + end + "_", width);
}

} // namespace opcua_cli
