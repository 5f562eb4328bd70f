#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "client_fixture.h"
#include "support/text_file.h"

using test_support::contentOf;

/// Decides about server certificates as the case says, and counts how often it was asked.
class Operator final : public COpcUaClientInterface::OpcUaCallBack {
public:
    static constexpr int once = 0;
    static constexpr int always = 1;
    static constexpr int reject = 2;

    explicit Operator(int answer) : m_answer(answer) {}
    void OpcUaDataChange(_OpcUaDataChangeMsg) override {}
    int OpcUaTrustServerCertificate(_OpcUaCertificateMsg certificate) override {
        ++asked;
        last = certificate;
        return m_answer;
    }

    int asked = 0;
    _OpcUaCertificateMsg last;

private:
    int m_answer;
};

/// What a connect asks for.
struct SecurityChoice {
    static constexpr int signOnly = 1;
    static constexpr int signAndEncrypt = 2;
    static constexpr int basic256Sha256 = 3;
    static constexpr int anonymous = 0;
    static constexpr int byPassword = 1;
    static constexpr int byCertificate = 2;

    int policy = basic256Sha256;
    int mode = signAndEncrypt;
    int identity = anonymous;
    std::string password = "plant";
    std::string userName = "operator";
};

/// A client whose certificate store lies beside the program, empty when a case begins: cases that run in one
/// program must not inherit it.
class SecuredClientTest : public ClientTest {
protected:
    SecuredClientTest();

    static std::filesystem::path directory();
    static std::filesystem::path own(const std::string& file) { return directory() / "pkiclient/own" / file; }
    static std::filesystem::path clientCertificate() { return own("certs/HMIClient.der"); }
    static std::filesystem::path clientKey() { return own("private/HMIClient.pem"); }
    static std::filesystem::path userCertificate() { return directory() / "pkiuser/own/certs/user.der"; }
    static std::filesystem::path userKey() { return directory() / "pkiuser/own/private/user.pem"; }
    static std::filesystem::path trustList() { return directory() / "pkiclient/trusted/certs"; }
    /// Names of the entries of a directory, in order.
    static std::vector<std::string> namesIn(const std::filesystem::path& directory);

    static _OpcUaClientConfig securedConfig(const std::string& url, const SecurityChoice& security);
    /// Connects to the case's server.
    int secureConnect(const SecurityChoice& security = {}) { return secureConnect(client, security); }
    int secureConnect(COpcUaClientInterface& with, const SecurityChoice& security);

    /// Starts a trace of this level (1 errors, 2 warnings, ... 7 everything).
    void startTrace(int level = 2);
    /// What came to the trace since startTrace().
    std::string trace() const;

private:
    std::uintmax_t m_traceStart = 0;
};
