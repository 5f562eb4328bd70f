#include "uabase/qualified_name.h"

#include <string>

UaQualifiedName::UaQualifiedName(const UaString& name, OpcUa_UInt16 namespaceIndex)
    : m_name(name), m_namespaceIndex(namespaceIndex) {}

UaQualifiedName::UaQualifiedName(const OpcUa_QualifiedName& name)
    : m_name(name.name), m_namespaceIndex(name.namespaceIndex) {}

UaString UaQualifiedName::toString() const {
    return UaString(std::to_string(m_namespaceIndex) + ':' + m_name.text());
}
