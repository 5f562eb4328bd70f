#include <string>

#include <gtest/gtest.h>

#include "socket/endpoint_url.h"

using UaClientSdk::EndpointUrl;

namespace {

struct UrlCase {
    std::string url;
    std::string host;
    int port;
};

EndpointUrl parsed(const std::string& url) {
    EndpointUrl result;
    EXPECT_TRUE(EndpointUrl::parse(UaString(url), result).isGood()) << url;
    return result;
}

} // namespace

TEST(EndpointUrl, NamesHostAndPort) {
    const UrlCase cases[] = {
        {"opc.tcp://plc", "plc", 4840},
        {"opc.tcp://plc:", "plc", 4840},
        {"opc.tcp://plc/", "plc", 4840},
        {"opc.tcp://plc:1/a:b/c", "plc", 1},
        {"OPC.TCP://plc.plant.example:65535", "plc.plant.example", 65535},
        {"opc.tcp://192.0.2.7:4841/UA/Server", "192.0.2.7", 4841},
        {"opc.tcp://[::1]", "::1", 4840},
        {"opc.tcp://[2001:db8::7]:4842/x", "2001:db8::7", 4842},
    };
    for (const UrlCase& one : cases) {
        EXPECT_EQ(parsed(one.url).host, one.host) << one.url;
        EXPECT_EQ(parsed(one.url).port, one.port) << one.url;
    }
}

TEST(EndpointUrl, RefusesWhatIsNone) {
    for (const std::string url :
         {"", "opc.tcp:/", "opc.tcp://", "opc.tcp:///x", "opc.tcp://:4840", "http://plc:4840",
          "opc.tcpx://plc", "opc.tcp://plc:0", "opc.tcp://plc:65536", "opc.tcp://plc:-1", "opc.tcp://plc:48x",
          "opc.tcp://plc: 4840", "opc.tcp://[::1", "opc.tcp://[]", "opc.tcp://[::1]x",
          "opc.tcp://[::1]4840"}) {
        EndpointUrl result;
        EXPECT_EQ(EndpointUrl::parse(UaString(url), result).statusCode(),
                  UA_STATUSCODE_BADTCPENDPOINTURLINVALID)
            << url;
    }
}

TEST(EndpointUrl, RefusesControlCharacters) {
    for (const char character : {'\0', '\x01', '\t', '\n', '\r', '\x1F', '\x7F'}) {
        for (const std::string begin : {"opc.tcp://plc", "opc.tcp://plc:4840/path"}) {
            EndpointUrl result;
            const std::string url = begin + character + "x";
            EXPECT_EQ(EndpointUrl::parse(UaString(url), result).statusCode(),
                      UA_STATUSCODE_BADTCPENDPOINTURLINVALID)
                << begin << " and " << static_cast<int>(character);
        }
    }
}

TEST(EndpointUrl, RefusesOneThatNoServerTakes) {
    EndpointUrl result;
    const std::string begin = "opc.tcp://plc/";
    EXPECT_TRUE(EndpointUrl::parse(UaString(begin + std::string(4096 - begin.size(), 'x')), result).isGood());
    EXPECT_TRUE(EndpointUrl::parse(UaString(begin + std::string(4097 - begin.size(), 'x')), result).isBad());
}
