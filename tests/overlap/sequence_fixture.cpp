#include "overlap/sequence_fixture.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <mutex>
#include <vector>

using namespace scripted;
using namespace UaClientSdk;

namespace {

void nameNode(int number, UaReadValueIds& nodes) {
    nodes.create(1);
    UaNodeId(static_cast<OpcUa_UInt32>(number)).copyTo(&nodes[0].nodeId);
    nodes[0].attributeId = OpcUa_Attributes_Value;
}

/// A node's value tells which node it is.
void expectValue(UaStatus status, UaDataValues& values, int number) {
    if (status.isGood()) {
        ASSERT_EQ(values.length(), 1U);
        EXPECT_EQ(UaVariant(values[0].value).arraySize(), static_cast<OpcUa_UInt32>(number) + 1);
    } else {
        EXPECT_EQ(values.length(), 0U);
    }
}

} // namespace

void Sequence::connectSession(unsigned int requestsAhead) {
    SessionConnectInfo info;
    info.requestsAhead = requestsAhead;
    SessionSecurityInfo security;
    ASSERT_TRUE(session.connect(UaString(server.url()), info, security, nullptr).isGood());
}

std::vector<OpcUa_StatusCode> Sequence::read(int count, int limit, int stopAfter,
                                             const std::function<void(int number, int answered)>& asking) {
    int asked = 0;
    std::vector<OpcUa_StatusCode> statuses;
    ReadSequence sequence;
    sequence.next = [&](UaReadValueIds& nodes) {
        if (asked == count)
            return false;
        if (asking)
            asking(asked, static_cast<int>(statuses.size()));
        nameNode(firstNode + asked, nodes);
        ++asked;
        return true;
    };
    sequence.answered = [&](UaStatus status, UaDataValues& values) {
        expectValue(status, values, static_cast<int>(statuses.size()));
        statuses.push_back(status.statusCode());
        return static_cast<int>(statuses.size()) != stopAfter;
    };
    ServiceSettings settings;
    settings.callTimeout = limit;
    session.read(settings, 0, OpcUa_TimestampsToReturn_Both, sequence);
    return statuses;
}

OpcUa_StatusCode Sequence::readOne(int number) {
    UaReadValueIds nodes;
    nameNode(firstNode + number, nodes);
    ServiceSettings settings;
    UaDataValues values;
    UaDiagnosticInfos diagnostics;
    const UaStatus status =
        session.read(settings, 0, OpcUa_TimestampsToReturn_Both, nodes, values, diagnostics);
    expectValue(status, values, number);
    return status.statusCode();
}

std::size_t Sequence::mostAhead(int count, std::size_t first) {
    const HeldRequests held(server, typeOf<UA_ReadRequest>(), answerAll, first);
    EXPECT_EQ(read(count), good(count));
    return held.most();
}

void Sequence::leaveOut(const std::vector<int>& numbers) {
    serve(operations()[1], numbers, [this](const Call& call) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_left.push_back(call);
    });
}

void Sequence::answerWhatWasLeft() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::for_each(m_left.begin(), m_left.end(), answerWell);
}

void Sequence::refuse(const std::vector<int>& numbers, UA_StatusCode status) {
    serve(operations()[1], numbers, [status](const Call& call) { call.fault(status); });
}

void Sequence::TearDown() {
    ServiceSettings settings;
    session.disconnect(settings, true);
    EXPECT_THAT(server.violations(), testing::IsEmpty());
}
