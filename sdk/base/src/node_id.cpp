#include "uabase/node_id.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "engine.h"

namespace {

template <typename Number>
bool parseDigits(std::string_view text, Number& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

/// Takes "ns=<index>;" off the front of `text`; false when it starts so but does not go on so.
bool takeNamespace(std::string_view& text, OpcUa_UInt16& namespaceIndex) {
    constexpr std::string_view prefix = "ns=";
    if (text.substr(0, prefix.size()) != prefix)
        return true;
    const std::size_t semicolon = text.find(';');
    if (semicolon == std::string_view::npos)
        return false;
    if (!parseDigits(text.substr(prefix.size(), semicolon - prefix.size()), namespaceIndex))
        return false;
    text.remove_prefix(semicolon + 1);
    return true;
}

/// The engine's decoder stops at the first padding, wherever it stands.
bool isBase64(std::string_view text) {
    constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const std::size_t digits = std::min(text.find_first_not_of(alphabet), text.size());
    const std::string_view padding = text.substr(digits);
    return text.size() % 4 == 0 && (padding.empty() || padding == "=" || padding == "==");
}

UA_String viewOf(std::string_view text) {
    return {text.size(), reinterpret_cast<UA_Byte*>(const_cast<char*>(text.data()))};
}

bool parseIdentifier(char type, std::string_view value, UA_NodeId& id) {
    switch (type) {
    case 'i':
        id.identifierType = UA_NODEIDTYPE_NUMERIC;
        return parseDigits(value, id.identifier.numeric);
    case 's':
        id.identifierType = UA_NODEIDTYPE_STRING;
        // Without characters the engine would send a text that is not there.
        id.identifier.string =
            value.empty() ? UA_String{0, static_cast<UA_Byte*>(UA_EMPTY_ARRAY_SENTINEL)} : viewOf(value);
        return true;
    case 'g':
        id.identifierType = UA_NODEIDTYPE_GUID;
        return UA_Guid_parse(&id.identifier.guid, viewOf(value)) == UA_STATUSCODE_GOOD;
    case 'b': {
        id.identifierType = UA_NODEIDTYPE_BYTESTRING;
        if (!isBase64(value))
            return false;
        const UA_String text = viewOf(value);
        throwIfBad(UA_ByteString_fromBase64(&id.identifier.byteString, &text));
        return true;
    }
    default:
        return false;
    }
}

std::string identifierText(const UA_NodeId& id) {
    switch (id.identifierType) {
    case UA_NODEIDTYPE_NUMERIC:
        return "i=" + std::to_string(id.identifier.numeric);
    case UA_NODEIDTYPE_STRING:
        return "s=" + UaString(id.identifier.string).text();
    case UA_NODEIDTYPE_GUID:
        return "g=" + enginePrinted(id.identifier.guid, UA_Guid_print).text();
    case UA_NODEIDTYPE_BYTESTRING:
        return "b=" + enginePrinted(id.identifier.byteString, UA_ByteString_toBase64).text();
    }
    return std::string();
}

} // namespace

UaNodeId::UaNodeId(OpcUa_UInt32 identifier, OpcUa_UInt16 namespaceIndex) : UaNodeId() {
    m_id.namespaceIndex = namespaceIndex;
    m_id.identifier.numeric = identifier;
}

UaNodeId::UaNodeId(const OpcUa_NodeId& id) {
    throwIfBad(UA_NodeId_copy(&id, &m_id));
}

UaNodeId::UaNodeId(const UaNodeId& other) : UaNodeId(other.m_id) {}

UaNodeId& UaNodeId::operator=(const UaNodeId& other) {
    return *this = UaNodeId(other);
}

void UaNodeId::clear() {
    UA_NodeId_clear(&m_id);
}

UaNodeId UaNodeId::fromXmlString(const UaString& text) {
    UaNodeId id = borrow(text.text());
    return id.m_isView ? UaNodeId(id.m_id) : UaNodeId(std::move(id));
}

UaNodeId UaNodeId::borrow(std::string_view text) {
    UaNodeId result;
    if (!takeNamespace(text, result.m_id.namespaceIndex) || text.size() < 2 || text[1] != '=' ||
        !parseIdentifier(text[0], text.substr(2), result.m_id))
        result.m_id = {};
    result.m_isView = result.m_id.identifierType == UA_NODEIDTYPE_STRING;
    return result;
}

UaString UaNodeId::toXmlString() const {
    std::string text;
    if (m_id.namespaceIndex != 0)
        text = "ns=" + std::to_string(m_id.namespaceIndex) + ';';
    return UaString(text + identifierText(m_id));
}

void UaNodeId::copyTo(OpcUa_NodeId* target) const {
    throwIfBad(UA_NodeId_copy(&m_id, target));
}

bool UaNodeId::isNull() const {
    return UA_NodeId_isNull(&m_id);
}

bool operator==(const UaNodeId& a, const UaNodeId& b) {
    return UA_NodeId_equal(&a.m_id, &b.m_id);
}
