// Lookups of one text a line: each gives the record that a walk over all records finds, and makes one else.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "OpcUaClientInterface.h"
#include "fuzz_target.h"

namespace {

constexpr std::size_t longestNodeId = sizeof OpcUaNode::nodeId;

OpcUaNode* walk(OpcUaNode* head, const std::string& text) {
    OpcUaNode* found = nullptr;
    COpcUaNodelist().findNode(text.c_str(), head, &found);
    return found;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    COpcUaClientInterface client;
    OpcUaNode* head = nullptr;
    for (std::string_view rest = asText(data, size); !rest.empty();) {
        const std::string line(takeUntil('\n', rest));
        // NOLINTNEXTLINE(readability-redundant-string-cstr): up to a zero byte, as the library reads it
        const std::string text = line.c_str();
        OpcUaNode* const expected = text.size() > longestNodeId ? nullptr : walk(head, text);
        OpcUaNode* const node = client.OpcUaGetUaNode(text.c_str(), OpcUaDataType_Int32);
        require((node == nullptr) == (text.size() > longestNodeId), "a text that fits has a record");
        require(expected == nullptr || node == expected, "a lookup finds what a walk finds");
        head = head != nullptr ? head : node;
        require(node == nullptr || walk(head, text) == node, "a record that was made is found");
    }
    return 0;
}
