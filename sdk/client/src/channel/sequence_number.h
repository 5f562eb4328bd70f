#pragma once

#include <cstdint>

namespace UaClientSdk {

// The numbers of a channel's chunks (OPC UA Part 6, 6.7.2.4): each is one above the last. They do not start
// anew before one was greater than 4294966271, and do it below 1024. By the newer rule there is 0 after the
// greatest of all, and nothing else.

constexpr std::uint32_t lastBeforeNewStart = UINT32_MAX - 1024;
constexpr std::uint32_t aboveNewStart = 1024;

/// What this side sends: right whichever way the rule is read.
constexpr std::uint32_t nextSequenceNumber(std::uint32_t last) {
    return last > lastBeforeNewStart ? 1 : last + 1;
}

/// What a server may send. There are some that start anew when the next one would be greater.
constexpr bool maySequenceNumberFollow(std::uint32_t last, std::uint32_t number) {
    return number == last + 1 || (last >= lastBeforeNewStart && number < aboveNewStart);
}

} // namespace UaClientSdk
