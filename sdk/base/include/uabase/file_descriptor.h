#pragma once

#include <cerrno>
#include <cstddef>
#include <sys/types.h>
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
    /// Reads as many bytes as `content` has; of a file that ends before it keeps what there is. False, with
    /// the reason in errno, when it can't be read.
    template <typename Bytes>
    bool readInto(Bytes& content) const {
        std::size_t done = 0;
        while (done < content.size()) {
            const ssize_t count = ::read(m_descriptor, content.data() + done, content.size() - done);
            if (count < 0 && errno != EINTR)
                return false;
            if (count == 0)
                break;
            done += count > 0 ? static_cast<std::size_t>(count) : 0;
        }
        content.resize(done);
        return true;
    }
    /// False when the system says so: what was written may not be there then.
    bool close() {
        const int descriptor = std::exchange(m_descriptor, -1);
        return descriptor < 0 || ::close(descriptor) == 0;
    }

private:
    int m_descriptor = -1;
};
