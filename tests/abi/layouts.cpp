// Layouts of everything that crosses the library's border. Applications are compiled against these numbers: a
// byte that moves must not compile.
#include <cstddef>
#include <type_traits>

#include "OpcUaClientInterface.h"

namespace {

template <class Record, std::size_t size, std::size_t alignment>
constexpr bool hasLayout() {
    return std::is_standard_layout<Record>::value && sizeof(Record) == size && alignof(Record) == alignment;
}

template <class Enumeration>
constexpr bool isInt() {
    return std::is_same<std::underlying_type_t<Enumeration>, int>::value;
}

} // namespace

#define EXPECT_OFFSET(record, field, offset)                                                                 \
    static_assert(offsetof(record, field) == (offset), #record "::" #field)

static_assert(sizeof(int) == 4 && sizeof(long) == 8 && sizeof(void*) == 8 && sizeof(bool) == 1,
              "data model LP64");

static_assert(isInt<_OpcUaDataType>());
static_assert(OpcUaDataType_Null == 0);
static_assert(OpcUaDataType_Boolean == 1);
static_assert(OpcUaDataType_SByte == 2);
static_assert(OpcUaDataType_Byte == 3);
static_assert(OpcUaDataType_Int16 == 4);
static_assert(OpcUaDataType_UInt16 == 5);
static_assert(OpcUaDataType_Int32 == 6);
static_assert(OpcUaDataType_UInt32 == 7);
static_assert(OpcUaDataType_Int64 == 8);
static_assert(OpcUaDataType_UInt64 == 9);
static_assert(OpcUaDataType_Float == 10);
static_assert(OpcUaDataType_Double == 11);
static_assert(OpcUaDataType_String == 12);

static_assert(isInt<_OpcUaClientTraceLevel>());
static_assert(OpcUaTraceLevel_Errors == 1);
static_assert(OpcUaTraceLevel_Warnings == 2);
static_assert(OpcUaTraceLevel_LifeCycle == 3);
static_assert(OpcUaTraceLevel_Information == 4);
static_assert(OpcUaTraceLevel_Debugging == 5);
static_assert(OpcUaTraceLevel_Details == 6);
static_assert(OpcUaTraceLevel_Everything == 7);

static_assert(hasLayout<_ArrayType, 144, 8>());
EXPECT_OFFSET(_ArrayType, kind, 0);
EXPECT_OFFSET(_ArrayType, dims, 8);
EXPECT_OFFSET(_ArrayType, dimCount, 136);
static_assert(std::is_same<decltype(_ArrayType::dims), unsigned long[16]>::value);

static_assert(hasLayout<OpcUaNode, 1464, 8>());
static_assert(std::is_trivial<OpcUaNode>::value, "applications copy and clear node records as bytes");
EXPECT_OFFSET(OpcUaNode, parent, 0);
EXPECT_OFFSET(OpcUaNode, next, 8);
EXPECT_OFFSET(OpcUaNode, child, 16);
EXPECT_OFFSET(OpcUaNode, dataType, 24);
EXPECT_OFFSET(OpcUaNode, reserved, 28);
EXPECT_OFFSET(OpcUaNode, reservedFlag, 284);
EXPECT_OFFSET(OpcUaNode, arrayInfo, 288);
EXPECT_OFFSET(OpcUaNode, nodeClass, 432);
EXPECT_OFFSET(OpcUaNode, locale, 436);
EXPECT_OFFSET(OpcUaNode, displayName, 692);
EXPECT_OFFSET(OpcUaNode, browseName, 948);
EXPECT_OFFSET(OpcUaNode, nodeId, 1204);
EXPECT_OFFSET(OpcUaNode, result, 1460);

static_assert(hasLayout<_OpcUaClientConfig, 404, 4>());
EXPECT_OFFSET(_OpcUaClientConfig, timeout, 0);
EXPECT_OFFSET(_OpcUaClientConfig, reserved, 4);
EXPECT_OFFSET(_OpcUaClientConfig, endpointUrl, 8);
EXPECT_OFFSET(_OpcUaClientConfig, securityPolicy, 136);
EXPECT_OFFSET(_OpcUaClientConfig, securityMode, 140);
EXPECT_OFFSET(_OpcUaClientConfig, userIdentity, 144);
EXPECT_OFFSET(_OpcUaClientConfig, userName, 148);
EXPECT_OFFSET(_OpcUaClientConfig, password, 212);
EXPECT_OFFSET(_OpcUaClientConfig, sessionName, 276);

static_assert(hasLayout<_OpcUa_EndpointMsg, 108, 4>());
EXPECT_OFFSET(_OpcUa_EndpointMsg, endpointUrl, 0);
EXPECT_OFFSET(_OpcUa_EndpointMsg, securityPolicy, 100);
EXPECT_OFFSET(_OpcUa_EndpointMsg, securityMode, 104);

static_assert(hasLayout<_OpcUa_DiscoveryUrlMsg, 2264, 4>());
EXPECT_OFFSET(_OpcUa_DiscoveryUrlMsg, discoveryUrl, 0);
EXPECT_OFFSET(_OpcUa_DiscoveryUrlMsg, endpoints, 100);
EXPECT_OFFSET(_OpcUa_DiscoveryUrlMsg, endpointCount, 2260);

static_assert(hasLayout<_OpcUa_ServerMsg, 34164, 4>());
EXPECT_OFFSET(_OpcUa_ServerMsg, applicationUri, 0);
EXPECT_OFFSET(_OpcUa_ServerMsg, applicationName, 100);
EXPECT_OFFSET(_OpcUa_ServerMsg, discoveryUrls, 200);
EXPECT_OFFSET(_OpcUa_ServerMsg, discoveryUrlCount, 34160);

static_assert(hasLayout<_OpcUa_ServerConfigMsg, 341644, 4>());
EXPECT_OFFSET(_OpcUa_ServerConfigMsg, servers, 0);
EXPECT_OFFSET(_OpcUa_ServerConfigMsg, serverCount, 341640);

static_assert(hasLayout<_OpcUaCertificateMsg, 384, 8>());
EXPECT_OFFSET(_OpcUaCertificateMsg, commonName, 0);
EXPECT_OFFSET(_OpcUaCertificateMsg, organization, 32);
EXPECT_OFFSET(_OpcUaCertificateMsg, organizationUnit, 64);
EXPECT_OFFSET(_OpcUaCertificateMsg, locality, 96);
EXPECT_OFFSET(_OpcUaCertificateMsg, state, 128);
EXPECT_OFFSET(_OpcUaCertificateMsg, country, 160);
EXPECT_OFFSET(_OpcUaCertificateMsg, domainComponent, 192);
EXPECT_OFFSET(_OpcUaCertificateMsg, validFrom, 224);
EXPECT_OFFSET(_OpcUaCertificateMsg, validTo, 256);
EXPECT_OFFSET(_OpcUaCertificateMsg, applicationUri, 288);
EXPECT_OFFSET(_OpcUaCertificateMsg, serialNumber, 320);
EXPECT_OFFSET(_OpcUaCertificateMsg, thumbprint, 352);

static_assert(hasLayout<OpcUa_ReadNode, 24, 8>());
EXPECT_OFFSET(OpcUa_ReadNode, node, 0);
EXPECT_OFFSET(OpcUa_ReadNode, value, 8);
EXPECT_OFFSET(OpcUa_ReadNode, size, 16);

static_assert(hasLayout<OpcUa_WriteNode, 24, 8>());
EXPECT_OFFSET(OpcUa_WriteNode, node, 0);
EXPECT_OFFSET(OpcUa_WriteNode, value, 8);
EXPECT_OFFSET(OpcUa_WriteNode, size, 16);

static_assert(hasLayout<_monitItemMsg, 168, 8>());
EXPECT_OFFSET(_monitItemMsg, monitoredItemId, 0);
EXPECT_OFFSET(_monitItemMsg, clientHandle, 8);
EXPECT_OFFSET(_monitItemMsg, node, 16);
EXPECT_OFFSET(_monitItemMsg, arrayIndex, 24);

static_assert(hasLayout<_OpcUaDataChangeMsg, 664, 8>());
static_assert(std::is_trivially_copyable<_OpcUaDataChangeMsg>::value, "passed by value on the stack");
EXPECT_OFFSET(_OpcUaDataChangeMsg, nodeId, 0);
EXPECT_OFFSET(_OpcUaDataChangeMsg, dataType, 256);
EXPECT_OFFSET(_OpcUaDataChangeMsg, value, 260);
EXPECT_OFFSET(_OpcUaDataChangeMsg, valueSize, 516);
EXPECT_OFFSET(_OpcUaDataChangeMsg, arrayIndex, 520);

static_assert(hasLayout<COpcUaNodelist, 16, 8>());
EXPECT_OFFSET(COpcUaNodelist, root, 0);
EXPECT_OFFSET(COpcUaNodelist, lookupHead, 8);
static_assert(!std::is_polymorphic<COpcUaNodelist>::value);

static_assert(sizeof(COpcUaClientImp) == 8 && std::is_abstract<COpcUaClientImp>::value,
              "virtual table pointer alone");
static_assert(sizeof(COpcUaClientInterface) == 16, "virtual table pointer and implementation pointer");
static_assert(std::has_virtual_destructor<COpcUaClientInterface>::value);
static_assert(!std::is_copy_constructible<COpcUaClientInterface>::value);
static_assert(!std::is_move_constructible<COpcUaClientInterface>::value);
static_assert(!std::is_copy_assignable<COpcUaClientInterface>::value);
static_assert(sizeof(COpcUaClientInterface::OpcUaCallBack) == 8, "virtual table pointer alone");
static_assert(!std::has_virtual_destructor<COpcUaClientInterface::OpcUaCallBack>::value);
