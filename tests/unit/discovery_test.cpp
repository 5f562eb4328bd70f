#include <chrono>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "client_test.h"
#include "support/moved_clock.h"

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

constexpr char tcpProfile[] = "http://opcfoundation.org/UA-Profile/Transport/uatcp-uasc-uabinary";
constexpr char httpsProfile[] = "http://opcfoundation.org/UA-Profile/Transport/https-uabinary";
constexpr unsigned char untouched = 0xEE;

struct Server {
    std::string uri;
    std::string name;
    std::vector<std::string> urls;
};

struct Endpoint {
    std::string url = "opc.tcp://plant:4840";
    std::string policy = "http://opcfoundation.org/UA/SecurityPolicy#None";
    int mode = 1;
    std::string profile = tcpProfile;
};

using Query = standin::DiscoveryRequest;

void fillServers(UaApplicationDescriptions& target, const std::vector<Server>& servers) {
    target.create(static_cast<OpcUa_UInt32>(servers.size()));
    for (OpcUa_UInt32 i = 0; i < target.length(); ++i) {
        OpcUa_ApplicationDescription& out = target[i];
        out.applicationUri = ownedString(servers[i].uri);
        out.applicationName.locale = ownedString("de-DE");
        out.applicationName.text = ownedString(servers[i].name);
        const std::size_t count = servers[i].urls.size();
        if (count == 0)
            continue;
        out.discoveryUrls = static_cast<OpcUa_String*>(std::calloc(count, sizeof(OpcUa_String)));
        out.discoveryUrlsSize = count;
        for (std::size_t j = 0; j < count; ++j)
            out.discoveryUrls[j] = ownedString(servers[i].urls[j]);
    }
}

void fillEndpoints(UaEndpointDescriptions& target, const std::vector<Endpoint>& endpoints) {
    target.create(static_cast<OpcUa_UInt32>(endpoints.size()));
    for (OpcUa_UInt32 i = 0; i < target.length(); ++i) {
        target[i].endpointUrl = ownedString(endpoints[i].url);
        target[i].securityPolicyUri = ownedString(endpoints[i].policy);
        target[i].securityMode = static_cast<OpcUa_MessageSecurityMode>(endpoints[i].mode);
        target[i].transportProfileUri = ownedString(endpoints[i].profile);
    }
}

class Discovery : public ClientTest {
protected:
    Discovery() { std::memset(static_cast<void*>(&result()), untouched, sizeof(result())); }

    _OpcUa_ServerConfigMsg& result() { return m_guarded->record; }

    int discover(const std::string& url = "opc.tcp://lds:4840") {
        std::string text = url;
        const int code = m_client->OpcUaDiscover(text.data(), result());
        EXPECT_EQ(text, url) << "the caller's URL was changed";
        for (const unsigned char byte : m_guarded->after)
            EXPECT_EQ(byte, untouched) << "written behind the record";
        return code;
    }

    void answerServers(std::vector<Server> servers) {
        script().onFindServers = [servers = std::move(servers)](const Query&,
                                                                UaApplicationDescriptions& target) {
            fillServers(target, servers);
            return UaStatus();
        };
    }
    void answerEndpoints(std::vector<Endpoint> endpoints) {
        script().onGetEndpoints = [endpoints = std::move(endpoints)](const Query&,
                                                                     UaEndpointDescriptions& target) {
            fillEndpoints(target, endpoints);
            return UaStatus();
        };
    }
    /// One server with one URL that offers these endpoints; its entry of the result.
    _OpcUa_DiscoveryUrlMsg& discoverEndpoints(const std::vector<Endpoint>& endpoints,
                                              const std::string& url = "opc.tcp://plant:4840") {
        answerServers({{"urn:plant", "Plant", {url}}});
        answerEndpoints(endpoints);
        EXPECT_EQ(discover(), 0);
        return result().servers[0].discoveryUrls[0];
    }

    template <typename Part>
    static bool isUntouched(const Part& part) {
        const auto* bytes = reinterpret_cast<const unsigned char*>(&part);
        for (std::size_t i = 0; i < sizeof(part); ++i)
            if (bytes[i] != untouched)
                return false;
        return true;
    }

