#ifndef OPCUA_TYPES_H
#define OPCUA_TYPES_H

#include <string>

/// Marks what libopcuaclient exports.
#define OPCUACLIENT_EXPORT __attribute__((visibility("default")))

/// Built-in type of a value; the numbers are OPC UA's own (OPC UA Part 6, 5.1.2).
enum _OpcUaDataType : int {
    OpcUaDataType_Null =
        0, ///< empty, or a type that this interface does not convert (DateTime, structures, ...)
    OpcUaDataType_Boolean = 1,
    OpcUaDataType_SByte = 2,
    OpcUaDataType_Byte = 3,
    OpcUaDataType_Int16 = 4,
    OpcUaDataType_UInt16 = 5,
    OpcUaDataType_Int32 = 6,
    OpcUaDataType_UInt32 = 7,
    OpcUaDataType_Int64 = 8,
    OpcUaDataType_UInt64 = 9,
    OpcUaDataType_Float = 10,
    OpcUaDataType_Double = 11,
    OpcUaDataType_String = 12
};

/// Shape of a value, or the element that is selected in one.
struct _ArrayType {
    int kind;               ///< 0 scalar, 1 array or matrix
    unsigned long dims[16]; ///< length of (or index in) each dimension, outermost first
    int dimCount;           ///< how many entries of dims count: 1 for a one-dimensional array, 16 at most
};

/// One node. Tree records belong to the library, records that the application declares belong to it.
///
/// The text fields are UTF-8 in 256 bytes each. A text of 256 bytes or more fills its field without a
/// terminating zero: bound every read by 256 (for example `printf("%.256s", node->displayName)`).
struct OpcUaNode {
    OpcUaNode* parent; ///< null for the tree's root and for looked-up nodes
    OpcUaNode* next;   ///< next sibling, null at the end
    OpcUaNode* child;  ///< first child; null without children or before the node was browsed
    _OpcUaDataType dataType;
    char reserved[256]; ///< never touched by the library
    int reservedFlag;
    _ArrayType arrayInfo; ///< shape of the value when the node was browsed
    int nodeClass; ///< OPC UA Part 3, 5.2.3: 1 Object, 2 Variable, 4 Method, 8 ObjectType, 16 VariableType,
                   ///< 32 ReferenceType, 64 DataType, 128 View; 0 for looked-up nodes
    char locale[256];      ///< locale of the display name
    char displayName[256]; ///< text of the display name
    char browseName[256];  ///< "<namespace index>:<name>"
    char nodeId[256];      ///< "ns=2;s=Line1.Speed", "i=84"; the record's key
    int result;            ///< outcome for this node of a multi-node operation
};

/// Parameters of OpcUaConnect. Every text is zero-terminated UTF-8.
struct _OpcUaClientConfig {
    int timeout;           ///< milliseconds for the whole connect; 0 or less: 5000
    int reserved;          ///< never read
    char endpointUrl[128]; ///< "opc.tcp://host:port[/path]"
    int securityPolicy; ///< 0 None, 1 Basic128Rsa15, 2 Basic256, 3 Basic256Sha256, 4 Aes128_Sha256_RsaOaep,
                        ///< 5 Aes256_Sha256_RsaPss
    int securityMode;   ///< 0 none, 1 sign, 2 sign and encrypt
    int userIdentity;   ///< 0 anonymous, 1 user name and password, 2 user certificate
    char userName[64];
    char password[64];
    char sessionName[128]; ///< empty: a fixed name
};

/// Verbosity of the trace file; greater shows more. Other values write nothing.
enum _OpcUaClientTraceLevel : int {
    OpcUaTraceLevel_Errors = 1,
    OpcUaTraceLevel_Warnings = 2,
    OpcUaTraceLevel_LifeCycle = 3,
    OpcUaTraceLevel_Information = 4,
    OpcUaTraceLevel_Debugging = 5,
    OpcUaTraceLevel_Details = 6,
    OpcUaTraceLevel_Everything = 7
};

/// One endpoint of a server.
struct _OpcUa_EndpointMsg {
    char endpointUrl[100];
    int securityPolicy; ///< numbered as in _OpcUaClientConfig
    int securityMode;   ///< numbered as in _OpcUaClientConfig
};

/// One discovery URL of a server with what it answered.
struct _OpcUa_DiscoveryUrlMsg {
    char discoveryUrl[100];
    _OpcUa_EndpointMsg endpoints[20];
    unsigned int
        endpointCount; ///< endpoints that suit the URL's scheme; they stay at the index the server gave them
};

/// One server.
struct _OpcUa_ServerMsg {
    char applicationUri[100];
    char applicationName[100];
    _OpcUa_DiscoveryUrlMsg discoveryUrls[15];
    unsigned int discoveryUrlCount;
};

/// Result of OpcUaDiscover. Texts of 100 bytes or more fill their field without a terminating zero.
struct _OpcUa_ServerConfigMsg {
    _OpcUa_ServerMsg servers[10];
    unsigned int serverCount;
};

/// A server's certificate, for the application's trust decision. All texts are UTF-8.
struct _OpcUaCertificateMsg {
    std::string commonName; ///< this and the next six name the certificate's issuer
    std::string organization;
    std::string organizationUnit;
    std::string locality;
    std::string state;
    std::string country;
    std::string domainComponent;
    std::string validFrom;
    std::string validTo;
    std::string applicationUri;
    std::string serialNumber;
    std::string thumbprint; ///< hexadecimal
};

/// One node to read.
struct OpcUa_ReadNode {
    OpcUaNode* node;
    void* value; ///< receives the value
    int size;    ///< in: capacity of `value` for texts; out: bytes of the value
};

/// One node to write.
struct OpcUa_WriteNode {
    OpcUaNode* node;
    void* value; ///< the bytes to write
    int size;    ///< number of valid bytes in `value`; not used for texts
};

/// Book-keeping of one monitored item.
struct _monitItemMsg {
    unsigned long monitoredItemId; ///< the server's identifier
    unsigned long clientHandle;
    OpcUaNode* node; ///< the library's copy of the application's record
    _ArrayType arrayIndex;
};

/// One data change.
struct _OpcUaDataChangeMsg {
    char nodeId[256];
    _OpcUaDataType dataType;
    char value[256];
    int valueSize;
    _ArrayType arrayIndex; ///< the element that the application selected
};

#endif
