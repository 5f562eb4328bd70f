#include "surroundings/tags.h"

#include <array>
#include <cstdio>
#include <vector>

namespace bench {

std::vector<Tag> tags(int first, int count) {
    constexpr std::array<_OpcUaDataType, 4> types{OpcUaDataType_Double, OpcUaDataType_Int32,
                                                  OpcUaDataType_Boolean, OpcUaDataType_Float};
    std::vector<Tag> result;
    for (int i = first; i < first + count; ++i) {
        std::array<char, 64> id{};
        std::snprintf(id.data(), id.size(), "ns=2;s=Tags.Tag%05d", i);
        result.push_back({id.data(), types[static_cast<std::size_t>(i) % types.size()]});
    }
    return result;
}

} // namespace bench
