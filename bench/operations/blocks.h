#pragma once

#include <stdexcept>
#include <string>

#include "measuring/comparison.h"
#include "measuring/setting.h"
#include "surroundings/plant_nodes.h"

namespace bench {

/// Calls of a block that are made without a pause.
inline int callsPerBlock(const Setting& setting) {
    return setting.either(50, 2);
}

template <typename Client>
Block tightReads(Client& client, int count) {
    return [&client, count] { return secondsPerCall(count, [&client] { client.readScalar(); }); };
}

/// Seconds for browsing the folder with many children.
template <typename Client>
Block browses(Client& client) {
    return [&client] {
        int children = 0;
        const double seconds = secondsOf([&client, &children] { children = client.browseChildren(); });
        if (children != plant_nodes::childCount)
            throw std::runtime_error("browsed " + std::to_string(children) + " children");
        return seconds;
    };
}

} // namespace bench
