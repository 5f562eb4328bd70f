// A few bytes must not make the client take much memory: eight times a message and a little, whatever it is.
#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "hostile/heap_peak.h"
#include "hostile/hostile_fixture.h"
#include "uaclient/session.h"

using namespace scripted;

namespace {

constexpr std::size_t megabyte = 1 << 20;
constexpr std::size_t allowance = 16 * megabyte;

constexpr std::size_t boundFor(std::size_t message) {
    return 8 * message + allowance;
}

/// An answer that consists of one list of small things.
struct Flood {
    std::string name;
    const UA_DataType* request;
    const UA_DataType* response;
    Bytes before; ///< between the response header and the list's length
    Bytes element;
    Bytes after = {};
};

std::ostream& operator<<(std::ostream& stream, const Flood& flood) {
    return stream << flood.name;
}

const Bytes noList = nullText();

/// One result of a Read whose value is an array of this built-in type.
Flood valueOf(const std::string& name, unsigned builtInType, const Bytes& element) {
    return {name,
            &typeOf<UA_ReadRequest>(),
            &typeOf<UA_ReadResponse>(),
            u32(1) + hex("01") + u8(0x80 | builtInType),
            element,
            noList};
}

template <class Request, class Response>
Flood listOf(const std::string& name, const Bytes& before, const Bytes& element, const Bytes& after) {
    return {name, &typeOf<Request>(), &typeOf<Response>(), before, element, after};
}

const Bytes emptyApplication =
    nullText() + nullText() + hex("00") + u32(0) + nullText() + nullText() + noList;
const Bytes emptyEndpoint =
    nullText() + emptyApplication + nullText() + u32(1) + nullText() + noList + nullText() + hex("00");
const Bytes emptyTokenPolicy = nullText() + u32(0) + nullText() + nullText() + nullText();
const Bytes emptyReference = hex("0000 01 0000 0000") + nullText() + hex("00") + u32(1) + hex("0000");
const Bytes emptyItemResult = u32(0) + u32(1) + Bytes(8, '\0') + u32(1) + hex("0000 00");
const Bytes sessionStart = hex("0100 0100 0100 0101") + Bytes(8, '\0') + nullText() + nullText();
const Bytes noSignature = nullText() + nullText();

const std::vector<Flood> floods{
    listOf<UA_ReadRequest, UA_ReadResponse>("ReadResults", {}, hex("00"), noList),
    listOf<UA_ReadRequest, UA_ReadResponse>("ReadDiagnostics", u32(1) + hex("00"), hex("00"), {}),
    valueOf("Variants", 24, hex("00")),
    valueOf("DataValues", 23, hex("00")),
    valueOf("DiagnosticInfos", 25, hex("00")),
    valueOf("ExtensionObjects", 22, hex("0000 00")),
    valueOf("LocalizedTexts", 21, hex("00")),
    valueOf("QualifiedNames", 20, hex("0000") + nullText()),
    valueOf("ExpandedNodeIds", 18, hex("0000")),
    valueOf("NodeIds", 17, hex("0000")),
    valueOf("XmlElements", 16, nullText()),
    valueOf("ByteStrings", 15, nullText()),
    valueOf("Strings", 12, nullText()),
    valueOf("ShortStrings", 12, lengthAnd("x")),
    valueOf("EmptyArraysInVariants", 24, hex("81 00000000")),
    valueOf("OneByteExtensionObjects", 22, hex("0000 01 01000000 00")),
    valueOf("ByteArraysInVariants", 24, hex("83 01000000 00")),
    listOf<UA_WriteRequest, UA_WriteResponse>("WriteResults", {}, u32(0), noList),
    listOf<UA_WriteRequest, UA_WriteResponse>("WriteDiagnostics", u32(1) + u32(0), hex("00"), {}),
    listOf<UA_BrowseRequest, UA_BrowseResponse>("BrowseResults", {}, u32(0) + nullText() + noList, noList),
    listOf<UA_BrowseRequest, UA_BrowseResponse>("BrowseDiagnostics", noList, hex("00"), {}),
    listOf<UA_FindServersRequest, UA_FindServersResponse>("Servers", {}, emptyApplication, {}),
    listOf<UA_FindServersRequest, UA_FindServersResponse>(
        "DiscoveryUrls", u32(1) + emptyApplication.substr(0, emptyApplication.size() - 4), nullText(), {}),
    listOf<UA_GetEndpointsRequest, UA_GetEndpointsResponse>("Endpoints", {}, emptyEndpoint, {}),
    listOf<UA_GetEndpointsRequest, UA_GetEndpointsResponse>(
        "TokenPolicies", u32(1) + emptyEndpoint.substr(0, emptyEndpoint.size() - 9), emptyTokenPolicy,
        nullText() + hex("00")),
    listOf<UA_CreateSessionRequest, UA_CreateSessionResponse>("SessionEndpoints", sessionStart, emptyEndpoint,
                                                              noList + noSignature + u32(0)),
    listOf<UA_CreateSessionRequest, UA_CreateSessionResponse>("SoftwareCertificates", sessionStart + noList,
                                                              noSignature, noSignature + u32(0)),
    listOf<UA_ActivateSessionRequest, UA_ActivateSessionResponse>("ActivationResults", nullText(), u32(0),
                                                                  noList),
    listOf<UA_ActivateSessionRequest, UA_ActivateSessionResponse>("ActivationDiagnostics",
                                                                  nullText() + noList, hex("00"), {}),
    listOf<UA_CreateMonitoredItemsRequest, UA_CreateMonitoredItemsResponse>("ItemResults", {},
                                                                            emptyItemResult, noList),
    listOf<UA_CreateMonitoredItemsRequest, UA_CreateMonitoredItemsResponse>(
        "ItemDiagnostics", u32(1) + emptyItemResult, hex("00"), {}),
    listOf<UA_DeleteSubscriptionsRequest, UA_DeleteSubscriptionsResponse>("DeleteResults", {}, u32(0),
                                                                          noList),
    listOf<UA_DeleteSubscriptionsRequest, UA_DeleteSubscriptionsResponse>("DeleteDiagnostics",
                                                                          u32(1) + u32(0), hex("00"), {}),
};

class Memory : public HostileTest {
protected:
    /// One body a case, made before anything is measured.
    static Bytes bodyOf(const Flood& flood, std::size_t size) {
        const std::size_t count = size / flood.element.size();
        return flood.before + u32(static_cast<std::uint32_t>(count)) + repeated(flood.element, count) +
               flood.after;
    }
    /// Whatever operation makes this request.
    void run(const UA_DataType* request) {
        if (request == &typeOf<UA_ReadRequest>()) {
            read();
        } else if (request == &typeOf<UA_WriteRequest>()) {
            writeText("text");
        } else if (request == &typeOf<UA_BrowseRequest>()) {
            browse();
        } else if (request == &typeOf<UA_CreateMonitoredItemsRequest>()) {
            add("ns=1;s=Another");
        } else if (request == &typeOf<UA_DeleteSubscriptionsRequest>()) {
            client.OpcUaDeleteSubScription();
        } else if (request == &typeOf<UA_FindServersRequest>() ||
                   request == &typeOf<UA_GetEndpointsRequest>()) {
            const auto found = std::make_unique<_OpcUa_ServerConfigMsg>();
            std::string url = server.url();
            client.OpcUaDiscover(url.data(), *found);
        } else {
            connect(10000);
        }
    }
    /// An answer as it goes out, made before anything is measured.
    static std::shared_ptr<Bytes> answerOf(const UA_DataType& response, const Bytes& rest,
                                           const Bytes& names = noList) {
        return std::make_shared<Bytes>(encode(response.binaryEncodingId) + Bytes(16, '\0') + hex("00") +
                                       names + hex("0000 00") + rest);
    }
    /// Piece by piece: what the server copies must not count.
    static void send(const Call& call, Bytes& answer) {
        constexpr std::size_t placeOfTheHandle = 12;
        answer.replace(placeOfTheHandle, 4, u32(call.handle()));
        const std::size_t piece = call.connection().clientLimits().receiveBufferSize - 100;
        for (std::size_t position = 0; position < answer.size(); position += piece) {
            const bool last = position + piece >= answer.size();
            call.connection().send(call.chunk(last ? 'F' : 'C', answer.substr(position, piece)));
        }
    }
    /// Answers one kind of request so, and measures what that takes.
    void expectBounded(const UA_DataType* request, const std::shared_ptr<Bytes>& answer) {
        server.onType(*request, [answer](const Call& call) { send(call, *answer); });
        const HeapPeak peak;
        run(request);
        EXPECT_LE(peak.growth(), boundFor(answer->size()));
    }
    /// Answers a waiting Publish request so.
    void expectBoundedPublish(const Bytes& rest) {
        const auto answer = answerOf(typeOf<UA_PublishResponse>(), rest);
        const std::optional<Call> call = server.publisher().takeRequest();
        ASSERT_TRUE(call);
        const HeapPeak peak;
        send(*call, *answer);
        EXPECT_EQ(read(), 0); // behind it
        EXPECT_LE(peak.growth(), boundFor(answer->size()));
        server.publisher().publish(43);
        EXPECT_TRUE(waitForValue(43));
    }
    /// A message in a subscription's answer: number 2, at no time, with this data.
    Bytes notification(const Bytes& data) {
        return u32(server.publisher().subscriptionId()) + noList + hex("00") + u32(2) + Bytes(8, '\0') +
               data + noList + noList;
    }
};

class Floods : public Memory, public testing::WithParamInterface<Flood> {};

TEST_P(Floods, CostNoMoreThanTheirBytesAllow) {
    const Flood& flood = GetParam();
    const auto answer = answerOf(*flood.response, bodyOf(flood, 3 * megabyte));
    monitor();
    expectBounded(flood.request, answer);
}

TEST_P(Floods, OfNothingBehindTheirLengthCostNothing) {
    const Flood& flood = GetParam();
    monitor();
    for (const std::uint32_t length : {0x7FFFFFFFU, 0x10000000U, 0x00FFFFFFU, 0x80000000U, 0xFFFFFFFEU})
        expectBounded(flood.request, answerOf(*flood.response, flood.before + u32(length) + flood.element));
}

INSTANTIATE_TEST_SUITE_P(Each, Floods, testing::ValuesIn(floods),
                         [](const auto& one) { return one.param.name; });

const UA_DataType* const reads = &typeOf<UA_ReadRequest>();

TEST_F(Memory, BoundsAMessageOfTheLargestSize) {
    const Bytes rest = u32(15 << 20) + Bytes(15 << 20, '\0') + noList;
    ASSERT_EQ(connect(), 0);
    expectBounded(reads, answerOf(typeOf<UA_ReadResponse>(), rest));
}

TEST_F(Memory, BoundsAnElementOfAnotherTypeThanExpected) {
    const std::uint32_t count = 15 << 20;
    const auto answer =
        answerOf(typeOf<UA_ReadResponse>(), u32(1) + hex("01 83") + u32(count) + Bytes(count, '\7') + noList);
    ASSERT_EQ(connect(), 0);
    server.onType(typeOf<UA_ReadRequest>(), [answer](const Call& call) { send(call, *answer); });
    OpcUaNode node{};
    setField(node.nodeId, "ns=1;s=Value");
    node.dataType = OpcUaDataType_String;
    unsigned long index = count - 1;
    std::array<char, 8> text{};
    int size = text.size();
    const HeapPeak peak;
    EXPECT_EQ(client.OpcUaGetArrayValue(&node, &index, 1, text.data(), size), 0);
    EXPECT_LE(peak.growth(), boundFor(answer->size()));
    EXPECT_STREQ(text.data(), "7");
}

TEST_F(Memory, BoundsNamesInTheHeader) {
    const std::uint32_t count = 3 * megabyte / 4;
    const Bytes names = u32(count) + repeated(nullText(), count);
    ASSERT_EQ(connect(), 0);
    expectBounded(reads, answerOf(typeOf<UA_ReadResponse>(), noList + noList, names));
    expectBounded(reads, answerOf(typeOf<UA_ServiceFault>(), {}, names));
}

TEST_F(Memory, BoundsArraysInArrays) {
    // A thousand arrays of a thousand empty variants each, each behind its own small header.
    const Bytes inner = hex("98") + u32(1000) + Bytes(1000, '\0');
    const Bytes rest = u32(1) + hex("01 98") + u32(1000) + repeated(inner, 1000) + noList;
    ASSERT_EQ(connect(), 0);
    expectBounded(reads, answerOf(typeOf<UA_ReadResponse>(), rest));
}

TEST_F(Memory, BoundsDimensions) {
    // 2 to the 96 elements, if one multiplied; none is there.
    const Bytes dimensions = u32(3) + repeated(u32(0xFFFFFFFF), 3);
    const Bytes rest = u32(1) + hex("01 C6") + u32(0) + dimensions + noList;
    const Bytes many =
        u32(1) + hex("01 C6") + u32(1) + u32(7) + u32(700000) + repeated(u32(1), 700000) + noList;
    ASSERT_EQ(connect(), 0);
    expectBounded(reads, answerOf(typeOf<UA_ReadResponse>(), rest));
    expectBounded(reads, answerOf(typeOf<UA_ReadResponse>(), many));
    server.behave();
    expectUnharmed();
}

TEST_F(Memory, BoundsNestedValues) {
    for (const Bytes& level : {hex("18"), hex("98 01000000"), hex("97 01000000 01"), hex("99 01000000 40")}) {
        const Bytes rest = u32(1) + hex("01") + repeated(level, 3 * megabyte / level.size());
        expectBounded(reads, answerOf(typeOf<UA_ReadResponse>(), rest));
        if (status() != connected)
            ASSERT_EQ(connect(), 0);
    }
    server.behave();
}

/// Of the layer below: a child of the library's own takes more than its reference.
class BrowsedPage : public Memory, public testing::WithParamInterface<std::size_t> {};

TEST_P(BrowsedPage, IsBounded) {
    const auto count = static_cast<std::uint32_t>(GetParam() / emptyReference.size());
    const auto answer = answerOf(typeOf<UA_BrowseResponse>(), u32(1) + u32(0) + nullText() + u32(count) +
                                                                  repeated(emptyReference, count) + noList);
    UaClientSdk::UaSession session;
    UaClientSdk::SessionConnectInfo connectInfo;
    UaClientSdk::SessionSecurityInfo security;
    UaClientSdk::ServiceSettings settings;
    connectInfo.automaticReconnect = false;
    ASSERT_TRUE(session.connect(UaString(server.url()), connectInfo, security, nullptr).isGood());
    server.on<UA_BrowseRequest>([answer](const Call& call) { send(call, *answer); });
    UaByteString continuationPoint;
    UaReferenceDescriptions references;
    const HeapPeak peak;
    session.browse(settings, UaNodeId(84), {}, continuationPoint, references);
    EXPECT_LE(peak.growth(), boundFor(answer->size()));
    EXPECT_TRUE(session.disconnect(settings, true).isGood());
}

INSTANTIATE_TEST_SUITE_P(Size, BrowsedPage, testing::Values(1 * megabyte, 3 * megabyte, 15 * megabyte));

TEST_F(Memory, BoundsNotificationsOfNothing) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    const std::uint32_t count = megabyte;
    expectBoundedPublish(notification(u32(count) + repeated(hex("0000 00"), count)));
}

