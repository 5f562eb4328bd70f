#pragma once

#include <unistd.h>
#include <utility>

/// Owns what the system has opened, and closes it; -1 is nothing.
class UaFileDescriptor {
public:
    UaFileDescriptor() = default;
    explicit UaFileDescriptor(int descriptor) : m_descriptor(descriptor) {}
    ~UaFileDescriptor() { close(); }
    UaFileDescriptor(const UaFileDescriptor&) = delete;
    UaFileDescriptor& operator=(const UaFileDescriptor&) = delete;

    int get() const { return m_descriptor; }
    bool isOpen() const { return m_descriptor >= 0; }
    /// Owns this one instead.
    void reset(int descriptor) {
        close();
        m_descriptor = descriptor;
    }
    /// False when the system says so: what was written may not be there then.
    bool close() {
        const int descriptor = std::exchange(m_descriptor, -1);
        return descriptor < 0 || ::close(descriptor) == 0;
    }

private:
    int m_descriptor = -1;
};
