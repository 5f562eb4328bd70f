#ifndef OPCUA_HELPERS_H
#define OPCUA_HELPERS_H

#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <type_traits>

#include "OpcUaTypes.h"

/// @file
/// What most applications write for themselves around the client: names for its numbers, texts and nodes from
/// its records, values from its data changes.
///
/// All of it is compiled into the application and nothing into the library: it may be used or left, and an
/// application that was built with another version of it runs on. The functions keep nothing, may be called
/// on any thread, and throw nothing but std::bad_alloc.

/// For _OpcUaClientConfig::securityPolicy and _OpcUa_EndpointMsg::securityPolicy.
enum OpcUaSecurityPolicy : int {
    OpcUaSecurityPolicy_None = 0,
    OpcUaSecurityPolicy_Basic128Rsa15 = 1, ///< weak: for servers that know no better
    OpcUaSecurityPolicy_Basic256 = 2,      ///< weak as well
    OpcUaSecurityPolicy_Basic256Sha256 = 3,
    OpcUaSecurityPolicy_Aes128_Sha256_RsaOaep = 4,
    OpcUaSecurityPolicy_Aes256_Sha256_RsaPss = 5
};

/// For _OpcUaClientConfig::securityMode and _OpcUa_EndpointMsg::securityMode.
enum OpcUaSecurityMode : int {
    OpcUaSecurityMode_None = 0,
    OpcUaSecurityMode_Sign = 1,
    OpcUaSecurityMode_SignAndEncrypt = 2
};

/// For _OpcUaClientConfig::userIdentity.
enum OpcUaUserIdentity : int {
    OpcUaUserIdentity_Anonymous = 0,
    OpcUaUserIdentity_UserName = 1,
    OpcUaUserIdentity_Certificate = 2
};

/// What OpcUaCallBack::OpcUaTrustServerCertificate() answers; any other number rejects, too.
enum OpcUaTrust : int { OpcUaTrust_Once = 0, OpcUaTrust_Always = 1, OpcUaTrust_Reject = 2 };

/// What OpcUaGetConnectStatus() tells.
enum OpcUaConnectStatus : int {
    OpcUaConnectStatus_NotConnected = 0,
    OpcUaConnectStatus_Connected = 1,
    OpcUaConnectStatus_Silent = 2, ///< an outage: everything is kept, wait
    OpcUaConnectStatus_Lost = 3,   ///< connect again
    OpcUaConnectStatus_ShuttingDown = 4,
    OpcUaConnectStatus_NotPublishing = 5 ///< connected, but the subscription has ended or fallen silent
};

/// For OpcUaNode::nodeClass (OPC UA Part 3, 5.2.3). A looked-up node has none of them.
enum OpcUaNodeClass : int {
    OpcUaNodeClass_Object = 1,
    OpcUaNodeClass_Variable = 2,
    OpcUaNodeClass_Method = 4,
    OpcUaNodeClass_ObjectType = 8,
    OpcUaNodeClass_VariableType = 16,
    OpcUaNodeClass_ReferenceType = 32,
    OpcUaNodeClass_DataType = 64,
    OpcUaNodeClass_View = 128
};

