#include "soak/worker.h"

#include <chrono>
#include <exception>
#include <thread>

namespace soak {

void Worker::start() {
    m_thread = std::thread([this] { run(); });
}

void Worker::join() {
    m_thread.join();
}

void Worker::run() {
    try {
        while (m_gate.pass())
            round();
    } catch (const std::exception& error) {
        m_failure = error.what();
        m_gate.leave();
    }
}

bool Worker::count(int code) {
    ++m_work.operations;
    if (code != 0) {
        ++m_work.refused;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return code == 0;
}

_OpcUaClientConfig configFor(const std::string& url) {
    _OpcUaClientConfig config{};
    setField(config.endpointUrl, url);
    return config;
}

OpcUaNode recordOf(const std::string& nodeId, _OpcUaDataType type) {
    OpcUaNode record{};
    setField(record.nodeId, nodeId);
    record.dataType = type;
    return record;
}

} // namespace soak
