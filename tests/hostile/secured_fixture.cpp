#include "hostile/secured_fixture.h"

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

using namespace scripted;

SecuredHostileTest::SecuredHostileTest() {
    const std::filesystem::path directory = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    std::filesystem::remove_all(directory / "pkiclient");
    cap.set(std::chrono::seconds(60)); // keys are made
    client.installOpcUaCallBack(&m_trust);
}

const std::vector<std::string>& SecuredHostileTest::policies() {
    static const std::vector<std::string> names{
        "None",           "Basic128Rsa15",         "Basic256",
        "Basic256Sha256", "Aes128_Sha256_RsaOaep", "Aes256_Sha256_RsaPss"};
    return names;
}

Offer SecuredHostileTest::offer(int policy, UA_MessageSecurityMode mode) {
    Offer made;
    made.policyUri = policyUri(policies().at(static_cast<std::size_t>(policy)));
    made.mode = mode;
    return made;
}

void SecuredHostileTest::offerSecurity(const Identity& identity) {
    server.offer(
        {Offer(), offer(3, UA_MESSAGESECURITYMODE_SIGN), offer(3, UA_MESSAGESECURITYMODE_SIGNANDENCRYPT)},
        identity);
}

int SecuredHostileTest::connectWith(_OpcUaClientConfig config, int policy, int mode) {
    setField(config.endpointUrl, server.url());
    config.securityPolicy = policy;
    config.securityMode = mode;
    return client.OpcUaConnect(config);
}

int SecuredHostileTest::secureConnect(int policy, int mode, int timeout) {
    _OpcUaClientConfig config{};
    config.timeout = timeout;
    return connectWith(config, policy, mode);
}

int SecuredHostileTest::passwordConnect(int policy, int mode) {
    _OpcUaClientConfig config{};
    config.timeout = 10000;
    config.userIdentity = 1;
    setField(config.userName, "operator");
    setField(config.password, password);
    return connectWith(config, policy, mode);
}

void SecuredHostileTest::secureMonitor(int policy, int mode) {
    ASSERT_EQ(secureConnect(policy, mode), 0);
    // The application that has decided hands over to the one that records.
    ASSERT_EQ(client.installOpcUaCallBack(&application), 0);
    ASSERT_EQ(client.OpcUaCreateSubScription(50), 0);
    ASSERT_EQ(add("ns=1;s=Item0"), 0);
    ASSERT_TRUE(waitForValue(42));
}

bool SecuredHostileTest::passwordWasSent() {
    const Bytes request = server.lastContent(typeOf<UA_ActivateSessionRequest>());
    return request.find(password) != Bytes::npos;
}
