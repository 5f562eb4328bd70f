#pragma once

#include <atomic>
#include <thread>

#include "raw/raw_client.h"

namespace bench {

/// The engine does nothing unless somebody runs its loop: an application has a thread that does. Nothing else
/// may use the client meanwhile.
class RawDriver {
public:
    explicit RawDriver(RawClient& client);
    ~RawDriver();
    RawDriver(const RawDriver&) = delete;
    RawDriver& operator=(const RawDriver&) = delete;

private:
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

} // namespace bench
