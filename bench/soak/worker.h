#pragma once

#include <atomic>
#include <cstddef>
#include <string>
#include <thread>

#include "OpcUaClientInterface.h"
#include "soak/gate.h"

namespace soak {

/// What all workers have done so far.
struct Work {
    std::atomic<long> operations{0};
    std::atomic<long> refused{0}; ///< operations among them that an outage made fail
    std::atomic<long> changes{0}; ///< delivered
    std::atomic<long> lost{0};    ///< connections that did not survive
};

/// A thread that does its rounds until the gate ends them.
class Worker {
public:
    Worker(Gate& gate, Work& work) : m_work(work), m_gate(gate) {}
    virtual ~Worker() = default;
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    void start();
    /// After the gate's end.
    void join();
    /// Why it left before the gate's end; empty when it didn't.
    const std::string& failure() const { return m_failure; }

protected:
    virtual void round() = 0;

    /// Counts an operation and tells whether it succeeded. Breathes after one that did not: while there is no
    /// connection everything fails at once.
    bool count(int code);

    Work& m_work;

private:
    void run();

    Gate& m_gate;
    std::string m_failure;
    std::thread m_thread;
};

/// Trusts every server and counts changes.
class Application final : public COpcUaClientInterface::OpcUaCallBack {
public:
    explicit Application(Work& work) : m_work(work) {}
    void OpcUaDataChange(_OpcUaDataChangeMsg) override { ++m_work.changes; }
    int OpcUaTrustServerCertificate(_OpcUaCertificateMsg) override { return 0; }

private:
    Work& m_work;
};

/// A text for one of the interface's fields, which holds it.
template <std::size_t Size>
void setField(char (&field)[Size], const std::string& text) {
    text.copy(static_cast<char*>(field), Size - 1);
}

_OpcUaClientConfig configFor(const std::string& url);
OpcUaNode recordOf(const std::string& nodeId, _OpcUaDataType type = OpcUaDataType_Null);

} // namespace soak