    std::vector<std::string> queriedUrls() {
        std::vector<std::string> urls;
        for (const standin::Call& call : script().calls())
            if (call.operation == "UaDiscovery::getEndpoints")
                urls.push_back(std::get<Query>(call.arguments).url);
        return urls;
    }

private:
    struct Guarded {
        _OpcUa_ServerConfigMsg record;
        unsigned char after[256];
    };
    static std::unique_ptr<Guarded> makeGuarded() {
        auto guarded = std::make_unique<Guarded>();
        std::memset(guarded->after, untouched, sizeof(guarded->after));
        return guarded;
    }
    std::unique_ptr<Guarded> m_guarded = makeGuarded();
};

std::vector<std::string> numberedUrls(std::size_t count) {
    std::vector<std::string> urls;
    for (std::size_t i = 0; i < count; ++i)
        urls.push_back("opc.tcp://plant:" + std::to_string(4840 + i));
    return urls;
}

} // namespace

TEST_F(Discovery, AsksForServersThenForEachUrlsEndpoints) {
    answerServers({{"urn:a", "A", {"opc.tcp://a:1", "opc.tcp://a:2"}}, {"urn:b", "B", {"opc.tcp://b:1"}}});
    answerEndpoints({Endpoint()});
    EXPECT_EQ(discover("opc.tcp://lds:4840/x"), 0);
    EXPECT_THAT(script().operations(), ElementsAre("UaDiscovery::UaDiscovery", "UaDiscovery::findServers",
                                                   "UaDiscovery::getEndpoints", "UaDiscovery::getEndpoints",
                                                   "UaDiscovery::getEndpoints"));
    EXPECT_EQ(script().requests<Query>().front().url, "opc.tcp://lds:4840/x");
    EXPECT_THAT(queriedUrls(), ElementsAre("opc.tcp://a:1", "opc.tcp://a:2", "opc.tcp://b:1"));
}

TEST_F(Discovery, OneSetOfObjectsServesEveryCall) {
    answerServers({{"urn:a", "A", {"opc.tcp://a:1", "opc.tcp://a:2"}}});
    EXPECT_EQ(discover(), 0);
    const auto queries = script().requests<Query>();
    ASSERT_THAT(queries, SizeIs(3));
    for (const Query& query : queries) {
        EXPECT_EQ(query.settings.callTimeout, 10000);
        EXPECT_EQ(query.discovery, queries[0].discovery);
        EXPECT_EQ(query.security, queries[0].security);
    }
}

/// Calls that take time, by a clock that is moved.
class SlowDiscovery : public Discovery {
protected:
    ~SlowDiscovery() override { test_support::moveClock(CLOCK_MONOTONIC, std::chrono::seconds(0)); }

    /// Every URL fails, or answers, after its ten seconds.
    void answerSlowly(bool answers) {
        script().onGetEndpoints = [this, answers](const Query&, UaEndpointDescriptions& endpoints) {
            pass(std::chrono::seconds(10));
            fillEndpoints(endpoints, {Endpoint()});
            return answers ? UaStatus() : UaStatus(badStatus);
        };
    }
    void pass(std::chrono::seconds time) {
        m_passed += time;
        test_support::moveClock(CLOCK_MONOTONIC, m_passed);
    }

private:
    std::chrono::seconds m_passed{0};
};

TEST_F(SlowDiscovery, AsksNoFurtherUrlAfterFiftySeconds) {
    answerServers({{"urn:a", "A", numberedUrls(15)}, {"urn:b", "B", {"opc.tcp://b:1"}}});
    answerSlowly(false);
    EXPECT_EQ(discover(), 19);
    EXPECT_THAT(queriedUrls(), SizeIs(5));
    EXPECT_EQ(result().serverCount, 2U);
    EXPECT_EQ(result().servers[0].discoveryUrlCount, 15U);
    EXPECT_STREQ(result().servers[0].discoveryUrls[14].discoveryUrl, "opc.tcp://plant:4854");
    EXPECT_TRUE(isUntouched(result().servers[0].discoveryUrls[14].endpointCount));
    EXPECT_STREQ(result().servers[1].applicationUri, "urn:b");
    EXPECT_STREQ(result().servers[1].discoveryUrls[0].discoveryUrl, "opc.tcp://b:1");
    EXPECT_TRUE(isUntouched(result().servers[1].discoveryUrls[0].endpointCount));
}

