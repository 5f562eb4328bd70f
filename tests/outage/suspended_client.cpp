// suspended_client URL NODE: monitors one node and writes "ready" with its first value. Once it finds that it
// has been suspended it watches its status for seven seconds, and writes every one that it met and the result
// of a read.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>

#include "OpcUaClientInterface.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class Application final : public COpcUaClientInterface::OpcUaCallBack {
public:
    void OpcUaDataChange(_OpcUaDataChangeMsg) override { hasValue = true; }
    int OpcUaTrustServerCertificate(_OpcUaCertificateMsg) override { return -1; }

    std::atomic<bool> hasValue{false};
};

/// Returns once no look at the clock has been possible for five seconds, from `last` on.
void waitForSuspension(Clock::time_point last) {
    while (Clock::now() - last < 5s) {
        last = Clock::now();
        std::this_thread::sleep_for(5ms);
    }
}

/// Each change once, from one look every millisecond.
std::string statusesOf(COpcUaClientInterface& client, Clock::duration time) {
    std::string statuses;
    int last = -1;
    for (const auto end = Clock::now() + time; Clock::now() < end;) {
        const int status = client.OpcUaGetConnectStatus();
        if (status != last) {
            statuses += " " + std::to_string(status);
            last = status;
        }
        std::this_thread::sleep_for(1ms);
    }
    return statuses;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3)
        return 2;
    Application application;
    COpcUaClientInterface client;
    client.installOpcUaCallBack(&application);
    _OpcUaClientConfig config{};
    std::strncpy(config.endpointUrl, argv[1], sizeof config.endpointUrl - 1);
    OpcUaNode node{};
    std::strncpy(node.nodeId, argv[2], sizeof node.nodeId - 1);
    node.dataType = OpcUaDataType_Double;
    if (client.OpcUaConnect(config) != 0 || client.OpcUaCreateSubScription(500) != 0 ||
        client.OpcUaAddMonitNode(&node, nullptr, 0) != 0) {
        return 1;
    }
    while (!application.hasValue)
        std::this_thread::sleep_for(5ms);
    const Clock::time_point beforeReady = Clock::now(); // from the next line on it may be suspended
    std::puts("ready");
    std::fflush(stdout);
    waitForSuspension(beforeReady);
    const std::string statuses = statusesOf(client, 7s);
    double value = 0;
    int size = 0;
    const int code = client.OpcUaGetValue(&node, &value, size);
    std::printf("statuses%s, read %d\n", statuses.c_str(), code);
    std::fflush(stdout);
    client.OpcUaDisConnect();
    return 0;
}
