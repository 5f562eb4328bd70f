#pragma once

#include <atomic>
#include <exception>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "files/descriptor.h"
#include "output/keys.h"
#include "output/live_screen.h"

namespace opcua_cli {

/// Draws a live screen over and over and takes its keys, on a thread of its own: a server that does not
/// answer holds up neither. The terminal is as before when the object is gone.
class ScreenThread {
public:
    using Frame = std::function<std::string()>;
    using KeyHandler = std::function<void(int)>;

    /// Both are called on the thread. Without a handler the keys are left alone.
    ScreenThread(Frame frame, KeyHandler press);
    ~ScreenThread();
    ScreenThread(const ScreenThread&) = delete;
    ScreenThread& operator=(const ScreenThread&) = delete;

    /// What ended the drawing, as writeOutput() throws it.
    void throwIfFailed() const;

private:
    void run();
    void await(LiveScreen& screen);
    void readKeys();
    void press(const std::vector<int>& keys);

    Frame m_frame;
    KeyHandler m_press;
    KeyDecoder m_decoder;
    const Descriptor m_end;
    std::atomic<bool> m_isEnded{false};
    std::exception_ptr m_failure; ///< written before m_hasFailed
    std::atomic<bool> m_hasFailed{false};
    std::thread m_thread;
};

} // namespace opcua_cli
