#ifndef OPCUA_TYPES_H
#define OPCUA_TYPES_H

#include <string>

/// Marks what libopcuaclient exports.
#define OPCUACLIENT_EXPORT __attribute__((visibility("default")))

/// Built-in type of a value; the numbers are OPC UA's own (OPC UA Part 6, 5.1.2). An enumeration is an
/// Int32.
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

/// Shape of a value, or the element that is selected in one. For a scalar only `kind` has a meaning.
struct _ArrayType {
    /// 0 scalar, 1 array or matrix.
    int kind;
    /// Length of (or index in) each dimension, outermost first.
    unsigned long dims[16];
    /// How many entries of `dims` count: 1 for a one-dimensional array. Of more than 16 dimensions the
    /// first 16.
    int dimCount;
};

/// One node of the address space.
///
/// Browsing and lookup make records, which belong to the library. An application may declare its own:
/// zero it (`OpcUaNode node{};`), and set `nodeId` and `dataType` to read and write with it.
///
/// The text fields are UTF-8 in 256 bytes each. A text of 256 bytes or more fills its field without a
/// terminating zero: bound every read by 256 (for example `printf("%.256s", node->displayName)`).
struct OpcUaNode {
    /// Null for the tree's root and for looked-up nodes.
    OpcUaNode* parent;
    /// Next sibling, null at the end.
    OpcUaNode* next;
    /// First child; null without children and before the node was browsed. The first looked-up node has the
    /// others here.
    OpcUaNode* child;
    /// What the value operations convert to and from. Browsing sets the type of the value that the node
    /// has then: Null when it has none, when it can't be read, and for types that this interface does not
    /// convert. Change it where you know better.
    _OpcUaDataType dataType;
    /// Not used; what is in it has no meaning.
    char reserved[256];
    /// Not used; 0 in the library's records.
    int reservedFlag;
    /// Shape of the value when the node was browsed; scalar for looked-up nodes.
    _ArrayType arrayInfo;
    /// OPC UA Part 3, 5.2.3: 1 Object, 2 Variable, 4 Method, 8 ObjectType, 16 VariableType, 32
    /// ReferenceType, 64 DataType, 128 View; 0 for looked-up nodes and for a root "Self_Root".
    int nodeClass;
    /// Locale of the display name, for example "en"; "CH" for a root.
    char locale[256];
    /// Text of the display name.
    char displayName[256];
    /// "<namespace index>:<name>"; "Root" or "Self_Root" for a root.
    char browseName[256];
    /// The record's key, in the form of OPC UA Part 6, 5.3.1.10: "ns=2;s=Line1.Speed", "i=84".
    /// One that browsing had to cut, or that ends early because the server's id holds a zero byte, names
    /// another node or none; the trace tells. Do not read or write by such a record.
    char nodeId[256];
    /// Outcome for this node of a multi-node operation: 0 or a result code.
    int result;
};

/// Parameters of OpcUaConnect. Every text is UTF-8 and ends with a zero, or with its field.
///
/// Zeros are an unsecured connection without a user.
struct _OpcUaClientConfig {
    /// Milliseconds for the whole connect, name resolution included; 0 or less: 5000. Asking a server for
    /// its endpoints, with security, comes before and takes 10 s at most.
    int timeout;
    /// Not used.
    int reserved;
    /// "opc.tcp://host:port[/path]". This is where the client connects to, whatever host name the server
    /// announces.
    char endpointUrl[128];
    /// 0 None, 1 Basic128Rsa15, 2 Basic256, 3 Basic256Sha256, 4 Aes128_Sha256_RsaOaep, 5
    /// Aes256_Sha256_RsaPss (OPC UA Part 7, 6.6); any other number counts as None. 1 and 2 are weak:
    /// for servers that know no better.
    int securityPolicy;
    /// 0 none, 1 sign, 2 sign and encrypt; any other number counts as none. Goes with the policy: none with
    /// None, one of the others with the others.
    int securityMode;
    /// 0 anonymous, 1 user name and password, 2 user certificate; any other number counts as anonymous.
    int userIdentity;
    /// With identity 1 the user; with 2 the common name if a user certificate must be made.
    char userName[64];
    /// With identity 1.
    char password[64];
    /// Name of the session in the server's diagnostics; empty: "Kestrova@RK4400".
    char sessionName[128];
};

/// Verbosity of the trace file: a level writes what those below it write, and any other number nothing.
///
/// What the connection itself does is chosen on its own: from level 3 on a line for each channel that opens,
/// is renewed or closed, and from 5 on one for each message.
enum _OpcUaClientTraceLevel : int {
    OpcUaTraceLevel_Errors = 1,
    OpcUaTraceLevel_Warnings = 2,
    OpcUaTraceLevel_LifeCycle = 3,
    OpcUaTraceLevel_Information = 4,
    OpcUaTraceLevel_Debugging = 5,
    OpcUaTraceLevel_Details = 6,
    OpcUaTraceLevel_Everything = 7
};

