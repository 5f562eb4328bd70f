#include "client/opcua_client.h"

int COpcUaClient::checkServerCertificateTrust(UaClientSdk::SessionSecurityInfo&) {
    // Nothing verifies a certificate yet, and what was not examined is not trusted.
    return result::serverCertificateRejected;
}
