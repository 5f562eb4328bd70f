#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "facade/facade_client.h"
#include "facade/facade_values.h"
#include "measuring/setting.h"
#include "raw/raw_client.h"
#include "raw/raw_values.h"
#include "surroundings/tags.h"

namespace bench {

/// Both sides with the tags that don't change.
struct ManyValues {
    ManyValues(const std::string& url, const Setting& setting)
        : nodes(tags(setting.tagCount() / 2, setting.tagCount() / 2)), rawClient(url), facadeClient(url),
          raw(rawClient, nodes), facade(facadeClient, nodes) {
        raw.read();
        facade.read();
        if (raw.cells() != facade.cells())
            throw std::runtime_error("the sides read different values");
    }

    std::vector<Tag> nodes;
    RawClient rawClient;
    FacadeClient facadeClient;
    RawValues raw;
    FacadeValues facade;
};

} // namespace bench
