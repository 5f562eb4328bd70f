// Who refuses what, at which step, and what to look at: the trace says it, at its lowest level.
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "certificate_server.h"
#include "material.h"
#include "secured_client_fixture.h"
#include "support/temporary_directory.h"
#include "uapki/certificate.h"

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr int errorsOnly = 1;
constexpr int connectFailed = 1;

class Refusals : public SecuredClientTest {
protected:
    void expectRefused(const SecurityChoice& choice, int code = connectFailed) {
        startTrace(errorsOnly);
        EXPECT_EQ(secureConnect(choice), code) << trace();
    }
    std::string byServer(const std::string& step) {
        return "refused by the server " + server().url() + " while " + step;
    }
    static std::string describe(const fs::path& file) {
        return UaPkiCertificate::fromDERFile(UaString(file.string())).description().text();
    }
    std::string emptyFolder() const { return m_folder.path().string(); }

    const SecurityChoice secured{};
    const SecurityChoice withPassword{3, 2, SecurityChoice::byPassword};
    const SecurityChoice withCertificate{3, 2, SecurityChoice::byCertificate};

private:
    test_support::TemporaryDirectory m_folder;
};

TEST_F(Refusals, ByAServerThatDoesNotTrustThisClient) {
    startServer({"--trusted-clients", emptyFolder()});
    expectRefused(secured);
    EXPECT_THAT(trace(),
                AllOf(HasSubstr(byServer("opening the secure channel: Bad")),
                      HasSubstr("Basic256Sha256 with mode SignAndEncrypt"),
                      HasSubstr("does the server trust this client's own " + describe(clientCertificate())),
                      HasSubstr(clientCertificate().string())));
    EXPECT_THAT(describe(clientCertificate()), AllOf(HasSubstr("CN=HMI_RK4400"), HasSubstr("thumbprint")));
}

TEST_F(Refusals, OfAWrongPassword) {
    startServer({"--security"});
    SecurityChoice wrong = withPassword;
    wrong.password = "wr0ng-s3cret";
    expectRefused(wrong);
    EXPECT_THAT(trace(), AllOf(HasSubstr(byServer("activating the session for its user: Bad")),
                               HasSubstr("user name \"operator\""), Not(HasSubstr("wr0ng-s3cret"))));
}

TEST_F(Refusals, OfAUserCertificate) {
    startServer({"--security", "--trusted-users", emptyFolder()});
    expectRefused(withCertificate);
    EXPECT_THAT(trace(), AllOf(HasSubstr(byServer("activating the session for its user: Bad")),
                               HasSubstr("user " + describe(userCertificate())),
                               HasSubstr(userCertificate().string()), HasSubstr(userKey().string())));
}

TEST_F(Refusals, OfAUserKeyOfAnotherPair) {
    startServer({"--security"});
    ASSERT_EQ(secureConnect(withCertificate), 0);
    fs::copy_file(clientKey(), userKey(), fs::copy_options::overwrite_existing);
    expectRefused(withCertificate);
    EXPECT_THAT(
        trace(),
        AllOf(HasSubstr("refused by this client: the user's private key does not belong to the user " +
                        describe(userCertificate())),
              HasSubstr(userKey().string())));
}

TEST_F(Refusals, OfAPolicyAndAModeThatAreNotOffered) {
    startServer({"--security"});
    expectRefused({1, SecurityChoice::signOnly});
    EXPECT_THAT(trace(),
                AllOf(HasSubstr("refused by this client: the server " + server().url() +
                                " offers no endpoint with Basic128Rsa15 with mode Sign"),
                      HasSubstr("it offers "), HasSubstr("Basic256Sha256 with mode SignAndEncrypt")));
    expectRefused({3, 0});
    EXPECT_THAT(trace(), HasSubstr("offers no endpoint with Basic256Sha256 with mode None"));
}

TEST_F(Refusals, OfAnIdentityThatIsNotOffered) {
    startServer({"--security", "--no-anonymous"});
    expectRefused(secured);
    EXPECT_THAT(trace(),
                HasSubstr("refused by this client: the server's endpoint with Basic256Sha256 with mode "
                          "SignAndEncrypt accepts no anonymous identity"));
}

TEST_F(Refusals, OfASessionTooMany) {
    startServer({"--security", "--max-sessions", "1"});
    COpcUaClientInterface first;
    ASSERT_EQ(secureConnect(first, secured), 0);
    expectRefused(secured);
    EXPECT_THAT(trace(), HasSubstr(byServer("creating the session: BadTooManySessions")));
    EXPECT_EQ(first.OpcUaDisConnect(), 0);
}