/// One endpoint of a server (OPC UA Part 4, 7.14).
struct _OpcUa_EndpointMsg {
    char endpointUrl[100]; ///< as the server announces it
    /// Numbered as in _OpcUaClientConfig; 0 also for a policy without a number.
    int securityPolicy;
    /// Numbered as in _OpcUaClientConfig.
    int securityMode;
};

/// One discovery URL of a server with what it answered.
struct _OpcUa_DiscoveryUrlMsg {
    char discoveryUrl[100]; ///< as the server announces it
    /// At the index that the server gave them. An endpoint that the URL's scheme can't reach leaves its
    /// entry untouched, so the valid entries need not be the first ones.
    _OpcUa_EndpointMsg endpoints[20];
    /// Number of valid entries of `endpoints`; untouched when the URL did not answer.
    unsigned int endpointCount;
};

/// One server (OPC UA Part 4, 7.2).
struct _OpcUa_ServerMsg {
    char applicationUri[100]; ///< who the server is, whatever it is called
    /// Without its locale.
    char applicationName[100];
    /// Where it can be asked for its endpoints, and what came of that.
    _OpcUa_DiscoveryUrlMsg discoveryUrls[15];
    /// Number of valid entries of `discoveryUrls`.
    unsigned int discoveryUrlCount;
};

/// Result of OpcUaDiscover. Texts are UTF-8; one of 100 bytes or more fills its field without a
/// terminating zero.
struct _OpcUa_ServerConfigMsg {
    _OpcUa_ServerMsg servers[10]; ///< in the order of the answer
    /// Number of valid entries of `servers`.
    unsigned int serverCount;
};

/// A server's certificate, for the application's trust decision. All texts are UTF-8, and empty where the
/// certificate says nothing.
struct _OpcUaCertificateMsg {
    std::string commonName;       ///< this and the next six name the certificate's issuer
    std::string organization;     ///< the issuer's, O
    std::string organizationUnit; ///< the issuer's, OU
    std::string locality;         ///< the issuer's, L
    std::string state;            ///< the issuer's, ST
    std::string country;          ///< the issuer's, C
    std::string domainComponent;  ///< the issuer's, DC
    std::string validFrom;        ///< UTC, "2026-03-01T12:30:00.000Z"
    std::string validTo;          ///< UTC, likewise
    std::string applicationUri;   ///< the application that the certificate was made for
    std::string serialNumber;     ///< hexadecimal
    std::string thumbprint;       ///< hexadecimal; SHA-1 of the whole certificate
};

/// One node to read; buffer and size as for OpcUaGetValue.
struct OpcUa_ReadNode {
    OpcUaNode* node; ///< `result` receives the outcome
    void* value;     ///< receives the value
    int size;        ///< in: capacity of `value` for texts; out: bytes of the value
};

/// One node to write; buffer and size as for OpcUaSetValue.
struct OpcUa_WriteNode {
    OpcUaNode* node; ///< `result` receives the outcome
    void* value;     ///< the bytes to write
    int size;        ///< number of valid bytes in `value`, cut to the type's width; not used for texts
};

/// Book-keeping of one monitored item.
struct _monitItemMsg {
    unsigned long monitoredItemId; ///< the server's identifier
    unsigned long clientHandle;    ///< this client's identifier
    OpcUaNode* node;               ///< the library's copy of the application's record
    _ArrayType arrayIndex; ///< the element that the application selected; `kind` 0 for the whole value
};

/// One data change.
///
///     dataType            value                                       valueSize
///     Boolean             1 byte, 0 or 1                              1
///     other numbers       their width, host byte order, unaligned     1, 2, 4 or 8
///     String to 255 bytes UTF-8 and a terminating zero                its length
///     longer String       its first 256 bytes, no terminating zero    255
///     Null                nothing                                     0
///
/// Of an array or matrix that was added without indices only `nodeId` and `dataType` have a meaning: read the
/// value. For a type that this interface does not convert (DateTime, structures, ...) only `nodeId` and
/// `arrayIndex` have.
struct _OpcUaDataChangeMsg {
    char nodeId[256];        ///< of the record that was added; may fill the field
    _OpcUaDataType dataType; ///< what `value` holds
    char value[256];         ///< see above
    int valueSize;           ///< see above
    _ArrayType arrayIndex;   ///< the element that the application selected; `kind` 0 for the whole value
};

#endif
