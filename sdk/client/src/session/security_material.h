#pragma once

#include "uaclient/security_info.h"
#include "uapki/store.h"
#include "uastack/key.h"

namespace UaClientSdk {

struct ClientSecurityInfo::Material {
    Material() { OpcUa_Key_Initialize(&privateKey); }
    ~Material() { OpcUa_Key_Clear(&privateKey); }
    Material(const Material&) = delete;
    Material& operator=(const Material&) = delete;

    UaPkiStoreLocations store;
    UaByteString certificate;
    UaString certificateFile;
    OpcUa_Key privateKey;
    /// Endpoints of the last query.
    UaEndpointDescriptions offers;
};

struct SessionSecurityInfo::User {
    enum class Kind { Anonymous, Password, Certificate };

    User() { OpcUa_Key_Initialize(&secret); }
    ~User() { OpcUa_Key_Clear(&secret); }
    User(const User&) = delete;
    User& operator=(const User&) = delete;

    void set(Kind newKind, const UaString& newName, const UaByteString& newCertificate,
             const OpcUa_Byte* bytes, int length);

    Kind kind = Kind::Anonymous;
    UaString name;
    UaByteString certificate;
    OpcUa_Key secret; ///< the password or the private key
};

} // namespace UaClientSdk
