#pragma once

#include "uabase/byte_string.h"
#include "uabase/string.h"
#include "uastack/export.h"
#include "uastack/protocol_types.h"

namespace UaClientSdk {

/// Security of a discovery or endpoint query. Without a client certificate the query runs unsecured.
class UASDK_EXPORT ClientSecurityInfo {
public:
    ClientSecurityInfo();
    virtual ~ClientSecurityInfo();
};

/// Security of a session: what the channel uses and who the user is.
class UASDK_EXPORT SessionSecurityInfo : public ClientSecurityInfo {
public:
    SessionSecurityInfo();
    ~SessionSecurityInfo() override;

    /// OPC UA Part 4, 7.41: the session runs without a user.
    void setAnonymousUserIdentity();

    /// Security policy URI; the policy None by default.
    UaString securityPolicyUri;
    /// OPC UA Part 4, 7.20; None by default.
    OpcUa_MessageSecurityMode messageSecurityMode;
    /// The server's certificate (DER) that the channel is bound to; empty without security.
    UaByteString serverCertificate;
};

} // namespace UaClientSdk