TEST_F(SlowDiscovery, KeepsWhatAnsweredInTime) {
    answerServers({{"urn:a", "A", numberedUrls(15)}});
    answerSlowly(true);
    EXPECT_EQ(discover(), 0);
    EXPECT_THAT(queriedUrls(), SizeIs(5));
    EXPECT_EQ(result().servers[0].discoveryUrls[4].endpointCount, 1U);
    EXPECT_TRUE(isUntouched(result().servers[0].discoveryUrls[5].endpointCount));
}

TEST_F(SlowDiscovery, CountsTheTimeOfTheServersQuery) {
    script().onFindServers = [this](const Query&, UaApplicationDescriptions& target) {
        pass(std::chrono::seconds(10));
        fillServers(target, {{"urn:a", "A", numberedUrls(15)}});
        return UaStatus();
    };
    answerSlowly(true);
    EXPECT_EQ(discover(), 0);
    EXPECT_THAT(queriedUrls(), SizeIs(4));
}

TEST_F(Discovery, TakesNoLockAndTouchesNoSession) {
    answerServers({{"urn:a", "A", {"opc.tcp://a:1"}}});
    EXPECT_EQ(discover(), 0);
    EXPECT_THAT(mutex_watch::locked(), IsEmpty());
    connect();
    EXPECT_EQ(discover(), 0);
    EXPECT_THAT(mutex_watch::locked(), IsEmpty());
    EXPECT_THAT(script().operations(), ElementsAre("UaDiscovery::UaDiscovery", "UaDiscovery::findServers",
                                                   "UaDiscovery::getEndpoints"));
    EXPECT_EQ(m_client->OpcUaDisConnect(), 0) << "the session is still there";
}

TEST_F(Discovery, StoresNoMessage) {
    storeEarlierMessage();
    script().onFindServers = [](const Query&, UaApplicationDescriptions&) { return UaStatus(badStatus); };
    EXPECT_EQ(discover(), 18);
    EXPECT_EQ(message(), earlierMessage);
    answerServers({});
    EXPECT_EQ(discover(), 19);
    EXPECT_EQ(message(), earlierMessage);
    answerServers({{"urn:a", "A", {"opc.tcp://a:1"}}});
    EXPECT_EQ(discover(), 0);
    EXPECT_EQ(message(), earlierMessage);
}

TEST_F(Discovery, FailedServerQueryLeavesTheRecordAlone) {
    for (const OpcUa_StatusCode status : {badStatus, uncertainStatus, bothBitsStatus}) {
        script().onFindServers = [status](const Query&, UaApplicationDescriptions& servers) {
            fillServers(servers, {{"urn:a", "A", {"opc.tcp://a:1"}}});
            return UaStatus(status);
        };
        EXPECT_EQ(discover(), 18);
        EXPECT_TRUE(isUntouched(result()));
    }
}

TEST_F(Discovery, GoodStatusWithInformationBitsSucceeds) {
    script().onFindServers = [](const Query&, UaApplicationDescriptions& servers) {
        fillServers(servers, {{"urn:a", "A", {"opc.tcp://a:1"}}});
        return UaStatus(goodWithDetails);
    };
    script().onGetEndpoints = [](const Query&, UaEndpointDescriptions&) { return UaStatus(goodWithDetails); };
    EXPECT_EQ(discover(), 0);
}

TEST_F(Discovery, WithoutServersOnlyTheCountIsSet) {
    answerServers({});
    EXPECT_EQ(discover(), 19);
    EXPECT_EQ(result().serverCount, 0U);
    EXPECT_TRUE(isUntouched(result().servers));
}

TEST_F(Discovery, KeepsTenOfTwelveServers) {
    std::vector<Server> servers;
    for (int i = 0; i < 12; ++i) {
        const std::string number = std::to_string(i);
        servers.push_back({"urn:" + number, "Server " + number, {"opc.tcp://plant:" + number}});
    }
    answerServers(servers);
    EXPECT_EQ(discover(), 0);
    EXPECT_EQ(result().serverCount, 10U);
    EXPECT_THAT(queriedUrls(), SizeIs(10));
    for (std::size_t i = 0; i < 10; ++i) {
        EXPECT_EQ(fieldText(result().servers[i].applicationUri), servers[i].uri);
        EXPECT_EQ(fieldText(result().servers[i].applicationName), servers[i].name);
        EXPECT_EQ(result().servers[i].discoveryUrlCount, 1U);
    }
}

