// One of several requests on their way is answered as no good server does.
#include <algorithm>
#include <cstddef>
#include <functional>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

#include "overlap/overlap_fixture.h"

using namespace scripted;

namespace {

/// Answers with as many results more than there should be.
void answerWithResults(const Call& call, int more) {
    if (call.is<UA_ReadRequest>()) {
        const std::size_t asked = call.request<UA_ReadRequest>().nodesToReadSize;
        Owned<UA_ReadResponse> response;
        resize(response->results, response->resultsSize, asked + static_cast<std::size_t>(more));
        call.answer(*response);
    } else {
        const std::size_t asked = call.request<UA_CreateMonitoredItemsRequest>().itemsToCreateSize;
        Owned<UA_CreateMonitoredItemsResponse> response;
        resize(response->results, response->resultsSize, asked + static_cast<std::size_t>(more));
        call.answer(*response);
    }
}

struct StrangeAnswer {
    std::string name;
    std::function<void(const Call&)> answer;
    bool isServed = false; ///< the values of a read are of no use, and that is all
};

std::ostream& operator<<(std::ostream& stream, const StrangeAnswer& answer) {
    return stream << answer.name;
}

const std::vector<StrangeAnswer> strangeAnswers{
    {"Fault", [](const Call& call) { call.fault(UA_STATUSCODE_BADNODEIDUNKNOWN); }},
    {"FaultAboutTheRequest", [](const Call& call) { call.fault(UA_STATUSCODE_BADUSERACCESSDENIED); }},
    {"TooFewResults", [](const Call& call) { answerWithResults(call, -1); }},
    {"TooManyResults", [](const Call& call) { answerWithResults(call, 1); }},
    {"AnotherType",
     [](const Call& call) {
         Owned<UA_WriteResponse> response;
         call.answer(*response);
     }},
    {"Truncated",
     [](const Call& call) {
         const Bytes body = call.usualBody();
         call.answerBody(body.substr(0, body.size() - 5));
     },
     true},
    {"Abort",
     [](const Call& call) {
         call.connection().send(call.chunk('A', u32(UA_STATUSCODE_BADINTERNALERROR) + nullText()));
     }},
};

constexpr int position = 5;

class StrangelyAnswered : public OverlapTest,
                          public testing::WithParamInterface<std::tuple<Operation, StrangeAnswer>> {
protected:
    /// When this request is answered so.
    static std::vector<int> outcome(int failing) {
        const auto& [operation, strange] = GetParam();
        if (!strange.isServed || operation.kind != Kind::Browse)
            return expected(operation, {failing});
        std::vector<int> results = expected(operation, {});
        results[static_cast<std::size_t>(failing)] = untyped;
        return results;
    }
};

INSTANTIATE_TEST_SUITE_P(Of, StrangelyAnswered,
                         testing::Combine(testing::ValuesIn(operations()), testing::ValuesIn(strangeAnswers)),
                         [](const auto& one) {
                             return std::get<0>(one.param).name + std::get<1>(one.param).name;
                         });

TEST_P(StrangelyAnswered, FailsAlone) {
    const auto& [operation, strange] = GetParam();
    prepare(operation);
    serve(operation, {position}, strange.answer);
    EXPECT_EQ(run(operation), outcome(position));
    EXPECT_EQ(status(), connected);
    serveWell(operation);
    EXPECT_EQ(run(operation), expected(operation, {}));
    EXPECT_EQ(server.connections(), 1);
}

/// It comes before its turn: it is decoded later.
TEST_P(StrangelyAnswered, FailsAloneBeforeItsTurn) {
    const auto& [operation, strange] = GetParam();
    prepare(operation);
    int failing = -1;
    const HeldRequests held(server, *operation.request,
                            [&failing, answer = strange.answer](HeldRequests::Calls& calls) {
                                if (failing < 0) { // two at least
                                    failing = static_cast<int>(calls.size()) - 1;
                                    answer(calls.back());
                                    calls.pop_back();
                                }
                                std::for_each(calls.rbegin(), calls.rend(), answerWell);
                            });
    const std::vector<int> got = run(operation);
    ASSERT_GE(failing, 1);
    EXPECT_EQ(got, outcome(failing));
    EXPECT_EQ(status(), connected);
}

class EachOperationAnsweredAgain : public OverlapTest, public testing::WithParamInterface<Operation> {};

INSTANTIATE_TEST_SUITE_P(Of, EachOperationAnsweredAgain, testing::ValuesIn(operations()),
                         [](const auto& one) { return one.param.name; });

/// Before its turn, while the first answer is kept, and once more when its turn is over.
TEST_P(EachOperationAnsweredAgain, TakesTheFirstAnswer) {
    prepare(GetParam());
    HeldRequests::Calls previous;
    int again = 0;
    const HeldRequests held(server, *GetParam().request, [&](HeldRequests::Calls& calls) {
        for (const Call& call : previous)
            call.fault(UA_STATUSCODE_BADINTERNALERROR);
        std::for_each(calls.begin() + 1, calls.end(), [&again](const Call& call) {
            answerWell(call);
            call.fault(UA_STATUSCODE_BADINTERNALERROR);
            ++again;
        });
        answerWell(calls.front());
        previous = calls;
    });
    EXPECT_EQ(run(GetParam()), expected(GetParam(), {}));
    EXPECT_GE(again, 1);
    EXPECT_EQ(status(), connected);
}

} // namespace
