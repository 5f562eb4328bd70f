#pragma once

#include <unistd.h>

namespace opcua_cli {

/// A file descriptor, or none when `number` is negative; closed with the object.
class Descriptor {
public:
    explicit Descriptor(int number) : m_number(number) {}
    ~Descriptor() {
        if (m_number >= 0)
            close(m_number);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int number() const { return m_number; }
    bool isOpen() const { return m_number >= 0; }

private:
    int m_number;
};

} // namespace opcua_cli