TEST_F(Discovery, EntriesBeyondTheServersStayUntouched) {
    answerServers({{"urn:a", "A", {"opc.tcp://a:1"}}});
    EXPECT_EQ(discover(), 0);
    EXPECT_EQ(result().serverCount, 1U);
    EXPECT_TRUE(isUntouched(result().servers[1]));
    EXPECT_TRUE(isUntouched(result().servers[9]));
    EXPECT_TRUE(isUntouched(result().servers[0].discoveryUrls[1]));
    EXPECT_TRUE(isUntouched(result().servers[0].discoveryUrls[0].endpoints));
    EXPECT_EQ(result().servers[0].discoveryUrls[0].endpointCount, 0U);
}

TEST_F(Discovery, ServerWithoutUrlIsListedAndPassedOver) {
    answerServers({{"urn:a", "A", {}}, {"urn:b", "B", {"opc.tcp://b:1"}}});
    EXPECT_EQ(discover(), 0);
    EXPECT_EQ(fieldText(result().servers[0].applicationUri), "urn:a");
    EXPECT_EQ(result().servers[0].discoveryUrlCount, 0U);
    EXPECT_TRUE(isUntouched(result().servers[0].discoveryUrls));
    EXPECT_EQ(result().servers[1].discoveryUrlCount, 1U);
}

TEST_F(Discovery, ServersWithoutAnyUrlAreAFailure) {
    answerServers({{"urn:a", "A", {}}, {"urn:b", "B", {}}});
    EXPECT_EQ(discover(), 19);
    EXPECT_EQ(result().serverCount, 2U);
    EXPECT_EQ(fieldText(result().servers[1].applicationName), "B");
}

TEST_F(Discovery, AsksAtMostFifteenUrlsOfAServer) {
    for (const std::size_t count : {15U, 16U, 40U}) {
        script().forgetCalls();
        answerServers({{"urn:a", "A", numberedUrls(count)}});
        EXPECT_EQ(discover(), 0);
        EXPECT_EQ(result().servers[0].discoveryUrlCount, 15U);
        EXPECT_EQ(queriedUrls(), numberedUrls(15));
        EXPECT_EQ(fieldText(result().servers[0].discoveryUrls[14].discoveryUrl), "opc.tcp://plant:4854");
        EXPECT_TRUE(isUntouched(result().servers[1]));
    }
}

TEST_F(Discovery, FullRecordStaysWithinItself) {
    const std::vector<Server> servers(11,
                                      Server{std::string(300, 'u'), std::string(300, 'n'), numberedUrls(20)});
    answerServers(servers);
    answerEndpoints(std::vector<Endpoint>(30, Endpoint{std::string(300, 'e')}));
    EXPECT_EQ(discover(), 0);
    EXPECT_EQ(result().serverCount, 10U);
    EXPECT_EQ(result().servers[9].discoveryUrlCount, 15U);
    EXPECT_EQ(result().servers[9].discoveryUrls[14].endpointCount, 20U);
}

TEST_F(Discovery, UrlThatDoesNotAnswerIsPassedOver) {
    answerServers({{"urn:a", "A", {"opc.tcp://a:1", "opc.tcp://a:2", "opc.tcp://a:3"}}});
    for (const OpcUa_StatusCode status : {badStatus, uncertainStatus}) {
        result().servers[0].discoveryUrls[0].endpointCount = 77;
        script().onGetEndpoints = [status](const Query& query, UaEndpointDescriptions& endpoints) {
            fillEndpoints(endpoints, {Endpoint()});
            return query.url == "opc.tcp://a:2" ? UaStatus() : UaStatus(status);
        };
        EXPECT_EQ(discover(), 0);
        EXPECT_EQ(result().servers[0].discoveryUrls[0].endpointCount, 77U);
        EXPECT_EQ(fieldText(result().servers[0].discoveryUrls[0].discoveryUrl), "opc.tcp://a:1");
        EXPECT_TRUE(isUntouched(result().servers[0].discoveryUrls[0].endpoints));
        EXPECT_EQ(result().servers[0].discoveryUrls[1].endpointCount, 1U);
        EXPECT_EQ(fieldText(result().servers[0].discoveryUrls[2].discoveryUrl), "opc.tcp://a:3");
        EXPECT_TRUE(isUntouched(result().servers[0].discoveryUrls[2].endpoints));
        EXPECT_EQ(result().servers[0].discoveryUrlCount, 3U);
    }
}

