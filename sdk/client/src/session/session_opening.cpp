#include "session/session_opening.h"

#include <memory>
#include <utility>

#include "calls/service_call.h"
#include "channel/open_channel.h"

namespace UaClientSdk {
namespace {

class IgnoreAnswer : public AnswerReceiver {
public:
    UaStatus answered(UaStatus status, UaByteView) override { return status; }
};

UA_String stringView(const UaString& text) {
    return text.view();
}

template <typename Request>
UaStatus callAndTell(Pipe& pipe, const Deadline& deadline, Request& request, Answer<Request>& answer,
                     ConnectFailure::Step step, ConnectFailure& failure) {
    const UaStatus status = callService(pipe, deadline, request, answer);
    const SecureChannel& channel = pipe.channel();
    failure = {step, answer.isRefusal || channel.wasEndedByServer(),
               answer.isRefusal || channel.serversWord() == status.statusCode()};
    return status;
}

UaStatus createSession(Pipe& pipe, const SessionConnectInfo& info, SessionSecurity& security,
                       const Deadline& deadline, Answer<UA_CreateSessionRequest>& answer,
                       ConnectFailure& failure) {
    UA_CreateSessionRequest request{};
    request.clientDescription.applicationUri = stringView(info.applicationUri);
    request.clientDescription.productUri = stringView(info.productUri);
    request.clientDescription.applicationName.text = stringView(info.applicationName);
    request.clientDescription.applicationType = UA_APPLICATIONTYPE_CLIENT;
    request.sessionName = stringView(info.sessionName);
    request.requestedSessionTimeout = info.sessionTimeout;
    request.maxResponseMessageSize = SecureChannel::largestMessage;
    UaStatus status = security.fill(request);
    if (!status.isBad())
        status = callAndTell(pipe, deadline, request, answer, ConnectFailure::Step::CreateSession, failure);
    return status;
}

UaStatus activateSession(Pipe& pipe, SessionSecurity& security,
                         const Answer<UA_CreateSessionRequest>& created, const Deadline& deadline,
                         ConnectFailure& failure) {
    failure = {ConnectFailure::Step::ActivateSession, false};
    UA_ActivateSessionRequest request{};
    request.requestHeader.authenticationToken = created.authenticationToken;
    UaStatus status = security.fill(request, created);
    if (!status.isBad()) {
        Answer<UA_ActivateSessionRequest> answer;
        status = callAndTell(pipe, deadline, request, answer, ConnectFailure::Step::ActivateSession, failure);
        pipe.channel().wipeSent();
    }
    return status;
}

} // namespace

void closeSessionUnheard(Pipe& pipe, const UaNodeId& authenticationToken, bool deleteSubscriptions) {
    UA_CloseSessionRequest request{};
    request.requestHeader.authenticationToken = authenticationToken.raw();
    request.deleteSubscriptions = deleteSubscriptions;
    pipe.post(&request, Service<UA_CloseSessionRequest>::requestType(), Deadline(Clock::now()),
              Pipe::Answered::SomeTime, std::make_shared<IgnoreAnswer>());
}

UaStatus openSession(const UaString& url, const SessionConnectInfo& info, SessionSecurity& security,
                     const Deadline& deadline, OpenSession& session, ConnectFailure& failure) {
    UaStatus status;
    ChannelFailure channelFailure;
    auto channel = openChannel(url, security.channelSecurity(), info.secureChannelLifetime, deadline, status,
                               channelFailure);
    if (channel == nullptr) {
        failure = {channelFailure.wasConnected ? ConnectFailure::Step::OpenChannel
                                               : ConnectFailure::Step::Reach,
                   channelFailure.endedByServer, channelFailure.isServersWord};
        return status;
    }
    auto pipe = std::make_unique<Pipe>(std::move(channel));
    Answer<UA_CreateSessionRequest> created;
    status = createSession(*pipe, info, security, deadline, created, failure);
    if (status.isBad())
        return status;
    session.authenticationToken = UaNodeId(created.authenticationToken);
    status = security.check(created);
    if (!status.isBad()) {
        pipe->channel().limitRequests(created.maxRequestMessageSize);
        status = activateSession(*pipe, security, created, deadline, failure);
    }
    if (status.isBad()) {
        closeSessionUnheard(*pipe, session.authenticationToken, true);
        return status;
    }
    session.sessionTimeout = created.revisedSessionTimeout;
    session.pipe = std::move(pipe);
    return status;
}

} // namespace UaClientSdk