/// What a result code means, in English: also for the codes that leave no message. Never null.
inline const char* OpcUaResultText(int code) {
    switch (code) {
    case 0:
        return "success";
    case 1:
        return "the server could not be connected";
    case 2:
        return "the connection could not be closed in good order";
    case 3:
        return "not connected";
    case 4:
        return "browsing failed";
    case 5:
        return "the node id is none";
    case 6:
        return "the node is not in the browse tree";
    case 7:
        return "the value could not be read";
    case 8:
        return "the value could not be written";
    case 9:
        return "the subscription could not be created or deleted";
    case 10:
        return "the old subscription could not be replaced";
    case 11:
        return "there is no subscription";
    case 12:
        return "the node cannot be monitored";
    case 13:
        return "the monitored item could not be removed";
    case 14:
        return "the monitored items could not be removed";
    case 15:
        return "the node is not monitored";
    case 17:
        return "the client is incomplete";
    case 18:
        return "the discovery server did not answer";
    case 19:
        return "the server told no endpoints";
    case 20:
        return "a directory of the certificate store cannot be listed";
    case 21:
        return "the client's certificate or key cannot be loaded";
    case 22:
        return "the server's certificate could not be saved";
    case 23:
        return "the server's certificate is not trusted";
    case 24:
        return "the user certificate's file holds none that can be used";
    case 25:
        return "the user's key cannot be loaded";
    case 26:
        return "the user's key is not an RSA key";
    case 27:
        return "a directory of the user's certificate store cannot be listed";
    case 28:
        return "user certificate and key cannot be made, or be read";
    case 29:
        return "a pointer is null, or a count is out of range";
    default:
        return "an unknown result code";
    }
}

/// What a status of OpcUaGetConnectStatus() means, in English. Never null.
inline const char* OpcUaConnectStatusText(int status) {
    switch (status) {
    case OpcUaConnectStatus_NotConnected:
        return "not connected";
    case OpcUaConnectStatus_Connected:
        return "connected";
    case OpcUaConnectStatus_Silent:
        return "the server is silent";
    case OpcUaConnectStatus_Lost:
        return "the connection is lost";
    case OpcUaConnectStatus_ShuttingDown:
        return "the server is about to shut down";
    case OpcUaConnectStatus_NotPublishing:
        return "connected, but no changes are delivered";
    default:
        return "an unknown status";
    }
}

/// The text in a field of a record, for example `OpcUaFieldText(node->displayName)`: up to its terminating
/// zero, or the whole field when a long text fills it without one.
template <std::size_t Size>
std::string OpcUaFieldText(const char (&field)[Size]) {
    const void* const end = std::memchr(field, '\0', Size);
    return std::string(field, end ? static_cast<std::size_t>(static_cast<const char*>(end) - field) : Size);
}

/// Puts a text into a field of a record, for example `OpcUaSetField(config.endpointUrl, url)`. A text as long
/// as the field fills it without a terminating zero, which all operations know.
///
/// @return false when the text is longer than the field or holds a zero: then the field is empty, because
///         half a text would be another host, user or node
template <std::size_t Size>
bool OpcUaSetField(char (&field)[Size], const std::string& text) {
    std::memset(field, '\0', Size);
    if (text.size() > Size || text.find('\0') != std::string::npos)
        return false;
    std::memcpy(field, text.data(), text.size());
    return true;
}

/// A record of the application's own for a node that is known by its id, to read, write or monitor it. It
/// stands for exactly this node, where OpcUaGetUaNode() also finds one whose id only begins so.
///
/// @param nodeId "ns=2;s=Line1.Speed"; an empty one, and one that no record can hold (more than 256 bytes, or
///        a zero inside), gives a record of no node, which operations refuse as they do an unknown one
inline OpcUaNode OpcUaMakeNode(const std::string& nodeId, _OpcUaDataType dataType) {
    OpcUaNode node = OpcUaNode();
    node.dataType = dataType;
    if (nodeId.empty() || !OpcUaSetField(node.nodeId, nodeId))
        node.nodeId[0] = '?'; // an empty id would be the beginning of every other
    return node;
}

/// The child of a browsed record with this browse name: "2:Speed", or "Speed" in whatever namespace. Of
/// several the first, and one whose whole browse name it is before the others.
///
/// @param parent may be null
/// @return null when there is none, among them a record that has not been browsed
inline OpcUaNode* OpcUaChildByName(const OpcUaNode* parent, const std::string& name) {
    OpcUaNode* inAnyNamespace = nullptr;
    for (OpcUaNode* child = parent != nullptr ? parent->child : nullptr; child != nullptr;
         child = child->next) {
        const std::string browseName = OpcUaFieldText(child->browseName);
        if (browseName == name)
            return child;
        const std::size_t colon = browseName.find(':');
        if (inAnyNamespace == nullptr && colon != std::string::npos &&
            browseName.compare(colon + 1, name.npos, name) == 0) {
            inAnyNamespace = child;
        }
    }
    return inAnyNamespace;
}