TEST_F(Memory, BoundsChangesOfNothing) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    const std::uint32_t count = 3 * megabyte / 5;
    const Bytes changes = u32(count) + repeated(u32(0) + hex("00"), count) + noList;
    const Bytes typeId = encode(typeOf<UA_DataChangeNotification>().binaryEncodingId);
    expectBoundedPublish(notification(u32(1) + typeId + hex("01") + lengthAnd(changes)));
}

TEST_F(Memory, BoundsDiagnosticsOfChanges) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    const std::uint32_t count = 3 * megabyte;
    const Bytes changes = u32(0) + u32(count) + repeated(hex("00"), count);
    const Bytes typeId = encode(typeOf<UA_DataChangeNotification>().binaryEncodingId);
    expectBoundedPublish(notification(u32(1) + typeId + hex("01") + lengthAnd(changes)));
}

TEST_F(Memory, BoundsEventsThatNobodyAskedFor) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    const std::uint32_t count = 3 * megabyte / 8;
    const Bytes events = u32(count) + repeated(u32(0) + noList, count);
    const Bytes typeId = encode(typeOf<UA_EventNotificationList>().binaryEncodingId);
    server.publisher().lose({}); // it is sent here
    expectBoundedPublish(notification(u32(1) + typeId + hex("01") + lengthAnd(events)));
}

