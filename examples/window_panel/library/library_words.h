#pragma once

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string>

#include "OpcUaClientInterface.h"

/// The library's numbers by name, its results in English, and its fixed fields as texts and values.
namespace window_panel {

enum SecurityPolicy : int { PolicyNone = 0, PolicyBasic256Sha256 = 3 };
enum SecurityMode : int { ModeNone = 0, ModeSignAndEncrypt = 2 };
enum UserIdentity : int { IdentityAnonymous = 0, IdentityUserName = 1 };
enum ConnectStatus : int {
    StatusConnected = 1,
    StatusSilent = 2,
    StatusShuttingDown = 4,
    StatusSubscriptionLost = 5
};
enum TrustAnswer : int { TrustOnce = 0, TrustAlways = 1, TrustNever = -1 };
enum ResultCode : int {
    ResultDone = 0,
    ResultRefused = 1,
    ResultNotConnected = 3,
    ResultNotRead = 7,
    ResultNotWritten = 8,
    ResultNoSubscription = 9,
    ResultNoEndpoints = 19,
    ResultOwnCertificate = 21,
    ResultNotSaved = 22,
    ResultNotTrusted = 23
};

inline std::string resultText(int code) {
    switch (code) {
    case ResultDone:
        return "done";
    case ResultRefused:
        return "the server did not answer in time, or one side refused the other";
    case ResultNotConnected:
        return "there is no connection";
    case ResultNotRead:
        return "the value can't be read";
    case ResultNotWritten:
        return "the server refused the value";
    case ResultNoSubscription:
        return "the server refused the subscription";
    case ResultNoEndpoints:
        return "no server answers at this address";
    case ResultOwnCertificate:
        return "the panel's own certificate can't be loaded";
    case ResultNotSaved:
        return "the server's certificate can't be saved";
    case ResultNotTrusted:
        return "the server's certificate is not trusted";
    default:
        return "result " + std::to_string(code);
    }
}

/// The text of a field that need not end with a zero.
template <std::size_t Size>
std::string fieldText(const char (&field)[Size]) {
    return std::string(field, strnlen(field, Size));
}

/// A text that is longer than the field is cut.
template <std::size_t Size>
void setField(char (&field)[Size], const std::string& text) {
    std::snprintf(field, Size, "%s", text.c_str());
}

inline OpcUaNode nodeOf(const std::string& nodeId, _OpcUaDataType type) {
    OpcUaNode node{};
    setField(node.nodeId, nodeId);
    node.dataType = type;
    return node;
}

/// A value of one of the twelve types: a number, for a Boolean 0 or 1, or a text.
struct Value {
    double number = 0;
    std::string text;
};

template <typename Number>
Value numberIn(const char* bytes) {
    Number number;
    std::memcpy(&number, bytes, sizeof number); // the bytes need not be aligned
    return {static_cast<double>(number), {}};
}

inline Value valueOf(const _OpcUaDataChangeMsg& change) {
    switch (change.dataType) {
    case OpcUaDataType_Boolean:
    case OpcUaDataType_Byte:
        return numberIn<unsigned char>(change.value);
    case OpcUaDataType_SByte:
        return numberIn<signed char>(change.value);
    case OpcUaDataType_Int16:
        return numberIn<short>(change.value);
    case OpcUaDataType_UInt16:
        return numberIn<unsigned short>(change.value);
    case OpcUaDataType_Int32:
        return numberIn<int>(change.value);
    case OpcUaDataType_UInt32:
        return numberIn<unsigned int>(change.value);
    case OpcUaDataType_Int64:
        return numberIn<long>(change.value);
    case OpcUaDataType_UInt64:
        return numberIn<unsigned long>(change.value);
    case OpcUaDataType_Float:
        return numberIn<float>(change.value);
    case OpcUaDataType_Double:
        return numberIn<double>(change.value);
    case OpcUaDataType_String:
        return {0, fieldText(change.value)};
    default:
        return {};
    }
}

} // namespace window_panel
