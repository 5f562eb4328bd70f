#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "standin/standin.h"
#include "uabase/arrays.h"
#include "uabase/variant.h"

/// Text that the array which takes it over frees.
OpcUa_String ownedString(const std::string& text);

/// A variant of `count` elements that are copied from `elements`; without dimensions a one-dimensional array.
UaVariant arrayVariant(OpcUa_BuiltInType type, const void* elements, std::size_t count,
                       std::vector<OpcUa_UInt32> dimensions = {});

/// A scalar of a type that UaVariant has no setter for.
UaVariant scalarVariant(OpcUa_BuiltInType type, const void* value);

/// Scalars of the types that an application reads.
UaVariant booleanVariant(bool value);
UaVariant int32Variant(OpcUa_Int32 value);
UaVariant doubleVariant(OpcUa_Double value);
UaVariant stringVariant(const std::string& value);

using ReadAnswer = std::function<UaStatus(const standin::ReadRequest&, UaDataValues&)>;

/// Gives every item this value and status.
ReadAnswer answerValue(const UaVariant& value, OpcUa_StatusCode status = OpcUa_Good);

/// One reference of a browse answer.
struct Reference {
    std::string nodeId;
    std::string browseName;
    OpcUa_UInt16 browseNamespace = 0;
    std::string locale = {};
    std::string displayName = {};
    OpcUa_UInt32 nodeClass = 2;
    std::string namespaceUri = {};
    OpcUa_UInt32 serverIndex = 0;
};

void fillReferences(UaReferenceDescriptions& target, const std::vector<Reference>& references);

using BrowseAnswer =
    std::function<UaStatus(const standin::BrowseRequest&, UaByteString&, UaReferenceDescriptions&)>;

/// Answers every browse with these references, in one page.
BrowseAnswer answerReferences(std::vector<Reference> references);

/// A continuation point with this content.
UaByteString continuationPoint(const std::string& content);
