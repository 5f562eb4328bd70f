#include "subscription/selection.h"

#include <algorithm>
#include <iterator>

#include "values/element_position.h"

bool makeSelection(const unsigned long* index, int count, _ArrayType& selection) {
    selection = {};
    if (index == nullptr || count == 0)
        return true;
    if (count > maximumDimensions)
        return false;
    selection.kind = 1;
    selection.dimCount = count;
    std::copy_n(index, std::max(count, 0), selection.dims);
    return true;
}

bool haveSameIndices(const _ArrayType& first, const _ArrayType& second) {
    // What is behind the last index is 0 in all selections.
    return first.dimCount == second.dimCount &&
           std::equal(std::begin(first.dims), std::end(first.dims), std::begin(second.dims));
}
