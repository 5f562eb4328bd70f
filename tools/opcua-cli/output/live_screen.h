#pragma once

#include <string>

namespace opcua_cli {

/// A screen of its own on the terminal behind standard output, drawn over and over. The terminal is as before
/// when the object goes, when a signal ends the program, and while Ctrl-Z holds it. One at a time.
class LiveScreen {
public:
    LiveScreen();
    ~LiveScreen();
    LiveScreen(const LiveScreen&) = delete;
    LiveScreen& operator=(const LiveScreen&) = delete;

    /// Puts these lines in place of what was there. Throws as writeOutput().
    void draw(const std::string& lines);
};

} // namespace opcua_cli
