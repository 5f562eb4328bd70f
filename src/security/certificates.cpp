#include "client/result_codes.h"
#include "security/configuration.h"

int Configuration::setupSecurity(UaClientSdk::SessionSecurityInfo&) {
    // There is no certificate store yet: a secured connect is refused, never made without one.
    return result::pkiProviderFailed;
}
