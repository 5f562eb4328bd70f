#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <set>

#include <open62541/server.h>

namespace plant_server {

/// Stands between the stack and its TCP connections, for what a network or a slow machine does to a client:
/// answers that come late, and connections that break. Late answers hold up nobody else: the server goes on
/// working.
///
/// The stack's connection manager has no place for an object of ours, hence one object in a process.
class Connections {
public:
    using Milliseconds = std::chrono::milliseconds;

    /// Before the server starts to listen; the object must outlive the server.
    explicit Connections(UA_EventLoop& eventLoop);
    ~Connections();
    Connections(const Connections&) = delete;
    Connections& operator=(const Connections&) = delete;

    /// Every message to a client leaves this much later than it was ready.
    void setDelay(Milliseconds delay) { m_delay = delay; }
    /// Adds to the delay of the answer to the request being served. Without effect when none is.
    void delayAnswer(Milliseconds delay);
    UA_UInt64 count() const { return m_clients.size(); }
    /// Breaks every connection without a word.
    void closeAll();

private:
    struct Message {
        UA_DateTime due;
        uintptr_t connection;
        UA_ByteString content;
    };

    static UA_StatusCode open(UA_ConnectionManager* manager, const UA_KeyValueMap* parameters,
                              void* application, void* context,
                              UA_ConnectionManager_connectionCallback callback);
    static void event(UA_ConnectionManager* manager, uintptr_t connection, void* application, void** context,
                      UA_ConnectionState state, const UA_KeyValueMap* parameters, UA_ByteString message);
    static UA_StatusCode send(UA_ConnectionManager* manager, uintptr_t connection,
                              const UA_KeyValueMap* parameters, UA_ByteString* content);
    static UA_StatusCode close(UA_ConnectionManager* manager, uintptr_t connection);
    static void sendDue(void* self, void*);

    bool isWaiting(uintptr_t connection) const;
    void queue(uintptr_t connection, UA_ByteString* content);
    void sendNow(Message& message);
    template <class Select>
    void sendQueued(const Select& select);

    UA_ConnectionManager* m_manager = nullptr;
    UA_ConnectionManager m_original{};
    UA_ConnectionManager_connectionCallback m_serverEvent = nullptr;
    Milliseconds m_delay{0};
    Milliseconds m_answerDelay{0};
    bool m_serving = false;
    std::set<uintptr_t> m_clients;
    std::deque<Message> m_queue; ///< in the order in which they were ready
};

} // namespace plant_server
