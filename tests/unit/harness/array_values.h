#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "uabase/variant.h"

/// One of the twelve types, with element k of an array that serves as its example.
struct ExampleType {
    const char* name;
    OpcUa_BuiltInType type;
    /// Bytes of element k in a caller's buffer; a text without its terminator.
    std::string (*element)(unsigned int k);

    /// As the records name it.
    int number() const { return static_cast<int>(type); }
    bool isText() const { return type == OpcUaType_String; }
};
std::ostream& operator<<(std::ostream& stream, const ExampleType& type);

/// The twelve types, in their order.
const std::vector<ExampleType>& exampleTypes();

/// Elements 0, 1, 2, ... of the type; with two dimensions or more a matrix.
UaVariant exampleArray(const ExampleType& type, const std::vector<OpcUa_UInt32>& dimensions);

/// Bytes of one element of an array or matrix, as ExampleType::element gives them.
std::string elementBytes(const UaVariant& array, unsigned int position);

/// Elements of an array or matrix.
std::vector<std::string> allElements(const UaVariant& array);

/// Lengths of its dimensions; empty for an array.
std::vector<OpcUa_UInt32> dimensionsOf(const UaVariant& value);

/// Every index vector of these dimensions in row-major order.
std::vector<std::vector<unsigned long>> everyIndex(const std::vector<OpcUa_UInt32>& dimensions);

/// An array of elements of any type, one variant with a scalar of this type each.
UaVariant arrayOfScalars(const std::vector<UaVariant>& scalars);
