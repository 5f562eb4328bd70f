#pragma once

#include <cstring>

/// The number in a field of one of the protocol's enumerations. A server may send any, also one that the
/// enumeration cannot hold.
template <typename Enumeration>
int wireNumber(const Enumeration& field) {
    int number = 0;
    static_assert(sizeof number == sizeof field, "enumerations have 32 bits on the wire");
    std::memcpy(&number, &field, sizeof number);
    return number;
}
