#include "addressing/search_rank.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "OpcUaHelpers.h"

namespace opcua_cli {
namespace {

struct IdParts {
    std::string_view namespacePart; ///< "ns=2;" or empty
    char kind;
    std::string_view identifier;
};

IdParts split(std::string_view nodeId) {
    const std::size_t kind = nodeId.substr(0, 3) == "ns=" ? nodeId.find(';') + 1 : 0;
    if (kind + 2 > nodeId.size())
        return {nodeId, '\0', {}};
    return {nodeId.substr(0, kind), nodeId[kind], nodeId.substr(kind + 2)};
}

std::int64_t number(std::string_view digits) {
    std::int64_t value = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return value;
}

/// 0 to 255: how much the ids look like neighbours.
int likeness(const IdParts& target, const IdParts& candidate) {
    if (target.namespacePart != candidate.namespacePart)
        return 0;
    if (target.kind != candidate.kind)
        return 1;
    if (target.kind == 'i') {
        int distanceBits = 0;
        for (std::int64_t distance = std::abs(number(target.identifier) - number(candidate.identifier));
             distance != 0; distance >>= 1)
            ++distanceBits;
        return 2 + 32 - std::min(distanceBits, 32);
    }
    const auto [end, ignored] = std::mismatch(target.identifier.begin(), target.identifier.end(),
                                              candidate.identifier.begin(), candidate.identifier.end());
    return 2 + static_cast<int>(std::min<std::ptrdiff_t>(end - target.identifier.begin(), 253));
}

/// Instances rarely lie below types, and servers carry thousands of types.
bool leadsToTypes(const NodeInfo& node) {
    constexpr const char* typesFolder = "i=86";
    constexpr const char* viewsFolder = "i=87";
    return (node.nodeClass != OpcUaNodeClass_Object && node.nodeClass != OpcUaNodeClass_Variable) ||
           node.nodeId == typesFolder || node.nodeId == viewsFolder;
}

bool probableParent(const IdParts& target, const IdParts& candidate) {
    constexpr int nearNumber = 2 + 32 - 5; // fewer than 32 apart
    if (target.namespacePart != candidate.namespacePart || target.kind != candidate.kind)
        return false;
    if (target.kind == 'i')
        return likeness(target, candidate) >= nearNumber;
    return candidate.identifier.size() < target.identifier.size() &&
           target.identifier.substr(0, candidate.identifier.size()) == candidate.identifier;
}

} // namespace

int searchRank(const std::string& targetId, const NodeInfo& candidate) {
    constexpr int classWeight = 1000;
    const IdParts target = split(targetId);
    const IdParts id = split(candidate.nodeId);
    const int likely = likeness(target, id);
    if (leadsToTypes(candidate))
        return likely;
    const bool first = candidate.nodeClass == OpcUaNodeClass_Object || probableParent(target, id);
    return likely + (first ? 2 : 1) * classWeight;
}

} // namespace opcua_cli
