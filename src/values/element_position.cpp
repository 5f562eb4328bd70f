#include "values/element_position.h"

#include <algorithm>

unsigned int flatPosition(const unsigned long* index, const unsigned long* dimensions, int count) {
    unsigned int position = 0;
    for (int i = 0; i < count; ++i) {
        const unsigned int length = i > 0 ? static_cast<unsigned int>(dimensions[i]) : 0;
        position = position * length + static_cast<unsigned int>(index[i]);
    }
    return position;
}

bool findPosition(const UaVariant& value, const unsigned long* index, int count, unsigned int& position) {
    if (count == 1) {
        position = static_cast<unsigned int>(index[0]);
        return value.isArray();
    }
    if (!value.isMatrix() || count > maximumDimensions ||
        value.dimensionSize() != static_cast<OpcUa_UInt32>(count)) {
        return false;
    }
    UaUInt32Array lengths;
    value.arrayDimensions(lengths);
    unsigned long dimensions[maximumDimensions] = {};
    std::copy(lengths.begin(), lengths.end(), dimensions);
    position = flatPosition(index, dimensions, count);
    return true;
}
