#include "uaclient/security_info.h"

namespace UaClientSdk {

ClientSecurityInfo::ClientSecurityInfo() = default;
ClientSecurityInfo::~ClientSecurityInfo() = default;

SessionSecurityInfo::SessionSecurityInfo()
    : securityPolicyUri("http://opcfoundation.org/UA/SecurityPolicy#None"),
      messageSecurityMode(OpcUa_MessageSecurityMode_None) {}
SessionSecurityInfo::~SessionSecurityInfo() = default;

// Anonymous is what a session starts with, and so far the only identity there is.
void SessionSecurityInfo::setAnonymousUserIdentity() {}

} // namespace UaClientSdk
