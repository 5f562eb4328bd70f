#pragma once

#include "uabase/string.h"
#include "uastack/export.h"
#include "uastack/protocol_types.h"

/// OPC UA Part 3, 8.3.
class UASDK_EXPORT UaQualifiedName {
public:
    UaQualifiedName(const UaString& name, OpcUa_UInt16 namespaceIndex);
    explicit UaQualifiedName(const OpcUa_QualifiedName& name);

    /// "<namespace index>:<name>", for example "2:Speed".
    UaString toString() const;

private:
    UaString m_name;
    OpcUa_UInt16 m_namespaceIndex;
};