TEST_F(Memory, BoundsResultsOfAcknowledgements) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    const std::uint32_t count = 3 * megabyte;
    expectBoundedPublish(u32(server.publisher().subscriptionId()) + noList + hex("00") + u32(2) +
                         Bytes(8, '\0') + noList + noList + u32(count) + repeated(hex("00"), count));
}

TEST_F(Memory, KeepsNoChangesOfItemsThatThereAreNot) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    std::promise<void> goOn;
    application.onEachChange([held = goOn.get_future().share()](const _OpcUaDataChangeMsg&) { held.wait(); });
    server.publisher().publish(43);
    ASSERT_TRUE(application.waitForCount("ns=1;s=Item0", 2));
    constexpr std::size_t count = 200000;
    constexpr std::size_t size = 5; // handle, and a value without anything
    const Bytes typeId = encode(typeOf<UA_DataChangeNotification>().binaryEncodingId);
    const Bytes before = u32(server.publisher().subscriptionId()) + noList + hex("00") + u32(3) +
                         Bytes(8, '\0') + u32(1) + typeId + hex("01") + u32(8 + count * size) + u32(count);
    const auto answer = answerOf(typeOf<UA_PublishResponse>(),
                                 before + repeated(u32(0) + hex("00"), count) + noList + noList + noList);
    const std::size_t firstChange = answer->size() - 12 - count * size;
    const std::size_t placeOfTheNumber = answer->size() - 12 - count * size - before.size() + 9;
    std::uint32_t handle = 1000;
    const HeapPeak peak;
    for (std::uint32_t message = 0; message < 10; ++message) {
        answer->replace(placeOfTheNumber, 4, u32(3 + message));
        for (std::size_t i = 0; i < count; ++i)
            std::memcpy(&(*answer)[firstChange + i * size], &++handle, sizeof handle);
        const std::optional<Call> call = server.publisher().takeRequest();
        ASSERT_TRUE(call);
        send(*call, *answer);
    }
    EXPECT_EQ(read(), 0); // behind it
    EXPECT_LE(peak.growth(), boundFor(answer->size()));
    goOn.set_value();
}

