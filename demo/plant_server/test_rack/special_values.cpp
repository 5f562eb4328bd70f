#include <vector>

#include "plant/plant.h"
#include "test_rack/test_rack.h"

namespace plant_server {
namespace {

const UA_DateTime someTime = UA_DateTime_fromUnixTime(1700000000) + 1234567;
const UA_Guid someGuid = {0x72962B91, 0xFA75, 0x4AE6, {0x8D, 0x28, 0xB4, 0x04, 0xDC, 0x7D, 0xAF, 0x63}};

void addTimesAndTexts(const Branch& folder) {
    folder.variable("DateTime", Value::of(&someTime, &UA_TYPES[UA_TYPES_DATETIME]));
    const std::vector<UA_DateTime> times{0, someTime, someTime + UA_DATETIME_SEC};
    folder.variable("DateTimeArray",
                    Value::arrayOf(times.data(), times.size(), &UA_TYPES[UA_TYPES_DATETIME]));
    const UA_ByteString bytes = view(std::string_view("\x00\x01\xFE\xFFplant", 9));
    folder.variable("ByteString", Value::of(&bytes, &UA_TYPES[UA_TYPES_BYTESTRING]));
    const UA_LocalizedText german = localized("de", "Überdruck im Kessel");
    folder.variable("LocalizedText", Value::of(&german, &UA_TYPES[UA_TYPES_LOCALIZEDTEXT]));
    const std::vector<UA_LocalizedText> texts{german, localized("zh", "锅炉超压"),
                                              localized("", "no locale")};
    folder.variable("LocalizedTextArray",
                    Value::arrayOf(texts.data(), texts.size(), &UA_TYPES[UA_TYPES_LOCALIZEDTEXT]));
}

void addProtocolTypes(const Branch& folder) {
    folder.variable("Guid", Value::of(&someGuid, &UA_TYPES[UA_TYPES_GUID]));
    const NodeId id = NodeId::parse("ns=2;s=Line1.Speed");
    folder.variable("NodeId", Value::of(&id.get(), &UA_TYPES[UA_TYPES_NODEID]));
    const UA_QualifiedName name{PlantNamespace, view("Speed")};
    folder.variable("QualifiedName", Value::of(&name, &UA_TYPES[UA_TYPES_QUALIFIEDNAME]));
    const UA_StatusCode code = UA_STATUSCODE_BADOUTOFRANGE;
    folder.variable("StatusCode", Value::of(&code, &UA_TYPES[UA_TYPES_STATUSCODE]));
    const UA_Range range{-50, 150};
    folder.variable("Structure", Value::of(&range, &UA_TYPES[UA_TYPES_RANGE]));
    const std::vector<Value> mixed{Value::scalar(UA_Int32(7)), Value::scalar("seven"),
                                   Value::scalar(UA_Boolean(true))};
    std::vector<UA_Variant> variants;
    for (const Value& value : mixed)
        variants.push_back(value.get());
    folder.variable("VariantArray",
                    Value::arrayOf(variants.data(), variants.size(), &UA_TYPES[UA_TYPES_VARIANT]));
}

} // namespace

void addSpecialValues(const Branch& rack) {
    const Branch folder = rack.folder("Special", "Values of other types");
    addTimesAndTexts(folder);
    addProtocolTypes(folder);
    VariableOptions enumeration;
    enumeration.dataType = NodeId(lineStateType.typeId);
    const LineState state = Blocked;
    folder.variable("Enumeration", Value::of(&state, &lineStateType), enumeration);
    VariableOptions any;
    any.anyShape = true;
    folder.variable("Empty", Value(), any);
}

} // namespace plant_server
