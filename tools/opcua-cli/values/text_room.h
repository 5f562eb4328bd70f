#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <variant>

#include "failure.h"
#include "values/value.h"

namespace opcua_cli {

/// Room for the texts that are read and kept: each may have many megabytes, and there may be many of them.
class TextRoom {
public:
    static constexpr std::size_t endless = std::numeric_limits<std::size_t>::max();

    explicit TextRoom(std::size_t bytes) : m_free(bytes) {}

    /// Throws Failure (Failed) for a text that has no room any more.
    void take(const Value& value) {
        const auto* text = std::get_if<std::string>(&value);
        const std::size_t bytes = text != nullptr ? text->size() : 0;
        if (bytes > m_free)
            throw nodeFailure("there is no room for this text beside those that were read before it",
                              "a folder further down");
        m_free -= bytes;
    }

private:
    std::size_t m_free;
};

} // namespace opcua_cli