/// Behind a message that never comes, not even when it is asked for again: so many changes in each.
class BehindAGap : public Memory, public testing::WithParamInterface<std::size_t> {};

TEST_P(BehindAGap, LittleIsHeldBack) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    server.on<UA_RepublishRequest>([](const Call&) {});
    constexpr std::uint32_t unknownHandle = 1000; // nothing of it is handed on
    const auto count = static_cast<std::uint32_t>(GetParam());
    const Bytes changes = u32(count) + repeated(u32(unknownHandle) + hex("00"), count) + noList;
    const Bytes typeId = encode(typeOf<UA_DataChangeNotification>().binaryEncodingId);
    const Bytes subscription = u32(server.publisher().subscriptionId()) + noList + hex("00");
    const Bytes message = Bytes(8, '\0') + u32(1) + typeId + hex("01") + lengthAnd(changes) + noList + noList;
    const auto answer = answerOf(typeOf<UA_PublishResponse>(), subscription + u32(0) + message);
    const std::size_t placeOfTheNumber = answer->size() - message.size() - 4;
    const HeapPeak peak;
    for (std::uint32_t number = 3; number < 63; ++number) {
        answer->replace(placeOfTheNumber, 4, u32(number));
        const std::optional<Call> call = server.publisher().takeRequest();
        ASSERT_TRUE(call);
        send(*call, *answer);
    }
    EXPECT_EQ(read(), 0); // behind it
    EXPECT_LE(peak.growth(), boundFor(answer->size()));
}