TEST_F(Discovery, NoAnsweringUrlAtAllIsAFailure) {
    answerServers({{"urn:a", "A", {"opc.tcp://a:1"}}, {"urn:b", "B", {"opc.tcp://b:1"}}});
    for (const OpcUa_StatusCode status : {badStatus, uncertainStatus, bothBitsStatus}) {
        script().onGetEndpoints = [status](const Query&, UaEndpointDescriptions&) {
            return UaStatus(status);
        };
        EXPECT_EQ(discover(), 19);
        EXPECT_EQ(result().serverCount, 2U);
    }
}

TEST_F(Discovery, AnAnswerWithoutEndpointsCounts) {
    EXPECT_EQ(discoverEndpoints({}).endpointCount, 0U);
}

TEST_F(Discovery, TheLastServersAnswerIsEnough) {
    answerServers({{"urn:a", "A", {"opc.tcp://a:1"}}, {"urn:b", "B", {"opc.tcp://b:1"}}});
    script().onGetEndpoints = [](const Query& query, UaEndpointDescriptions&) {
        return query.url == "opc.tcp://b:1" ? UaStatus() : UaStatus(badStatus);
    };
    EXPECT_EQ(discover(), 0);
    script().onGetEndpoints = [](const Query& query, UaEndpointDescriptions&) {
        return query.url == "opc.tcp://a:1" ? UaStatus() : UaStatus(badStatus);
    };
    EXPECT_EQ(discover(), 0);
}

TEST_F(Discovery, ExaminesAtMostTwentyEndpoints) {
    std::vector<Endpoint> endpoints;
    for (int i = 0; i < 25; ++i)
        endpoints.push_back({"opc.tcp://plant:" + std::to_string(i)});
    const _OpcUa_DiscoveryUrlMsg& entry = discoverEndpoints(endpoints);
    EXPECT_EQ(entry.endpointCount, 20U);
    EXPECT_EQ(fieldText(entry.endpoints[19].endpointUrl), "opc.tcp://plant:19");
    EXPECT_TRUE(isUntouched(result().servers[0].discoveryUrls[1]));
}

TEST_F(Discovery, SuitableEndpointsBeyondTheTwentiethAreNotExamined) {
    std::vector<Endpoint> endpoints(20, Endpoint{"https://plant", "", 1, httpsProfile});
    endpoints.emplace_back();
    const _OpcUa_DiscoveryUrlMsg& entry = discoverEndpoints(endpoints);
    EXPECT_EQ(entry.endpointCount, 0U);
    EXPECT_TRUE(isUntouched(entry.endpoints));
}

TEST_F(Discovery, SkippedEndpointsLeaveHoles) {
    const Endpoint https{"https://plant:443", "http://opcfoundation.org/UA/SecurityPolicy#Basic256", 3,
                         httpsProfile};
    const Endpoint first{"opc.tcp://plant:1", "http://opcfoundation.org/UA/SecurityPolicy#Basic256Sha256", 3};
    const Endpoint second{"opc.tcp://plant:2", "http://opcfoundation.org/UA/SecurityPolicy#None", 1};
    const _OpcUa_DiscoveryUrlMsg& entry = discoverEndpoints({https, first, https, second, https});
    EXPECT_EQ(entry.endpointCount, 2U);
    EXPECT_TRUE(isUntouched(entry.endpoints[0]));
    EXPECT_EQ(fieldText(entry.endpoints[1].endpointUrl), "opc.tcp://plant:1");
    EXPECT_EQ(entry.endpoints[1].securityPolicy, 3);
    EXPECT_EQ(entry.endpoints[1].securityMode, 2);
    EXPECT_TRUE(isUntouched(entry.endpoints[2]));
    EXPECT_EQ(fieldText(entry.endpoints[3].endpointUrl), "opc.tcp://plant:2");
    EXPECT_EQ(entry.endpoints[3].securityPolicy, 0);
    EXPECT_EQ(entry.endpoints[3].securityMode, 0);
    EXPECT_TRUE(isUntouched(entry.endpoints[4]));
}

