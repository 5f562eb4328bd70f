#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace opcua_cli {

enum class Tone { Plain, Heading, Faint, Good, Bad };

/// What stands behind standard output or standard error.
struct Terminal {
    bool interactive = false;          ///< a person looks at it
    bool colours = false;              ///< never with NO_COLOR set, or when it is no terminal
    bool canRedraw = false;            ///< the cursor can be moved
    bool utf8 = true;                  ///< false for a terminal that shows ASCII alone
    std::optional<std::size_t> width;  ///< columns; nothing when it is no terminal
    std::optional<std::size_t> height; ///< rows, likewise

    std::string paint(std::string_view text, Tone tone) const;
    /// What is printable in UTF-8 may steer a terminal that takes each byte for a character: there it is left
    /// out, in the same width.
    std::string shown(std::string text) const;
};

Terminal terminalOn(int descriptor);
/// Terminal::shown() of what stands behind the descriptor; a pipe or a file gets the text as it is.
std::string shownOn(int descriptor, std::string text);

/// All that the environment says of terminals, once and for all: it is not looked at any more then.
void readEnvironment();

/// One line on standard error that tells how far a long job is; only where standard error is a terminal whose
/// cursor can be moved. The line goes with the object.
class Progress {
public:
    explicit Progress(std::string label);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void show(std::size_t count);
    /// The same in the caller's words, which are asked for only when it is time to show them.
    void show(const std::function<std::string()>& words);
    /// Takes the line away until it is shown again.
    void clear();

private:
    using Clock = std::chrono::steady_clock;

    std::string m_label;
    Terminal m_terminal;
    Clock::time_point m_nextShow;
    bool m_shown = false;
};

} // namespace opcua_cli