/// The data type of a C++ type: `OpcUaTypeOf<double>::value` is OpcUaDataType_Double. There is one for bool,
/// the integers but `char` and `wchar_t`, float, double and std::string.
template <typename Value>
struct OpcUaTypeOf;
template <>
struct OpcUaTypeOf<bool> : std::integral_constant<_OpcUaDataType, OpcUaDataType_Boolean> {};
template <>
struct OpcUaTypeOf<signed char> : std::integral_constant<_OpcUaDataType, OpcUaDataType_SByte> {};
template <>
struct OpcUaTypeOf<unsigned char> : std::integral_constant<_OpcUaDataType, OpcUaDataType_Byte> {};
template <>
struct OpcUaTypeOf<short> : std::integral_constant<_OpcUaDataType, OpcUaDataType_Int16> {};
template <>
struct OpcUaTypeOf<unsigned short> : std::integral_constant<_OpcUaDataType, OpcUaDataType_UInt16> {};
template <>
struct OpcUaTypeOf<int> : std::integral_constant<_OpcUaDataType, OpcUaDataType_Int32> {};
template <>
struct OpcUaTypeOf<unsigned int> : std::integral_constant<_OpcUaDataType, OpcUaDataType_UInt32> {};
template <>
struct OpcUaTypeOf<long> : std::integral_constant<_OpcUaDataType, OpcUaDataType_Int64> {};
template <>
struct OpcUaTypeOf<unsigned long> : std::integral_constant<_OpcUaDataType, OpcUaDataType_UInt64> {};
template <>
struct OpcUaTypeOf<long long> : std::integral_constant<_OpcUaDataType, OpcUaDataType_Int64> {};
template <>
struct OpcUaTypeOf<unsigned long long> : std::integral_constant<_OpcUaDataType, OpcUaDataType_UInt64> {};
template <>
struct OpcUaTypeOf<float> : std::integral_constant<_OpcUaDataType, OpcUaDataType_Float> {};
template <>
struct OpcUaTypeOf<double> : std::integral_constant<_OpcUaDataType, OpcUaDataType_Double> {};
template <>
struct OpcUaTypeOf<std::string> : std::integral_constant<_OpcUaDataType, OpcUaDataType_String> {};

// For the next three functions: a message does not tell that its node holds an array or matrix, or a type
// that this interface does not convert. What stands in it then is left over. Monitor elements, or nodes that
// browsing has shown to be scalars of a type that is not Null.

/// Stores the value of a data change if it is of just this C++ type (see OpcUaTypeOf):
/// `double level; if (OpcUaChangeValue(message, level)) ...`
///
/// @return false, and `value` is unchanged, when the change has another type
template <typename Value>
bool OpcUaChangeValue(const _OpcUaDataChangeMsg& change, Value& value) {
    if (change.dataType != OpcUaTypeOf<Value>::value)
        return false;
    std::memcpy(&value, change.value, sizeof value); // the bytes need not be aligned
    return true;
}
/// Any byte but 0 is true.
template <>
inline bool OpcUaChangeValue(const _OpcUaDataChangeMsg& change, bool& value) {
    if (change.dataType != OpcUaDataType_Boolean)
        return false;
    value = change.value[0] != 0;
    return true;
}
/// A text of up to 255 bytes whole; of a longer one the first 256 bytes, which may end inside a character.
template <>
inline bool OpcUaChangeValue(const _OpcUaDataChangeMsg& change, std::string& value) {
    const std::size_t last = sizeof change.value - 1;
    if (change.dataType != OpcUaDataType_String)
        return false;
    std::size_t length = change.valueSize > 0 ? static_cast<std::size_t>(change.valueSize) : 0;
    if (length >= last)
        length = change.value[last] != '\0' ? last + 1 : last;
    value.assign(change.value, length);
    return true;
}

