// Answers as a server should send them, and those whose number of results is another than what was asked for.

#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "answer_bytes.h"
#include "encoding/answer_decoding.h"
#include "random_values.h"
#include "uastack/status_code.h"

using UaClientSdk::anyNumber;
using UaClientSdk::decodeAnswer;

namespace {

using AnswerDecoding = testing::TestWithParam<const UA_DataType*>;

std::string nameOf(const testing::TestParamInfo<const UA_DataType*>& info) {
    return info.param->typeName;
}

INSTANTIATE_TEST_SUITE_P(Every, AnswerDecoding, testing::ValuesIn(responseTypes()), nameOf);

TEST_P(AnswerDecoding, GivesBackWhatWasEncoded) {
    for (unsigned seed = 0; seed < 100; ++seed) {
        Value sent(*GetParam());
        RandomValues(seed).fill(sent.type(), sent.get());
        const Bytes body = sent.encoded();
        Value received(*GetParam());
        const UaStatus status = decodeAnswer(view(body), received.type(), anyNumber, received.get());
        ASSERT_EQ(status.statusCode(), OpcUa_Good) << status.name() << ", seed " << seed;
        EXPECT_EQ(received.encoded(), body) << "seed " << seed;
    }
}

TEST_P(AnswerDecoding, IgnoresWhatFollows) {
    Value sent(*GetParam());
    sent.header().requestHandle = 7;
    Bytes body = sent.encoded();
    body.insert(body.end(), 5, 0xAA);
    Value received(*GetParam());
    EXPECT_TRUE(decodeAnswer(view(body), received.type(), anyNumber, received.get()).isGood());
    EXPECT_EQ(received.header().requestHandle, 7U);
}

TEST_P(AnswerDecoding, RefusesNothingAtAll) {
    Value received(*GetParam());
    EXPECT_EQ(decodeAnswer({}, received.type(), anyNumber, received.get()).statusCode(),
              OpcUa_BadDecodingError);
}

struct WithResults {
    const UA_DataType* type;
    Bytes beforeResults; ///< behind the header
    Bytes result;
};

class ResultCount : public testing::TestWithParam<WithResults> {
protected:
    static Bytes answer(std::size_t results, OpcUa_StatusCode serviceResult = OpcUa_Good) {
        return Encoding()
            .header(7, serviceResult)
            .append(GetParam().beforeResults)
            .count(results)
            .repeat(results, GetParam().result)
            .null()
            .bytes();
    }

    static Bytes answerWithoutResults(OpcUa_StatusCode serviceResult) {
        return Encoding().header(7, serviceResult).append(GetParam().beforeResults).null().null().bytes();
    }

    static OpcUa_StatusCode decode(const Bytes& body, std::size_t expected) {
        Value received(*GetParam().type);
        const UaStatus status = decodeAnswer(view(body), received.type(), expected, received.get());
        EXPECT_EQ(received.header().requestHandle, 7U);
        return status.statusCode();
    }
};

std::vector<WithResults> servicesWithResults() {
    const Bytes statusCode = Encoding().number(OpcUa_UInt32{0}).bytes();
    const Bytes browseResult = Encoding().number(OpcUa_UInt32{0}).null().null().bytes();
    const Bytes itemResult = Encoding().repeat(5, statusCode).byte(0).byte(0).byte(0).bytes();
    const Bytes notification = Encoding().append(statusCode).number(OpcUa_Int64{0}).null().bytes();
    // Two available sequence numbers: they are no results.
    const Bytes publish = Encoding()
                              .number(OpcUa_UInt32{1})
                              .count(2)
                              .repeat(2, statusCode)
                              .byte(0)
                              .append(notification)
                              .bytes();
    return {
        {&UA_TYPES[UA_TYPES_READRESPONSE], {}, {0}},
        {&UA_TYPES[UA_TYPES_WRITERESPONSE], {}, statusCode},
        {&UA_TYPES[UA_TYPES_BROWSERESPONSE], {}, browseResult},
        {&UA_TYPES[UA_TYPES_BROWSENEXTRESPONSE], {}, browseResult},
        {&UA_TYPES[UA_TYPES_CREATEMONITOREDITEMSRESPONSE], {}, itemResult},
        {&UA_TYPES[UA_TYPES_DELETEMONITOREDITEMSRESPONSE], {}, statusCode},
        {&UA_TYPES[UA_TYPES_DELETESUBSCRIPTIONSRESPONSE], {}, statusCode},
        {&UA_TYPES[UA_TYPES_ACTIVATESESSIONRESPONSE], Encoding().null().bytes(), statusCode},
        {&UA_TYPES[UA_TYPES_PUBLISHRESPONSE], publish, statusCode},
    };
}

INSTANTIATE_TEST_SUITE_P(Every, ResultCount, testing::ValuesIn(servicesWithResults()),
                         [](const auto& service) { return std::string(service.param.type->typeName); });

TEST_P(ResultCount, MustBeWhatWasAskedFor) {
    for (std::size_t count = 0; count < 5; ++count)
        EXPECT_EQ(decode(answer(count), 3), count == 3 ? OpcUa_Good : OpcUa_BadUnknownResponse) << count;
    EXPECT_EQ(decode(answer(200), 3), OpcUa_BadUnknownResponse);
}

TEST_P(ResultCount, IsNoneForANullArray) {
    EXPECT_EQ(decode(answerWithoutResults(OpcUa_Good), 3), OpcUa_BadUnknownResponse);
    EXPECT_EQ(decode(answerWithoutResults(OpcUa_Good), 0), OpcUa_Good);
}

TEST_P(ResultCount, IsFreeWhenNotKnown) {
    EXPECT_EQ(decode(answer(4), anyNumber), OpcUa_Good);
}

TEST_P(ResultCount, IsFreeWhenTheServiceFailed) {
    constexpr OpcUa_StatusCode uncertain = 0x40000000;
    EXPECT_EQ(decode(answerWithoutResults(OpcUa_BadTimeout), 3), OpcUa_Good);
    EXPECT_EQ(decode(answer(1, OpcUa_BadTimeout), 3), OpcUa_Good);
    EXPECT_EQ(decode(answer(1, uncertain), 3), OpcUa_BadUnknownResponse);
}

TEST(AnswerRefusal, LeavesTheHeaderAlone) {
    const Bytes body = readAnswer(3, Encoding().byte(1).byte(12).count(1).byte('x').bytes());
    Value received(UA_TYPES[UA_TYPES_READRESPONSE]);
    EXPECT_EQ(decodeAnswer(view(body), received.type(), 2, received.get()).statusCode(),
              OpcUa_BadUnknownResponse);
    EXPECT_EQ(received.header().requestHandle, 1U);
    EXPECT_EQ(received.as<UA_ReadResponse>().resultsSize, 0U);
    EXPECT_EQ(received.as<UA_ReadResponse>().results, nullptr);
}

TEST(AnswerRefusal, TellsTheServicesOwnResult) {
    Bytes body = Encoding().header(9, OpcUa_BadTimeout).bytes();
    body.resize(body.size() - 1);
    Value received(UA_TYPES[UA_TYPES_SERVICEFAULT]);
    EXPECT_EQ(decodeAnswer(view(body), received.type(), anyNumber, received.get()).statusCode(),
              OpcUa_BadDecodingError);
    EXPECT_EQ(received.header().requestHandle, 9U);
    EXPECT_EQ(received.header().serviceResult, OpcUa_BadTimeout);
}

} // namespace