INSTANTIATE_TEST_SUITE_P(Changes, BehindAGap, testing::Values(20000, 100000, 200000));

TEST_F(Memory, KeepsNothingOfAForgottenSubscription) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    server.on<UA_DeleteSubscriptionsRequest>(
        [](const Call& call) { call.fault(UA_STATUSCODE_BADINTERNALERROR); });
    const std::uint32_t forgotten = server.publisher().subscriptionId();
    EXPECT_EQ(client.OpcUaDeleteSubScription(), 9);
    ASSERT_EQ(client.OpcUaCreateSubScription(50), 0);
    const Bytes change = u32(1) + u32(1) + hex("01 0C") + lengthAnd(Bytes(500000, 'x')) + noList;
    const Bytes typeId = encode(typeOf<UA_DataChangeNotification>().binaryEncodingId);
    const Bytes rest = u32(forgotten) + noList + hex("00") + u32(2) + Bytes(8, '\0') + u32(1) + typeId +
                       hex("01") + lengthAnd(change) + noList + noList;
    const auto answer = answerOf(typeOf<UA_PublishResponse>(), rest);
    const HeapPeak peak;
    for (int i = 0; i < 100; ++i) {
        const std::optional<Call> call = server.publisher().takeRequest();
        ASSERT_TRUE(call);
        send(*call, *answer);
    }
    EXPECT_EQ(read(), 0);
    EXPECT_LE(peak.growth(), boundFor(answer->size()));
}

