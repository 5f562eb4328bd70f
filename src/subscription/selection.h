#pragma once

#include "OpcUaTypes.h"

// The element of an array or matrix that an application names by its indices, outermost dimension first.

/// Without indices the whole value. False when there are more of them than a selection holds. A count below 0
/// gives a selection without indices, which fits no value.
bool makeSelection(const unsigned long* index, int count, _ArrayType& selection);

/// Whether both have the same indices.
bool haveSameIndices(const _ArrayType& first, const _ArrayType& second);
