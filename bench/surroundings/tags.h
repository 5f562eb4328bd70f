#pragma once

#include <string>
#include <vector>

#include "OpcUaTypes.h"

namespace bench {

/// The scalar variables of a plant server with tags, in the order of their numbers.
struct Tag {
    std::string nodeId;
    _OpcUaDataType dataType;
};

std::vector<Tag> tags(int first, int count);

} // namespace bench