/// Chunks that come for as long as the client takes them, up to this sum.
class EndlessChunks : public Memory {
protected:
    static constexpr std::size_t sum = 200 * megabyte;
    /// What the client may hold: one message of the largest size, not yet whole.
    static constexpr std::size_t bound = 16 * megabyte + allowance;

    /// `next` makes the chunk of this number, out of one for the request that is waiting.
    void expectBoundedWith(const std::function<void(Chunk& chunk, std::uint32_t number)>& next) {
        ASSERT_EQ(connect(), 0);
        server.on<UA_ReadRequest>([next](const Call& call) {
            std::size_t sent = 0;
            Chunk chunk = call.chunk('C', {});
            for (std::uint32_t number = 1; sent < sum; ++number) {
                chunk.requestId = call.id();
                next(chunk, number);
                if (!call.connection().send(chunk))
                    return;
                sent += chunk.body.size() + 24;
            }
            call.answer();
        });
        const HeapPeak peak;
        read();
        EXPECT_LE(peak.growth(), bound);
    }
};

TEST_F(EndlessChunks, ThatAreEmptyAreNotKept) {
    expectBoundedWith([](Chunk&, std::uint32_t) {});
}

TEST_F(EndlessChunks, ThatAreFullAreNotKept) {
    expectBoundedWith([](Chunk& chunk, std::uint32_t) { chunk.body.resize(60000); });
}

TEST_F(EndlessChunks, ThatAbortAreNotKept) {
    expectBoundedWith([](Chunk& chunk, std::uint32_t number) {
        chunk.type = 'A';
        chunk.body = u32(UA_STATUSCODE_BADTIMEOUT) + nullText();
        chunk.requestId += number;
    });
}

TEST_F(EndlessChunks, ThatAbortWithAnEssayAreNotKept) {
    expectBoundedWith([](Chunk& chunk, std::uint32_t number) {
        chunk.type = 'A';
        if (chunk.body.empty())
            chunk.body = u32(UA_STATUSCODE_BADTIMEOUT) + lengthAnd(Bytes(60000, 'x'));
        chunk.requestId += number;
    });
}

TEST_F(EndlessChunks, OfEverNewMessagesAreNotKept) {
    expectBoundedWith([](Chunk& chunk, std::uint32_t number) {
        chunk.body.resize(60000);
        chunk.requestId += number;
    });
}

TEST_F(EndlessChunks, OfEverNewEmptyMessagesAreNotKept) {
    expectBoundedWith([](Chunk& chunk, std::uint32_t number) { chunk.requestId += number; });
}

TEST_F(EndlessChunks, ThatNobodyAskedForAreNotKept) {
    expectBoundedWith([](Chunk& chunk, std::uint32_t number) {
        chunk.type = 'F';
        chunk.body.resize(60000);
        chunk.requestId += number;
    });
}

} // namespace
