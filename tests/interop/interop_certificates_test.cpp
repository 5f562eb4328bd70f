// A server with a certificate from a company's authority, which sends the whole chain.
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "interop_fixture.h"
#include "secured_client_fixture.h"
#include "security_matrix.h"
#include "support/child_process.h"

namespace fs = std::filesystem;

namespace {

class InteropChain : public SecuredClientTest {
protected:
    static void SetUpTestSuite() {
        const test_support::ProgramResult made = test_support::runProgram(
            INTEROP_FOLDER "/make_chain.sh", {material->path().string(), "urn:kestrova:interop-server"});
        ASSERT_EQ(made.end.exitCode, 0) << made.standardError;
        server =
            std::make_unique<InteropServer>(std::vector<std::string>{file("chain.pem"), file("server.key")});
    }
    static void TearDownTestSuite() {
        server.reset();
        material.reset();
    }

    InteropChain() { EXPECT_EQ(client.installOpcUaCallBack(&decider), 0); }
    ~InteropChain() override { client.OpcUaDisConnect(); } // the callback must not outlive what it uses

    static const std::string& url() { return server->url(); }

    /// As a company's administrator does; the server sends the intermediate authority along.
    static void trustAuthority() {
        put("root.der", "trusted/certs");
        put("root.crl", "trusted/crl");
        put("middle.crl", "issuers/crl");
    }
    static void put(const std::string& name, const std::string& where) {
        const fs::path folder = directory() / "pkiclient" / where;
        fs::create_directories(folder);
        fs::copy_file(file(name), folder / name);
    }

    Operator decider{Operator::reject};

private:
    static std::string file(const std::string& name) { return (material->path() / name).string(); }

    static inline std::unique_ptr<test_support::TemporaryDirectory> material =
        std::make_unique<test_support::TemporaryDirectory>();
    static inline std::unique_ptr<InteropServer> server;
};

TEST_F(InteropChain, OfATrustedAuthorityConnectsWithEveryPolicyModeAndIdentity) {
    trustAuthority();
    walkSecurityMatrix(
        "node-opcua with a chain", [](const SecurityCell&) { return std::string(); },
        [&](const SecurityCell& cell) {
            SecurityChoice choice;
            choice.policy = cell.policy;
            choice.mode = cell.mode;
            choice.identity = cell.identity;
            _OpcUaClientConfig config = securedConfig(url(), choice);
            const int code = client.OpcUaConnect(config);
            if (code == 0) {
                EXPECT_EQ(readText("ns=2;s=Scalar.String"), "Grüße");
                EXPECT_EQ(client.OpcUaDisConnect(), 0);
            }
            return code;
        });
    EXPECT_EQ(decider.asked, 0);
}

TEST_F(InteropChain, IsPutToTheApplicationWithoutTheListOfWhoWasRevoked) {
    put("root.der", "trusted/certs");
    put("root.crl", "trusted/crl");
    _OpcUaClientConfig config = securedConfig(url(), SecurityChoice());
    constexpr int rejected = 23;
    EXPECT_EQ(client.OpcUaConnect(config), rejected);
    EXPECT_EQ(decider.asked, 1);
}

} // namespace
