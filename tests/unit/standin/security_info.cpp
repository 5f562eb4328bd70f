#include "uaclient/security_info.h"

#include "standin.h"

using standin::script;

namespace UaClientSdk {

ClientSecurityInfo::ClientSecurityInfo() = default;
ClientSecurityInfo::~ClientSecurityInfo() = default;

SessionSecurityInfo::SessionSecurityInfo()
    : securityPolicyUri("http://opcfoundation.org/UA/SecurityPolicy#None"),
      messageSecurityMode(OpcUa_MessageSecurityMode_None) {}
SessionSecurityInfo::~SessionSecurityInfo() = default;

void SessionSecurityInfo::setAnonymousUserIdentity() {
    script().record("SessionSecurityInfo::setAnonymousUserIdentity", this);
}

} // namespace UaClientSdk
