#pragma once

#include <string>

namespace opcua_cli {

/// A screen of its own on the terminal behind standard output, drawn over and over, and if wanted the keys of
/// the one behind standard input, each as it is pressed and none shown; Ctrl-C and Ctrl-Z stay signals. The
/// terminal is as before when the object goes, when a signal ends the program, and while Ctrl-Z holds it. One
/// at a time.
class LiveScreen {
public:
    explicit LiveScreen(bool withKeys);
    ~LiveScreen();
    LiveScreen(const LiveScreen&) = delete;
    LiveScreen& operator=(const LiveScreen&) = delete;

    /// While there is one, nothing else may be asked on the terminal.
    static bool isOn();

    /// Puts these lines in place of what was there. Throws as writeOutput().
    void draw(const std::string& lines);

    /// Readable when the terminal wants something: call follow(), and draw again.
    int descriptor() const;
    /// Ctrl-Z: gives the terminal back and returns when the program goes on. fg: takes it again. Another
    /// size: nothing, draw() is called with fitting lines.
    void follow();
};

} // namespace opcua_cli
