// Answers that were cut off or changed on the way.

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>

#include <gtest/gtest.h>

#include "answer_bytes.h"
#include "encoding/answer_decoding.h"
#include "random_values.h"
#include "uastack/status_code.h"

using UaClientSdk::anyNumber;
using UaClientSdk::decodeAnswer;

namespace {

/// In a block of its own size: the sanitizer sees what is read behind it.
OpcUa_StatusCode decode(const OpcUa_Byte* begin, std::size_t size, Value& received) {
    const std::unique_ptr<OpcUa_Byte[]> copy(new OpcUa_Byte[size]);
    std::copy_n(begin, size, copy.get());
    return decodeAnswer({copy.get(), size}, received.type(), anyNumber, received.get()).statusCode();
}

/// Of a size that allows to try every byte.
Bytes smallAnswer(const UA_DataType& type, unsigned seed) {
    Bytes body;
    do {
        Value sent(type);
        RandomValues(seed++).fill(type, sent.get());
        body = sent.encoded();
    } while (body.size() > 3000);
    return body;
}

/// An answer of which only the header was read, if that was there.
Bytes emptyAnswer(const UA_DataType& type, const Bytes& body, std::size_t size) {
    Value empty(type);
    if (size >= 16) {
        std::memcpy(&empty.header().requestHandle, body.data() + 8, 4);
        std::memcpy(&empty.header().serviceResult, body.data() + 12, 4);
    }
    return empty.encoded();
}

TEST(DamagedAnswer, IsRefusedWhereverItIsCutOff) {
    for (const UA_DataType* type : responseTypes()) {
        for (unsigned seed = 0; seed < 3; ++seed) {
            const Bytes body = smallAnswer(*type, seed);
            for (std::size_t size = 0; size < body.size(); ++size) {
                Value received(*type);
                EXPECT_EQ(decode(body.data(), size, received), OpcUa_BadDecodingError)
                    << type->typeName << ", " << size;
                EXPECT_EQ(received.encoded(), emptyAnswer(*type, body, size));
            }
        }
    }
}

TEST(DamagedAnswer, DoesNoHarm) {
    std::size_t refused = 0;
    for (const UA_DataType* type : responseTypes()) {
        Bytes body = smallAnswer(*type, 17);
        for (OpcUa_Byte& byte : body) {
            const OpcUa_Byte whole = byte;
            for (const unsigned flipped : {0x01U, 0x40U, 0x80U, 0xFFU}) {
                byte = static_cast<OpcUa_Byte>(whole ^ flipped);
                Value received(*type);
                const OpcUa_StatusCode code = decode(body.data(), body.size(), received);
                EXPECT_TRUE(code == OpcUa_Good || code == OpcUa_BadDecodingError ||
                            code == OpcUa_BadEncodingLimitsExceeded);
                refused += code == OpcUa_Good ? 0 : 1;
                EXPECT_FALSE(received.encoded().empty());
            }
            byte = whole;
        }
    }
    EXPECT_GT(refused, 0U);
}

} // namespace
