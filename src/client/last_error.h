#pragma once

#include <atomic>

/// A result code with the message that it leaves behind; a null text leaves an earlier message in place.
struct Failure {
    int code;
    const char* text;
};

/// The message of a client's last failure. Any thread may fail or ask at any time.
class LastError {
public:
    /// Keeps the message of a failure and returns its code.
    int fail(const Failure& failure) {
        if (failure.text != nullptr)
            m_text = failure.text;
        return failure.code;
    }
    /// Empty before the first failure.
    const char* text() const { return m_text; }

private:
    std::atomic<const char*> m_text{""};
};
