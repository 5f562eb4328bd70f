#pragma once

#include <cstddef>

namespace bench {

/// What an application does with a change; both kinds of client call it, on a thread of their own.
class ChangeSink {
public:
    virtual void changed(const void* value, std::size_t size) = 0;

protected:
    ~ChangeSink() = default;
};

} // namespace bench
