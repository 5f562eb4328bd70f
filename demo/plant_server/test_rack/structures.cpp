#include <array>
#include <cstddef>
#include <string>

#include "test_rack/test_rack.h"

namespace plant_server {
namespace {

std::string fourDigits(unsigned number) {
    const std::string digits = std::to_string(number);
    return std::string(4 - digits.size(), '0') + digits;
}

/// Many siblings: more than any page of a browse answer holds. Types take turns.
void addMany(const Branch& rack) {
    constexpr unsigned count = 1200;
    const Branch folder = rack.folder("Many", "1200 variables");
    unsigned number = 1;
    while (number <= count)
        forEachBuiltInType([&](auto tag) {
            using T = typename decltype(tag)::Type;
            folder.variable("Variable" + fourDigits(number++), Value::scalar(BuiltInType<T>::scalar()));
        });
}

void addDepth(const Branch& rack) {
    constexpr unsigned depth = 30;
    Branch level = rack.folder("Deep", "30 levels");
    for (unsigned number = 1; number <= depth; ++number)
        level = level.object("Level" + std::to_string(number));
    level.variable("Bottom", Value::scalar("reached"));
}

/// Two folders, each below the other: a browser that recurses must notice.
void addLoop(const Branch& rack) {
    const Branch folder = rack.folder("Loop", "A loop");
    const Branch first = folder.folder("First");
    const Branch second = first.folder("Second");
    second.organize(first.node());
    folder.folder("Childless", "Folder without children");
}

} // namespace

void addStructures(const Branch& rack) {
    addMany(rack);
    addDepth(rack);
    addLoop(rack);
}

/// One variable of each kind of identifier in each of the server's own namespaces. Its value is its id.
void addIdentifiers(const Branch& rack) {
    const Branch folder = rack.folder("Identifiers", "Kinds of node ids");
    const std::array<std::string, 4> kinds{"i=70001", "s=Identifiers.String",
                                           "g=72962b91-fa75-4ae6-8d28-b404dc7daf63", "b=AAEC/v8="};
    const std::array<std::string, 4> names{"Numeric", "String", "Guid", "Opaque"};
    for (const UA_UInt16 index : {ApplicationNamespace, PlantNamespace, TestRackNamespace})
        for (std::size_t kind = 0; kind < kinds.size(); ++kind) {
            const std::string id = "ns=" + std::to_string(index) + ";" + kinds[kind];
            VariableOptions options = described(id, readOnly);
            options.id = NodeId::parse(id);
            folder.variable(names[kind] + std::to_string(index), Value::scalar(id), options);
        }
}

} // namespace plant_server