/// Everything that the functions of this file need and nobody else.
namespace OpcUaHelperDetails {

/// False, and `value` is unchanged, when the change has another type.
template <typename Number>
bool changeAs(const _OpcUaDataChangeMsg& change, double& value) {
    Number number = Number();
    if (!OpcUaChangeValue(change, number))
        return false;
    value = static_cast<double>(number);
    return true;
}

/// In decimal; of a change of that type.
template <typename Number>
std::string wholeNumberText(const _OpcUaDataChangeMsg& change) {
    Number number = Number();
    OpcUaChangeValue(change, number);
    return std::to_string(+number);
}

/// With no more digits than it takes to tell the number from its neighbours.
template <typename Number>
std::string floatingText(const _OpcUaDataChangeMsg& change) {
    Number number = Number();
    OpcUaChangeValue(change, number);
    if (std::isnan(number))
        return "nan"; // whatever its sign, which says nothing
    std::string text;
    for (int digits = std::numeric_limits<Number>::digits10;
         digits <= std::numeric_limits<Number>::max_digits10; ++digits) {
        std::ostringstream out;
        out.imbue(std::locale::classic());
        out.precision(digits);
        out << number;
        text = out.str();
        std::istringstream in(text);
        in.imbue(std::locale::classic());
        Number back = Number();
        if (in >> back && !(back < number) && !(number < back))
            break;
    }
    return text;
}

} // namespace OpcUaHelperDetails

/// Stores the value of a data change as a double if it is a number or a Boolean (0 or 1). Of an Int64 or
/// UInt64 beyond 2^53 it is the nearest double.
///
/// @return false, and `value` is unchanged, for a text and for an empty value
inline bool OpcUaChangeNumber(const _OpcUaDataChangeMsg& change, double& value) {
    using namespace OpcUaHelperDetails;
    return changeAs<bool>(change, value) || changeAs<signed char>(change, value) ||
           changeAs<unsigned char>(change, value) || changeAs<short>(change, value) ||
           changeAs<unsigned short>(change, value) || changeAs<int>(change, value) ||
           changeAs<unsigned int>(change, value) || changeAs<long>(change, value) ||
           changeAs<unsigned long>(change, value) || changeAs<float>(change, value) ||
           changeAs<double>(change, value);
}

/// The value of a data change to be shown: a text as it is, a number in decimal with a point whatever the
/// process's locale, "true" or "false"; empty for an empty value.
inline std::string OpcUaChangeText(const _OpcUaDataChangeMsg& change) {
    using namespace OpcUaHelperDetails;
    std::string text;
    switch (change.dataType) {
    case OpcUaDataType_Boolean:
        text = change.value[0] != 0 ? "true" : "false";
        break;
    case OpcUaDataType_SByte:
        text = wholeNumberText<signed char>(change);
        break;
    case OpcUaDataType_Byte:
        text = wholeNumberText<unsigned char>(change);
        break;
    case OpcUaDataType_Int16:
        text = wholeNumberText<short>(change);
        break;
    case OpcUaDataType_UInt16:
        text = wholeNumberText<unsigned short>(change);
        break;
    case OpcUaDataType_Int32:
        text = wholeNumberText<int>(change);
        break;
    case OpcUaDataType_UInt32:
        text = wholeNumberText<unsigned int>(change);
        break;
    case OpcUaDataType_Int64:
        text = wholeNumberText<long>(change);
        break;
    case OpcUaDataType_UInt64:
        text = wholeNumberText<unsigned long>(change);
        break;
    case OpcUaDataType_Float:
        text = floatingText<float>(change);
        break;
    case OpcUaDataType_Double:
        text = floatingText<double>(change);
        break;
    case OpcUaDataType_String:
        OpcUaChangeValue(change, text);
        break;
    case OpcUaDataType_Null:
        break;
    }
    return text;
}

#endif
