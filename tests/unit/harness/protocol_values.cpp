#include "protocol_values.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <open62541/types_generated_handling.h>

OpcUa_String ownedString(const std::string& text) {
    const UaString copy(text);
    const OpcUa_String view = copy.view();
    OpcUa_String owned;
    UA_String_copy(&view, &owned);
    return owned;
}

UaVariant arrayVariant(OpcUa_BuiltInType type, const void* elements, std::size_t count,
                       std::vector<OpcUa_UInt32> dimensions) {
    OpcUa_Variant variant;
    UA_Variant_init(&variant);
    void* const data = count == 0 ? UA_EMPTY_ARRAY_SENTINEL : const_cast<void*>(elements);
    UA_Variant_setArray(&variant, data, count, &UA_TYPES[type - 1]);
    variant.storageType = UA_VARIANT_DATA_NODELETE;
    variant.arrayDimensions = dimensions.data();
    variant.arrayDimensionsSize = dimensions.size();
    return UaVariant(variant);
}

UaVariant scalarVariant(OpcUa_BuiltInType type, const void* value) {
    OpcUa_Variant variant;
    UA_Variant_init(&variant);
    UA_Variant_setScalar(&variant, const_cast<void*>(value), &UA_TYPES[type - 1]);
    variant.storageType = UA_VARIANT_DATA_NODELETE;
    return UaVariant(variant);
}

UaVariant booleanVariant(bool value) {
    UaVariant variant;
    variant.setBoolean(value);
    return variant;
}

UaVariant int32Variant(OpcUa_Int32 value) {
    UaVariant variant;
    variant.setInt32(value);
    return variant;
}

UaVariant doubleVariant(OpcUa_Double value) {
    UaVariant variant;
    variant.setDouble(value);
    return variant;
}

UaVariant stringVariant(const std::string& value) {
    UaVariant variant;
    variant.setString(UaString(value));
    return variant;
}

ReadAnswer answerValue(const UaVariant& value, OpcUa_StatusCode status) {
    return [value, status](const standin::ReadRequest& request, UaDataValues& values) {
        values.create(static_cast<OpcUa_UInt32>(request.items.size()));
        for (OpcUa_DataValue* data = values.rawData(); data != values.end(); ++data) {
            value.copyTo(&data->value);
            data->hasValue = !value.isEmpty();
            data->status = status;
            data->hasStatus = status != OpcUa_Good;
        }
        return UaStatus();
    };
}

void fillReferences(UaReferenceDescriptions& target, const std::vector<Reference>& references) {
    target.create(static_cast<OpcUa_UInt32>(references.size()));
    OpcUa_ReferenceDescription* out = target.rawData();
    for (const Reference& reference : references) {
        UaNodeId::fromXmlString(UaString(reference.nodeId)).copyTo(&out->nodeId.nodeId);
        out->nodeId.namespaceUri = ownedString(reference.namespaceUri);
        out->nodeId.serverIndex = reference.serverIndex;
        out->browseName.namespaceIndex = reference.browseNamespace;
        out->browseName.name = ownedString(reference.browseName);
        out->displayName.locale = ownedString(reference.locale);
        out->displayName.text = ownedString(reference.displayName);
        out->nodeClass = static_cast<UA_NodeClass>(reference.nodeClass);
        out->isForward = true;
        ++out;
    }
}

BrowseAnswer answerReferences(std::vector<Reference> references) {
    return [references = std::move(references)](const standin::BrowseRequest&, UaByteString&,
                                                UaReferenceDescriptions& target) {
        fillReferences(target, references);
        return UaStatus();
    };
}

UaByteString continuationPoint(const std::string& content) {
    return UaByteString(static_cast<int>(content.size()),
                        reinterpret_cast<const OpcUa_Byte*>(content.data()));
}