TEST_F(Discovery, KeepsTheTransportsThatSuitTheScheme) {
    const std::string prefix = "http://opcfoundation.org/UA-Profile/Transport/";
    const std::vector<std::string> profiles = {
        "soaphttp-wssc-uaxml", "soaphttp-wssc-uabinary", "soaphttp-wssc-uaxml-uabinary",
        "https-uabinary",      "https-uasoapxml",        "uatcp-uasc-uabinary",
        "wss-uasc-uabinary"};
    const std::map<std::string, std::vector<bool>> kept = {
        {"http", {true, true, true, false, false, false, false}},
        {"https", {false, false, false, true, true, false, false}},
        {"opc.tcp", {false, false, false, false, false, true, false}},
        {"opc.wss", {true, true, true, true, true, true, true}},
        {"fifteen-letters", {true, true, true, true, true, true, true}},
    };
    std::vector<Endpoint> endpoints;
    for (const std::string& profile : profiles)
        endpoints.push_back({"url", "", 1, prefix + profile});
    for (const auto& [scheme, expected] : kept) {
        std::memset(static_cast<void*>(&result()), untouched, sizeof(result()));
        const _OpcUa_DiscoveryUrlMsg& entry = discoverEndpoints(endpoints, scheme + "://plant");
        unsigned int count = 0;
        for (std::size_t i = 0; i < expected.size(); ++i) {
            EXPECT_EQ(!isUntouched(entry.endpoints[i]), expected[i]) << scheme << " " << profiles[i];
            count += expected[i] ? 1 : 0;
        }
        EXPECT_EQ(entry.endpointCount, count) << scheme;
    }
}

TEST_F(Discovery, ComparesTheWholeTransportProfile) {
    const std::string prefix = "http://opcfoundation.org/UA-Profile/Transport/";
    std::vector<Endpoint> endpoints;
    for (const std::string& profile :
         {std::string(), std::string("uatcp-uasc-uabinary"), prefix, prefix + "UATCP-UASC-UABINARY",
          prefix + "uatcp-uasc-uabinaryx", prefix + "uatcp-uasc-uabinar",
          "x" + prefix + "uatcp-uasc-uabinary",
          std::string("http://opcfoundation.org/ua-profile/transport/uatcp-uasc-uabinary")})
        endpoints.push_back({"url", "", 1, profile});
    const _OpcUa_DiscoveryUrlMsg& entry = discoverEndpoints(endpoints);
    EXPECT_EQ(entry.endpointCount, 0U);
    EXPECT_TRUE(isUntouched(entry.endpoints));
}

TEST_F(Discovery, SchemeEndsAtTheFirstColon) {
    EXPECT_EQ(discoverEndpoints({Endpoint()}, "opc.tcp:https:443").endpointCount, 1U);
}

TEST_F(Discovery, OddSchemesAreAskedAllTheSame) {
    for (const std::string& url :
         {std::string(), std::string("plant"), std::string(":"), std::string("sixteen-letters-:x"),
          std::string(200, 's') + "://plant", std::string(5000, 'x')}) {
        script().forgetCalls();
        const _OpcUa_DiscoveryUrlMsg& entry = discoverEndpoints({Endpoint()}, url);
        EXPECT_THAT(queriedUrls(), ElementsAre(url));
        EXPECT_EQ(fieldText(entry.discoveryUrl), url.substr(0, 100));
        EXPECT_EQ(entry.endpointCount, 1U);
    }
}

