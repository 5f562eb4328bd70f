#include "secured_client_fixture.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace fs = std::filesystem;

SecuredClientTest::SecuredClientTest() {
    for (const char* kept : {"pkiclient", "pkiuser", "OpcUaClientConfig.ini"})
        fs::remove_all(directory() / kept);
}

fs::path SecuredClientTest::directory() {
    return fs::read_symlink("/proc/self/exe").parent_path();
}

std::vector<std::string> SecuredClientTest::namesIn(const fs::path& directory) {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

_OpcUaClientConfig SecuredClientTest::securedConfig(const std::string& url, const SecurityChoice& security) {
    _OpcUaClientConfig config = configFor(url);
    config.timeout = 20000;
    config.securityPolicy = security.policy;
    config.securityMode = security.mode;
    config.userIdentity = security.identity;
    setField(config.userName, security.userName);
    setField(config.password, security.password);
    return config;
}

int SecuredClientTest::secureConnect(COpcUaClientInterface& with, const SecurityChoice& security) {
    _OpcUaClientConfig config = securedConfig(server().url(), security);
    return with.OpcUaConnect(config);
}

void SecuredClientTest::startTrace(int level) {
    const fs::path file = directory() / "OpcUaClient.log";
    m_traceStart = fs::exists(file) ? fs::file_size(file) : 0;
    EXPECT_EQ(client.OpcUaInit(static_cast<_OpcUaClientTraceLevel>(level)), 0);
}

std::string SecuredClientTest::trace() const {
    return contentOf(directory() / "OpcUaClient.log").substr(m_traceStart);
}
