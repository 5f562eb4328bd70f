#include <cstddef>
#include <memory>

#include "session/calls_ahead.h"
#include "session/session_impl.h"
#include "uaclient/session.h"

namespace UaClientSdk {
namespace {

/// A page of references: the answer to a browse that asked for one node.
template <typename Request>
UaStatus takePage(UaStatus status, Answer<Request>& answer, UaByteString& continuationPoint,
                  UaReferenceDescriptions& references) {
    references.clear();
    continuationPoint.clear();
    if (status.isBad())
        return status;
    UA_BrowseResult& result = answer.results[0];
    continuationPoint = UaByteString(result.continuationPoint);
    take(result.references, result.referencesSize, references);
    return result.statusCode;
}

void makeUnreadable(UaStatus status, OpcUa_UInt32 count, UaDataValues& values) {
    values.create(count);
    for (OpcUa_UInt32 i = 0; i < count; ++i) {
        values[i].hasStatus = true;
        values[i].status = status.statusCode();
    }
}

UA_ReadRequest readRequest(OpcUa_Double maxAge, OpcUa_TimestampsToReturn timestamps,
                           const UaReadValueIds& nodesToRead) {
    UA_ReadRequest request{};
    request.maxAge = maxAge;
    request.timestampsToReturn = timestamps;
    request.nodesToRead = borrow(nodesToRead);
    request.nodesToReadSize = nodesToRead.length();
    return request;
}

/// For one message.
bool isTooLong(UaStatus status) {
    return status.statusCode() == UA_STATUSCODE_BADRESPONSETOOLARGE ||
           status.statusCode() == UA_STATUSCODE_BADENCODINGLIMITSEXCEEDED ||
           status.statusCode() == UA_STATUSCODE_BADTCPMESSAGETOOLARGE;
}

UaStatus takeValues(UaStatus status, Answer<UA_ReadRequest>& answer, std::size_t count,
                    UaDataValues& values) {
    const bool isServersWord = answer.isRefusal || answer.isBrokenOff;
    const bool isUnsendable = count == 1 && isServersWord && isTooLong(status);
    if (answer.isUndecodable || isUnsendable) {
        // The server has served the request: it is the values that are of no use.
        makeUnreadable(status, static_cast<OpcUa_UInt32>(count), values);
        return UaStatus();
    }
    take(answer.results, answer.resultsSize, values);
    return status;
}

} // namespace

UaSession::UaSession() : m_impl(std::make_unique<Impl>()) {}
UaSession::~UaSession() = default;

UaStatus UaSession::connect(const UaString& url, SessionConnectInfo& connectInfo,
                            SessionSecurityInfo& securityInfo, UaSessionCallback* callback) {
    return m_impl->connect(url, connectInfo, securityInfo, callback);
}

UaStatus UaSession::disconnect(ServiceSettings& settings, bool deleteSubscriptions) {
    return m_impl->disconnect(settings, deleteSubscriptions);
}

bool UaSession::isConnected() const {
    return m_impl->isConnected();
}

bool UaSession::wasLostAhead() const {
    return m_impl->wasLostAhead();
}

UaStatus UaSession::read(ServiceSettings& settings, OpcUa_Double maxAge, OpcUa_TimestampsToReturn timestamps,
                         const UaReadValueIds& nodesToRead, UaDataValues& values,
                         UaDiagnosticInfos& diagnostics) {
    UA_ReadRequest request = readRequest(maxAge, timestamps, nodesToRead);
    Answer<UA_ReadRequest> answer;
    const UaStatus status = m_impl->call(settings, request, answer, nodesToRead.length());
    take(answer.diagnosticInfos, answer.diagnosticInfosSize, diagnostics);
    return takeValues(status, answer, nodesToRead.length(), values);
}

void UaSession::read(ServiceSettings& settings, OpcUa_Double maxAge, OpcUa_TimestampsToReturn timestamps,
                     const ReadSequence& sequence) {
    UaReadValueIds nodes;
    m_impl->callAhead<UA_ReadRequest>(
        settings,
        [&](UA_ReadRequest& request, std::size_t& count) {
            if (!sequence.next(nodes))
                return false;
            request = readRequest(maxAge, timestamps, nodes);
            count = nodes.length();
            return true;
        },
        [&sequence](UaStatus status, Answer<UA_ReadRequest>& answer, std::size_t count) {
            UaDataValues values;
            const UaStatus taken = takeValues(status, answer, count, values);
            return sequence.answered(taken, values);
        });
}

UaStatus UaSession::write(ServiceSettings& settings, const UaWriteValues& nodesToWrite,
                          UaStatusCodeArray& results, UaDiagnosticInfos& diagnostics) {
    UA_WriteRequest request{};
    request.nodesToWrite = borrow(nodesToWrite);
    request.nodesToWriteSize = nodesToWrite.length();
    Answer<UA_WriteRequest> answer;
    const UaStatus status = m_impl->call(settings, request, answer, nodesToWrite.length());
    take(answer.results, answer.resultsSize, results);
    take(answer.diagnosticInfos, answer.diagnosticInfosSize, diagnostics);
    return status;
}

UaStatus UaSession::browse(ServiceSettings& settings, const UaNodeId& nodeToBrowse,
                           const BrowseContext& context, UaByteString& continuationPoint,
                           UaReferenceDescriptions& references) {
    UA_BrowseDescription description{};
    description.nodeId = nodeToBrowse.raw();
    description.browseDirection = context.browseDirection;
    description.referenceTypeId = context.referenceTypeId.raw();
    description.includeSubtypes = context.includeSubtypes;
    description.nodeClassMask = context.nodeClassMask;
    description.resultMask = context.resultMask;
    UA_BrowseRequest request{};
    request.requestedMaxReferencesPerNode = context.maxReferencesToReturn;
    request.nodesToBrowse = &description;
    request.nodesToBrowseSize = 1;
    Answer<UA_BrowseRequest> answer;
    const UaStatus status = m_impl->call(settings, request, answer, 1);
    return takePage(status, answer, continuationPoint, references);
}

UaStatus UaSession::browseNext(ServiceSettings& settings, bool releaseContinuationPoint,
                               UaByteString& continuationPoint, UaReferenceDescriptions& references) {
    UA_ByteString point = continuationPoint.view();
    UA_BrowseNextRequest request{};
    request.releaseContinuationPoints = releaseContinuationPoint;
    request.continuationPoints = &point;
    request.continuationPointsSize = 1;
    Answer<UA_BrowseNextRequest> answer;
    const UaStatus status = m_impl->call(settings, request, answer, 1);
    return takePage(status, answer, continuationPoint, references);
}

UaStatus UaSession::createSubscription(ServiceSettings& settings, UaSubscriptionCallback* callback,
                                       unsigned int clientSubscriptionHandle,
                                       SubscriptionSettings& parameters, unsigned char publishingEnabled,
                                       UaSubscription** subscription) {
    return m_impl->createSubscription(settings, callback, clientSubscriptionHandle, parameters,
                                      publishingEnabled != 0, subscription);
}

UaStatus UaSession::deleteSubscription(ServiceSettings& settings, UaSubscription** subscription,
                                       unsigned int) {
    return m_impl->deleteSubscription(settings, subscription);
}

} // namespace UaClientSdk
