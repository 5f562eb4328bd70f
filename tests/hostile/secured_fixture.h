#pragma once

#include <string>
#include <vector>

#include "hostile/hostile_fixture.h"
#include "integration/secured_client_fixture.h"
#include "integration/trace_file.h"

/// A client that asks for security, and whose application accepts each server certificate once.
class SecuredHostileTest : public HostileTest {
protected:
    SecuredHostileTest();

    static std::string policyUri(const std::string& name) {
        return "http://opcfoundation.org/UA/SecurityPolicy#" + name;
    }
    /// The number of a policy in a client's configuration: 0 None, ... 5 Aes256_Sha256_RsaPss.
    static const std::vector<std::string>& policies();
    static scripted::Offer offer(int policy, UA_MessageSecurityMode mode);
    /// Announces Basic256Sha256 with Sign and SignAndEncrypt, beside an endpoint without security.
    void offerSecurity(const scripted::Identity& identity = scripted::usualIdentity());

    int secureConnect(int policy = 3, int mode = 2, int timeout = 10000);
    int passwordConnect(int policy, int mode);
    /// Connects, subscribes and monitors the node "ns=1;s=Item0" over a secured channel.
    void secureMonitor(int policy = 3, int mode = 2);
    int secureConnects() { return m_trust.asked; }
    bool passwordWasSent();

    const std::string password = "s3cret-w0rd";

private:
    int connectWith(_OpcUaClientConfig config, int policy, int mode);

    Operator m_trust{Operator::once};
};
