#pragma once

#include "uabase/variant.h"

/// Dimensions that can be told or addressed.
constexpr int maximumDimensions = 16;

/// Position of a matrix element in row-major order: the last index varies fastest. Reckons in 32 bits with
/// wrap-around, checks no index against its dimension and never uses the first dimension. 0 when `count` is
/// below 1.
unsigned int flatPosition(const unsigned long* index, const unsigned long* dimensions, int count);

/// Finds the position that `count` indices name in a value: one in a one-dimensional array, more in a matrix
/// of so many dimensions. False when the value has another shape. Whether there is an element at `position`
/// is not asked: an index beyond its own dimension names the element that its flat position hits.
bool findPosition(const UaVariant& value, const unsigned long* index, int count, unsigned int& position);
