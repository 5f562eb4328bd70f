#pragma once

#include "comparison.h"
#include "setting.h"

namespace bench {

/// Calls of a block that are made without a pause.
inline int callsPerBlock(const Setting& setting) {
    return setting.either(50, 2);
}

template <typename Client>
Block tightReads(Client& client, int count) {
    return [&client, count] { return secondsPerCall(count, [&client] { client.readScalar(); }); };
}

} // namespace bench