TEST_F(Refusals, WhereNothingListens) {
    const std::string url = startServer({"--security"}).url();
    stopServer();
    startTrace(errorsOnly);
    _OpcUaClientConfig config = securedConfig(url, secured);
    EXPECT_EQ(client.OpcUaConnect(config), 19);
    EXPECT_THAT(trace(), AllOf(HasSubstr(url), HasSubstr("told no endpoint"), Not(HasSubstr("refused by"))));
}

TEST_F(Refusals, OfOurOwnKeyThatIsMissing) {
    startServer({"--security"});
    ASSERT_EQ(secureConnect(), 0);
    fs::remove(clientKey());
    expectRefused(secured, 21);
    EXPECT_THAT(trace(), AllOf(HasSubstr("no private key read from " + clientKey().string()),
                               HasSubstr("cannot serve this client's own " + describe(clientCertificate())),
                               HasSubstr(clientCertificate().string())));
}

/// Decides, and does something between the question and its answer.
class Meddler final : public COpcUaClientInterface::OpcUaCallBack {
public:
    explicit Meddler(std::function<void()> action) : m_action(std::move(action)) {}
    void OpcUaDataChange(_OpcUaDataChangeMsg) override {}
    int OpcUaTrustServerCertificate(_OpcUaCertificateMsg) override {
        m_action();
        return Operator::always;
    }

private:
    std::function<void()> m_action;
};

TEST_F(Refusals, OfAServerThatShowsAnotherCertificateAfterwards) {
    const auto showing = [](const std::string& certificate) {
        return std::vector<std::string>{"--certificate", material::file(certificate + ".der").string(),
                                        "--private-key", material::file("server.key").string()};
    };
    const std::string port = std::to_string(startServer(showing("self_good")).port());
    Meddler meddler([&] {
        stopServer();
        std::vector<std::string> options = showing("self_other_host");
        options.insert(options.end(), {"--port", port});
        startServer(options);
    });
    ASSERT_EQ(client.installOpcUaCallBack(&meddler), 0);
    expectRefused(secured);
    EXPECT_EQ(errorText(), "连接服务器失败");
    EXPECT_EQ(client.OpcUaGetConnectStatus(), 0);
    // The channel was asked for with the certificate that was decided on, which this server does not have.
    EXPECT_THAT(
        trace(),
        AllOf(HasSubstr(byServer("opening the secure channel: Bad")),
              HasSubstr("has it still its own " +
                        UaPkiCertificate::fromDER(material::chain("self_good")).description().text())));
}

TEST_F(Refusals, OfACertificateThatWasNotDecidedOn) {
    TwoFacedServer twoFaced(contentOf(material::file("self_good.der")),
                            contentOf(material::file("server.key")), MATERIAL_URI);
    Meddler meddler([&] { twoFaced.show(contentOf(material::file("self_other_host.der"))); });
    COpcUaClientInterface panel;
    ASSERT_EQ(panel.installOpcUaCallBack(&meddler), 0);
    startTrace(errorsOnly);
    _OpcUaClientConfig config = securedConfig(twoFaced.url(), secured);
    EXPECT_EQ(panel.OpcUaConnect(config), connectFailed);
    const std::string text = trace();
    EXPECT_THAT(text, HasSubstr("refused by this client: "));
    EXPECT_THAT(
        text, HasSubstr(UaPkiCertificate::fromDER(material::chain("self_other_host")).description().text()));
    EXPECT_THAT(text, Not(HasSubstr("refused by the server")));
    // The same server connects when it stays what it was.
    twoFaced.show(contentOf(material::file("self_good.der")));
    EXPECT_EQ(panel.OpcUaConnect(config), 0) << trace();
}

TEST_F(Refusals, AreNotMentionedWhereAllIsWell) {
    startServer({"--security"});
    ASSERT_EQ(secureConnect(withCertificate), 0); // makes all files, and trusts the server
    for (const SecurityChoice& choice : {secured, withPassword, withCertificate, SecurityChoice{0, 0, 0}}) {
        startTrace(3);
        ASSERT_EQ(secureConnect(choice), 0);
        EXPECT_THAT(trace(),
                    AllOf(HasSubstr("connected to"), Not(HasSubstr("WARNING")), Not(HasSubstr("ERROR"))));
    }
}

} // namespace
