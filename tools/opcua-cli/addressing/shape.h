#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace opcua_cli {

/// Lengths of the dimensions of an array or matrix, outermost first; empty for a single value.
using Shape = std::vector<unsigned long>;

/// Where an element stands: one position a dimension (row, column), counted from 0.
using Index = std::vector<unsigned long>;

/// "2,3", or "[2][3]" as indexText() has it. Throws Failure (Usage).
Index parseIndex(const std::string& text);

/// "[2][3]"
std::string indexText(const std::vector<unsigned long>& index);

/// The number of elements; the greatest possible number when there are more.
std::size_t elementCount(const Shape& shape);

/// Where the element at that place of the flat list stands, the last position moving fastest.
Index indexAt(std::size_t place, const Shape& shape);

/// Throws Failure (Failed) unless there is an element at the index. The library looks at the place in the
/// flat list alone: in a matrix of 3 by 4, column 5 of row 0 would be column 1 of row 1.
void throwIfOutside(const Index& index, const Shape& shape);

} // namespace opcua_cli