TEST_F(Discovery, NumbersPoliciesAsConnectDoes) {
    const std::string prefix = "http://opcfoundation.org/UA/SecurityPolicy#";
    const std::vector<std::pair<std::string, int>> rows = {
        {prefix + "None", 0},
        {prefix + "Basic128Rsa15", 1},
        {prefix + "Basic256", 2},
        {prefix + "Basic256Sha256", 3},
        {prefix + "Aes128_Sha256_RsaOaep", 4},
        {prefix + "Aes256_Sha256_RsaPss", 5},
        {prefix + "Basic512", 0},
        {prefix + "basic256", 0},
        {prefix + "Basic256 ", 0},
        {prefix, 0},
        {"", 0},
        {"Basic256Sha256", 3},
        {"#Aes256_Sha256_RsaPss", 5},
        {"urn:other#Basic256", 2},
        {"urn:a#b#Basic256", 0},
        {"urn:Basic256", 0},
        {std::string(1000, 'p'), 0},
        {std::string(119, 'p') + "#Basic256", 2},
        {std::string(120, 'p') + "#Basic256", 0},
        {prefix + std::string(64, 'n'), 0},
        {prefix + std::string(1000, 'n'), 0},
    };
    for (const auto& [uri, number] : rows) {
        Endpoint endpoint;
        endpoint.policy = uri;
        EXPECT_EQ(discoverEndpoints({endpoint}).endpoints[0].securityPolicy, number) << uri;
    }
}

TEST_F(Discovery, NumbersModesAsConnectDoes) {
    const std::vector<std::pair<int, int>> rows = {{0, 0}, {1, 0},   {2, 1},  {3, 2},
                                                   {4, 0}, {100, 0}, {-1, 0}, {INT_MIN, 0}};
    for (const auto& [mode, number] : rows) {
        Endpoint endpoint;
        endpoint.mode = mode;
        EXPECT_EQ(discoverEndpoints({endpoint}).endpoints[0].securityMode, number) << mode;
    }
}

TEST_F(Discovery, ShorterTextsAreClearedToTheEndOfTheirField) {
    const std::string text99(99, 't');
    answerServers({{text99, "", {"opc.tcp:" + std::string(91, 'u')}}});
    answerEndpoints({Endpoint{text99}});
    EXPECT_EQ(discover(), 0);
    const _OpcUa_ServerMsg& server = result().servers[0];
    EXPECT_EQ(std::string(server.applicationUri, 100), text99 + '\0');
    EXPECT_EQ(std::string(server.applicationName, 100), std::string(100, '\0'));
    EXPECT_EQ(std::string(server.discoveryUrls[0].discoveryUrl, 100),
              "opc.tcp:" + std::string(91, 'u') + '\0');
    EXPECT_EQ(std::string(server.discoveryUrls[0].endpoints[0].endpointUrl, 100), text99 + '\0');
}

TEST_F(Discovery, TextsOfAHundredBytesAndMoreFillTheirFieldWithoutTerminator) {
    for (const std::size_t length : {100U, 101U, 256U, 5000U}) {
        const std::string url = "opc.tcp:" + std::string(length - 8, 'u');
        answerServers({{std::string(length, 'a'), std::string(length, 'n'), {url}}});
        answerEndpoints({Endpoint{std::string(length, 'e')}});
        script().forgetCalls();
        EXPECT_EQ(discover(), 0);
        const _OpcUa_ServerMsg& server = result().servers[0];
        EXPECT_EQ(std::string(server.applicationUri, 100), std::string(100, 'a'));
        EXPECT_EQ(std::string(server.applicationName, 100), std::string(100, 'n'));
        EXPECT_EQ(std::string(server.discoveryUrls[0].discoveryUrl, 100), url.substr(0, 100));
        EXPECT_EQ(std::string(server.discoveryUrls[0].endpoints[0].endpointUrl, 100), std::string(100, 'e'));
        EXPECT_EQ(server.discoveryUrlCount, 1U);
        EXPECT_THAT(queriedUrls(), ElementsAre(url)) << "the query takes the whole URL";
    }
}

TEST_F(Discovery, NullUrlIsAnEmptyOne) {
    script().onFindServers = [](const Query&, UaApplicationDescriptions&) { return UaStatus(badStatus); };
    EXPECT_EQ(m_client->OpcUaDiscover(nullptr, result()), 18);
    EXPECT_EQ(script().requests<Query>().at(0).url, "");
}
