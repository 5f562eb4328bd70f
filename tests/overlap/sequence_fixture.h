#pragma once

#include <cstddef>
#include <functional>
#include <mutex>
#include <vector>

#include "overlap/overlap_fixture.h"
#include "uaclient/session.h"

/// A session without a client around it.
class Sequence : public OverlapTest {
protected:
    static constexpr int firstNode = 1000;

    void connectSession(unsigned int requestsAhead = UaClientSdk::SessionConnectInfo::defaultRequestsAhead);
    /// Reads so many nodes, one a request. The status of each, and of its value. `asking` is told the number
    /// of each request that is about to be sent, and how many have been answered.
    std::vector<OpcUa_StatusCode> read(int count, int limit = 10000, int stopAfter = -1,
                                       const std::function<void(int number, int answered)>& asking = nullptr);
    /// One read by itself.
    OpcUa_StatusCode readOne(int number = 0);
    static std::vector<OpcUa_StatusCode> good(int count) {
        return std::vector<OpcUa_StatusCode>(static_cast<std::size_t>(count), OpcUa_Good);
    }
    /// The most reads of `count` that are on their way at a time. They must go well.
    std::size_t mostAhead(int count, std::size_t first);
    /// Leaves the requests with these numbers without an answer, until afterwards.
    void leaveOut(const std::vector<int>& numbers);
    void answerWhatWasLeft();
    /// Answers those with these numbers with a fault.
    void refuse(const std::vector<int>& numbers, UA_StatusCode status);

    void TearDown() override;

    UaClientSdk::UaSession session;

private:
    std::mutex m_mutex;
    HeldRequests::Calls m_left;
};
