#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "standin.h"

namespace standin {

Script& script() {
    static Script instance;
    return instance;
}

void Script::reset() {
    onConnect = nullptr;
    onDisconnect = nullptr;
    onIsConnected = nullptr;
    onWasLostAhead = nullptr;
    onRead = nullptr;
    onWrite = nullptr;
    onBrowse = nullptr;
    onBrowseNext = nullptr;
    onFindServers = nullptr;
    onGetEndpoints = nullptr;
    onSecurity = nullptr;
    onCreateSubscription = nullptr;
    onDeleteSubscription = nullptr;
    onCreateItems = nullptr;
    onDeleteItems = nullptr;
    m_sessionCallback = nullptr;
    m_subscriptionCallback = nullptr;
    forgetCalls();
}

void Script::forgetCalls() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_calls.clear();
    m_sequences = 0;
}

void Script::record(std::string operation, const void* object, Arguments arguments) {
    Surroundings surroundings = probe ? probe() : Surroundings();
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_calls.push_back({std::move(operation), object, std::move(arguments), std::move(surroundings)});
}

std::vector<Call> Script::calls() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_calls;
}

std::vector<std::string> Script::operations() const {
    std::vector<std::string> names;
    for (const Call& call : calls())
        names.push_back(call.operation);
    return names;
}

} // namespace standin
