#include "server/connections.h"

#include <algorithm>
#include <cstdint>
#include <deque>
#include <set>
#include <stdexcept>

#include "nodes/node_id.h"
#include "nodes/status.h"

namespace plant_server {
namespace {

Connections* instance = nullptr;

UA_ConnectionManager* findTcp(const UA_EventLoop& eventLoop) {
    const UA_String tcp = UA_STRING_STATIC("tcp");
    for (UA_EventSource* source = eventLoop.eventSources; source != nullptr; source = source->next) {
        auto* manager = reinterpret_cast<UA_ConnectionManager*>(source);
        if (source->eventSourceType == UA_EVENTSOURCETYPE_CONNECTIONMANAGER &&
            UA_String_equal(&manager->protocol, &tcp))
            return manager;
    }
    throw std::runtime_error("the stack has no TCP connection manager");
}

} // namespace

Connections::Connections(UA_EventLoop& eventLoop) : m_manager(findTcp(eventLoop)), m_original(*m_manager) {
    instance = this;
    m_manager->openConnection = open;
    m_manager->sendWithConnection = send;
    m_manager->closeConnection = close;
}

Connections::~Connections() {
    for (Message& message : m_queue)
        UA_ByteString_clear(&message.content);
    instance = nullptr;
}

void Connections::closeAll() {
    const std::set<uintptr_t> clients = m_clients;
    for (const uintptr_t connection : clients)
        m_original.closeConnection(m_manager, connection);
}

UA_StatusCode Connections::open(UA_ConnectionManager* manager, const UA_KeyValueMap* parameters,
                                void* application, void* context,
                                UA_ConnectionManager_connectionCallback callback) {
    instance->m_serverEvent = callback;
    return instance->m_original.openConnection(manager, parameters, application, context, event);
}

void Connections::event(UA_ConnectionManager* manager, uintptr_t connection, void* application,
                        void** context, UA_ConnectionState state, const UA_KeyValueMap* parameters,
                        UA_ByteString message) {
    const bool isListener =
        UA_KeyValueMap_contains(parameters, UA_QUALIFIEDNAME(0, const_cast<char*>("listen-port")));
    if (state == UA_CONNECTIONSTATE_CLOSING) {
        // The number of a closed connection may be given to the next one, which must not get the old one's
        // answers.
        auto& queue = instance->m_queue;
        for (Message& queued : queue)
            if (queued.connection == connection)
                UA_ByteString_clear(&queued.content);
        queue.erase(std::remove_if(queue.begin(), queue.end(),
                                   [=](const Message& queued) { return queued.connection == connection; }),
                    queue.end());
        instance->m_clients.erase(connection);
    } else if (!isListener) {
        instance->m_clients.insert(connection);
    }
    instance->m_serving = true;
    instance->m_serverEvent(manager, connection, application, context, state, parameters, message);
    instance->m_serving = false;
    instance->m_answerDelay = Milliseconds{0};
}

UA_StatusCode Connections::send(UA_ConnectionManager* manager, uintptr_t connection,
                                const UA_KeyValueMap* parameters, UA_ByteString* content) {
    const Milliseconds delay = instance->m_delay + instance->m_answerDelay;
    if (delay.count() == 0 && !instance->isWaiting(connection))
        return instance->m_original.sendWithConnection(manager, connection, parameters, content);
    instance->queue(connection, content);
    return UA_STATUSCODE_GOOD;
}

bool Connections::isWaiting(uintptr_t connection) const {
    return std::any_of(m_queue.begin(), m_queue.end(),
                       [=](const Message& queued) { return queued.connection == connection; });
}

void Connections::delayAnswer(Milliseconds delay) {
    if (m_serving)
        m_answerDelay = delay;
}

void Connections::queue(uintptr_t connection, UA_ByteString* content) {
    UA_EventLoop* eventLoop = m_manager->eventSource.eventLoop;
    UA_DateTime due =
        eventLoop->dateTime_nowMonotonic(eventLoop) + (m_delay + m_answerDelay).count() * UA_DATETIME_MSEC;
    m_answerDelay = Milliseconds{0};
    // Messages of one connection keep their order.
    for (const Message& queued : m_queue)
        if (queued.connection == connection)
            due = std::max(due, queued.due);
    m_queue.push_back({due, connection, *content});
    UA_ByteString_init(content);
    eventLoop->addTimedCallback(eventLoop, sendDue, this, nullptr, due, nullptr);
}

void Connections::sendNow(Message& message) {
    m_original.sendWithConnection(m_manager, message.connection, &UA_KEYVALUEMAP_NULL, &message.content);
}

template <class Select>
void Connections::sendQueued(const Select& select) {
    // Taken out of the queue first: sending can end in a closed connection, which looks into the queue.
    std::deque<Message> selected;
    std::deque<Message> kept;
    for (const Message& message : m_queue)
        (select(message) ? selected : kept).push_back(message);
    m_queue = kept;
    for (Message& message : selected)
        sendNow(message);
}

void Connections::sendDue(void* self, void*) {
    auto& connections = *static_cast<Connections*>(self);
    UA_EventLoop* eventLoop = connections.m_manager->eventSource.eventLoop;
    const UA_DateTime now = eventLoop->dateTime_nowMonotonic(eventLoop);
    connections.sendQueued([=](const Message& message) { return message.due <= now; });
}

UA_StatusCode Connections::close(UA_ConnectionManager* manager, uintptr_t connection) {
    instance->sendQueued([=](const Message& message) { return message.connection == connection; });
    return instance->m_original.closeConnection(manager, connection);
}

} // namespace plant_server
