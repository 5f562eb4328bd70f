#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <sys/types.h>

namespace bench {

/// A long line to a server: what goes in comes out after a delay, in each direction, on a process of its own.
/// Nothing waits for what is before it but its place in the line.
class DelayProxy {
public:
    /// Forwards to `port` on the loopback address.
    DelayProxy(std::uint16_t port, std::chrono::microseconds eachWay);
    ~DelayProxy();
    DelayProxy(const DelayProxy&) = delete;
    DelayProxy& operator=(const DelayProxy&) = delete;

    const std::string& url() const { return m_url; }

private:
    std::string m_url;
    pid_t m_process = -1;
};

} // namespace bench
