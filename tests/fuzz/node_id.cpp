// The text of a NodeId: what parses has one text form, which parses to the same.

#include "uabase/node_id.h"

#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz_target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const UaNodeId id = UaNodeId::fromXmlString(UaString(std::string(asText(data, size))));
    const UaString text = id.toXmlString();
    require(UaNodeId::fromXmlString(text) == id, "a NodeId's text names the NodeId");
    require(UaNodeId(id.raw()).toXmlString() == text, "a copy has the same text");
    return 0;
}
