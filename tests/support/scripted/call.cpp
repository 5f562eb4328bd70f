#include "support/scripted/call.h"

#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "support/scripted/server.h"

namespace scripted {

struct Call::Shared {
    Shared(Server& itsServer, std::shared_ptr<Connection> itsConnection, Origin itsOrigin,
           const UA_DataType& itsType)
        : server(itsServer), connection(std::move(itsConnection)), origin(std::move(itsOrigin)),
          type(itsType), content(UA_new(&itsType)) {
        if (content == nullptr)
            throw std::bad_alloc();
    }
    ~Shared() { UA_delete(content, &type); }
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;

    Server& server;
    std::shared_ptr<Connection> connection;
    Origin origin;
    const UA_DataType& type;
    void* content;
};

Call::Call(Server& server, std::shared_ptr<Connection> connection, Origin origin, const UA_DataType& type,
           const Bytes& content) {
    auto shared = std::make_shared<Shared>(server, std::move(connection), std::move(origin), type);
    if (!decode(content, shared->content, type))
        server.report(std::string("undecodable ") + type.typeName);
    m_shared = std::move(shared);
}

const UA_DataType& Call::type() const {
    return m_shared->type;
}

std::uint32_t Call::id() const {
    return m_shared->origin.id;
}

std::uint32_t Call::handle() const {
    // Every request begins with its header.
    return static_cast<const UA_RequestHeader*>(m_shared->content)->requestHandle;
}

std::uint32_t Call::tokenId() const {
    return m_shared->origin.tokenId;
}

Connection& Call::connection() const {
    return *m_shared->connection;
}

const void* Call::content(const UA_DataType& type) const {
    if (&type != &m_shared->type)
        throw std::runtime_error(std::string("the request is a ") + m_shared->type.typeName);
    return m_shared->content;
}

void Call::answer() const {
    m_shared->server.answerAsUsual(*this);
}

void Call::fault(UA_StatusCode status) const {
    answerBody(faultBody(status));
}

void Call::answerBody(const Bytes& body) const {
    std::optional<std::uint32_t> token;
    if (m_shared->server.answersUnderTheRequestsToken())
        token = tokenId();
    connection().sendMessage(id(), body, m_shared->origin.kind, token);
}

Bytes Call::usualBody() const {
    return m_shared->server.usualBody(*this);
}

Bytes Call::faultBody(UA_StatusCode status) const {
    Owned<UA_ServiceFault> fault;
    fault->responseHeader.serviceResult = status;
    return bodyOf(*fault);
}

Chunk Call::chunk(char type, const Bytes& body) const {
    Chunk chunk;
    chunk.kind = m_shared->origin.kind;
    chunk.type = type;
    chunk.requestId = id();
    chunk.body = body;
    return chunk;
}

Bytes Call::finish(UA_ResponseHeader& header, void* response, const UA_DataType& type) const {
    header.requestHandle = handle();
    header.timestamp = UA_DateTime_now();
    m_shared->server.applyEdit(type, response);
    return messageBody(response, type);
}

} // namespace scripted
