// What the user's store and key may answer with: the SDK's own are good or bad, and never uncertain. So this
// program hides the two operations of the SDK's provider with its own, which say what the case wants.
#include <optional>

#include "secured_client_test.h"
#include "support/next_definition.h"
#include "uapki/provider.h"

namespace {

std::optional<UaStatus> storeStatus;
std::optional<UaStatus> keyStatus;

class UserStoreStatus : public SecuredClientTest {
protected:
    UserStoreStatus() { m_config.userIdentity = 2; }
    ~UserStoreStatus() override {
        storeStatus.reset();
        keyStatus.reset();
    }
};

} // namespace

UaStatus UaPkiProviderOpenSSL::openCertificateStore() {
    return storeStatus.has_value() ? *storeStatus : m_store.open();
}

UaStatus UaPkiProviderOpenSSL::loadPrivateKey(const UaString& file, OpcUa_UInt32 encoding,
                                              const char* password, OpcUa_Key* key) {
    using LoadPrivateKey =
        UaStatus (*)(UaPkiProviderOpenSSL*, const UaString&, OpcUa_UInt32, const char*, OpcUa_Key*);
    static const auto hidden = nextDefinition<LoadPrivateKey>(
        "_ZN20UaPkiProviderOpenSSL14loadPrivateKeyERK8UaStringjPKcP9OpcUa_Key");
    const UaStatus loaded = hidden(this, file, encoding, password, key);
    return keyStatus.value_or(loaded);
}

TEST_F(UserStoreStatus, GoodAloneOpensTheStore) {
    for (const OpcUa_StatusCode status : {uncertainStatus, badStatus, bothBitsStatus}) {
        storeStatus = UaStatus(status);
        EXPECT_EQ(tryConnect(), 27);
        EXPECT_EQ(message(), messages::userCertificateFailed);
        expectNoSession();
    }
    storeStatus = UaStatus();
    EXPECT_EQ(tryConnect(), 0);
}

TEST_F(UserStoreStatus, GoodAloneLoadsTheKey) {
    for (const OpcUa_StatusCode status : {uncertainStatus, badStatus, bothBitsStatus}) {
        keyStatus = UaStatus(status);
        EXPECT_EQ(tryConnect(), 25);
        EXPECT_EQ(message(), messages::userCertificateFailed);
        expectNoSession();
    }
    keyStatus.reset();
    EXPECT_EQ(tryConnect(), 0);
}
