#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "support/scripted/connection.h"
#include "support/scripted/messages.h"

namespace scripted {

/// A request that arrived, with the ways to answer it: as often as one likes, now or later, on any thread.
/// Copies stand for the same request.
class Call {
public:
    /// What its chunks said of it.
    struct Origin {
        std::string kind;
        std::uint32_t id;
        std::uint32_t tokenId;
    };
    Call(Server& server, std::shared_ptr<Connection> connection, Origin origin, const UA_DataType& type,
         const Bytes& content);

    template <class Request>
    const Request& request() const {
        return *static_cast<const Request*>(content(typeOf<Request>()));
    }
    template <class Request>
    bool is() const {
        return &typeOf<Request>() == &type();
    }
    const UA_DataType& type() const;
    /// Of the secure channel, and the one in the request's header.
    std::uint32_t id() const;
    std::uint32_t handle() const;
    /// The token under which it came.
    std::uint32_t tokenId() const;
    Connection& connection() const;

    /// Answers as a good server does. A Publish request waits until there is something to publish.
    void answer() const;
    template <class Response>
    void answer(Response& response) const {
        answerBody(bodyOf(response));
    }
    void fault(UA_StatusCode status) const;
    /// Sends these bytes as the answer: type id and what follows.
    void answerBody(const Bytes& body) const;

    /// What answer() would send; for a Publish request a keep-alive.
    Bytes usualBody() const;
    /// What fault() would send.
    Bytes faultBody(UA_StatusCode status) const;
    /// Header completed, edited as the server was told, and encoded.
    template <class Response>
    Bytes bodyOf(Response& response) const {
        return finish(response.responseHeader, &response, typeOf<Response>());
    }
    /// A chunk that belongs to this request.
    Chunk chunk(char type, const Bytes& body) const;

private:
    struct Shared;

    const void* content(const UA_DataType& type) const;
    Bytes finish(UA_ResponseHeader& header, void* response, const UA_DataType& type) const;

    std::shared_ptr<const Shared> m_shared;
};

} // namespace scripted
