#include "commands/difference_rows.h"

#include <cstddef>
#include <string>

namespace opcua_cli {

void addDifferences(Table& table, const NodeInfo& node, const NodeValue& old, const NodeValue& present,
                    const Cell& result, const SameValue& same) {
    constexpr std::size_t mostElements = 10;
    std::size_t differing = 0;
    for (std::size_t i = 0; i < old.elements.size(); ++i) {
        const Value& before = old.elements[i];
        const Value& after = present.elements[i];
        if (!same(before, after) && ++differing <= mostElements)
            table.add({node.nodeId, node.displayName, typeAndShape(node),
                       indexText(indexAt(i, node.dimensions)), toText(before), toText(after), result});
    }
    if (differing > mostElements)
        table.add({node.nodeId,
                   node.displayName,
                   typeAndShape(node),
                   {"and " + std::to_string(differing - mostElements) + " more", Tone::Faint}});
    if (differing == 0)
        table.add({node.nodeId, node.displayName, typeAndShape(node), "", "", "", result});
}

} // namespace opcua_cli
