#include <algorithm>
#include <atomic>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <open62541/types_generated_handling.h>

#include "subscription/notification_queue.h"
#include "support/held_memory.h"
#include "support/temporary_directory.h"
#include "support/text_file.h"
#include "uabase/trace.h"

using test_support::heldMemory;
using UaClientSdk::CallbackThread;
using UaClientSdk::NotificationQueue;

namespace {

/// Goes through the changes as the library does, and keeps what it saw.
class Receiver final : public UaClientSdk::UaSubscriptionCallback {
public:
    struct Change {
        OpcUa_UInt32 clientHandle;
        std::string value;
    };

    void dataChange(unsigned int, const UaMonitoredItemNotifications& notifications,
                    const UaDiagnosticInfos&) override {
        ++calls;
        for (OpcUa_UInt32 i = 0; i < notifications.length(); ++i) {
            const UaDataChange change = notifications[i];
            const std::string value = begin(change.value);
            {
                const std::lock_guard<std::mutex> lock(m_mutex);
                m_changes.push_back({change.clientHandle, value});
            }
            if (onChange)
                onChange();
            // A view that dangled would be seen here under the address sanitizer.
            EXPECT_EQ(begin(change.value), value);
        }
    }
    void subscriptionStatusChanged(unsigned int, const UaStatus& status) override {
        const std::lock_guard<std::mutex> lock(m_mutex);
        ended = status.statusCode();
        m_changes.push_back({0, "end"});
    }

    std::vector<Change> changes() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_changes;
    }
    /// "handle:value" of each, parted by blanks.
    std::string shown() const {
        std::string result;
        for (const Change& change : changes())
            result += std::to_string(change.clientHandle) + ':' + change.value + ' ';
        return result;
    }

    std::function<void()> onChange;
    std::atomic<int> calls{0};
    std::atomic<OpcUa_StatusCode> ended{OpcUa_Good};

private:
    /// Of a long text some letters.
    static std::string begin(const UaVariant& value) {
        if (value.type() != OpcUaType_String)
            return value.toString().text();
        const auto& text = *static_cast<const OpcUa_String*>(value.raw().data);
        return {text.data, text.data + std::min<std::size_t>(text.length, 20)};
    }

    mutable std::mutex m_mutex;
    std::vector<Change> m_changes;
};

/// Holds a callback up from its first change on until it is released.
class Hold {
public:
    std::function<void()> callback() {
        return [this] {
            if (!m_held.exchange(true)) {
                m_reached.set_value();
                m_release.get_future().wait();
            }
        };
    }
    void waitUntilReached() { m_reached.get_future().wait(); }
    void release() { m_release.set_value(); }

private:
    std::atomic<bool> m_held{false};
    std::promise<void> m_reached;
    std::promise<void> m_release;
};

class Queue : public testing::Test {
protected:
    Queue() {
        UaStatus status;
        thread = CallbackThread::start(status);
        EXPECT_TRUE(status.isGood());
    }
    ~Queue() override { thread->stop(); }

    void collect(OpcUa_UInt32 handle, OpcUa_Int32 value) {
        OpcUa_DataValue change = {};
        UA_Variant_setScalar(&change.value, &value, &UA_TYPES[UA_TYPES_INT32]);
        queue->collect(handle, change);
    }
    /// It begins with the letter.
    void collectText(OpcUa_UInt32 handle, std::size_t length, char letter) {
        OpcUa_DataValue change = {};
        UA_String* const text = UA_String_new();
        ASSERT_EQ(UA_ByteString_allocBuffer(text, length), UA_STATUSCODE_GOOD);
        std::fill_n(text->data, std::min<std::size_t>(length, 20), static_cast<UA_Byte>(letter));
        UA_Variant_setScalar(&change.value, text, &UA_TYPES[UA_TYPES_STRING]);
        queue->collect(handle, change);
        UA_clear(&change, &UA_TYPES[UA_TYPES_DATAVALUE]);
    }
    /// One change, with the delivery held up in it.
    void holdUp(Hold& hold) {
        receiver.onChange = hold.callback();
        collect(1, 0);
        queue->handOver(*thread);
        hold.waitUntilReached();
    }

    Receiver receiver;
    std::shared_ptr<NotificationQueue> queue = std::make_shared<NotificationQueue>(&receiver, 7);
    std::unique_ptr<CallbackThread> thread;
};

constexpr std::size_t mebibyte = std::size_t{1} << 20;

TEST_F(Queue, ChangesOfAnItemThatIsDoubtedMeanwhileAreNobodys) {
    Hold hold;
    EXPECT_EQ(queue->handles().toTell(3), 3U);
    holdUp(hold);
    collect(3, 7);
    queue->handOver(*thread);
    {
        const std::lock_guard<std::mutex> asking(queue->handles().asking);
        hold.release();
        queue->handles().doubt(3);
    }
    const OpcUa_UInt32 told = queue->handles().toTell(3);
    EXPECT_FALSE(queue->handles().isExpected(3));
    EXPECT_TRUE(queue->handles().isExpected(told));
    EXPECT_FALSE(queue->handles().isExpected(told + 1)) << "made up";
    collect(told, 8);
    queue->handOver(*thread);
    thread->flush();
    EXPECT_EQ(receiver.shown(), "1:0 0:7 3:8 ");
}

TEST_F(Queue, DeliversWhatWasHandedOverInOrderAndAtOnce) {
    collect(1, 10);
    collect(2, 20);
    collect(1, 11);
    EXPECT_EQ(receiver.calls, 0);
    queue->handOver(*thread);
    thread->flush();
    EXPECT_EQ(receiver.shown(), "1:10 2:20 1:11 ");
    EXPECT_EQ(receiver.calls, 1);
    queue->handOver(*thread);
    thread->flush();
    EXPECT_EQ(receiver.calls, 1) << "there was nothing to deliver";
}

TEST_F(Queue, WhatComesDuringACallIsDeliveredTogetherByTheNext) {
    Hold hold;
    holdUp(hold);
    for (int i = 0; i < 100; ++i) {
        collect(2, i);
        queue->handOver(*thread);
    }
    hold.release();
    thread->flush();
    EXPECT_EQ(receiver.calls, 2);
    EXPECT_EQ(receiver.changes().size(), 101U);
}

TEST_F(Queue, TheLastReportComesBehindTheChanges) {
    collect(1, 10);
    queue->reportEnd(*thread, OpcUa_BadTimeout);
    thread->flush();
    EXPECT_EQ(receiver.shown(), "1:10 0:end ");
    EXPECT_EQ(receiver.ended, OpcUa_BadTimeout);
}

TEST_F(Queue, BeyondTheNumberTheLatestOfEachItemIsLeftInTheOrderOfItsArrival) {
    Hold hold;
    holdUp(hold);
    collect(3, 30);
    collect(4, 40);
    collect(5, 50);
    for (std::size_t i = 0; i < NotificationQueue::bound.changes; ++i) {
        collect(4, static_cast<OpcUa_Int32>(i));
        if (i == 1000)
            collect(3, 31);
    }
    queue->handOver(*thread);
    hold.release();
    thread->flush();
    EXPECT_EQ(receiver.shown(), "1:0 5:50 3:31 4:199999 ");
}

TEST_F(Queue, UpToTheNumberEveryChangeIsDelivered) {
    Hold hold;
    holdUp(hold);
    for (std::size_t i = 0; i < NotificationQueue::bound.changes; ++i)
        collect(2, static_cast<OpcUa_Int32>(i));
    queue->handOver(*thread);
    hold.release();
    thread->flush();
    EXPECT_EQ(receiver.changes().size(), NotificationQueue::bound.changes + 1);
}

TEST_F(Queue, BytesAreBoundedAndTheLatestArrives) {
    Hold hold;
    holdUp(hold);
    const std::size_t before = heldMemory();
    std::size_t most = 0;
    for (int i = 0; i < 2000; ++i) {
        collectText(2 + static_cast<OpcUa_UInt32>(i % 10), 500000, i < 1990 ? 'a' : 'z');
        queue->handOver(*thread);
        most = std::max(most, heldMemory() - before);
    }
    EXPECT_GT(most, 32 * mebibyte);
    EXPECT_LT(most, 66 * mebibyte);
    hold.release();
    thread->flush();
    const auto changes = receiver.changes();
    ASSERT_GT(changes.size(), 10U);
    for (std::size_t i = 1; i <= 10; ++i)
        EXPECT_EQ(changes[changes.size() - i].value, std::string(20, 'z'));
    EXPECT_LT(heldMemory(), before + mebibyte);
}

// What the merge leaves is more than the bound, and so is what comes before the next one.
TEST_F(Queue, BehindADeliveryTheBoundIsTheUsualOneAgain) {
    constexpr std::size_t large = NotificationQueue::bound.bytes - mebibyte;
    Hold first;
    holdUp(first);
    collectText(2, large, 'a');
    collectText(3, large, 'b');
    queue->handOver(*thread);
    first.release();
    thread->flush();
    Hold second;
    holdUp(second);
    collectText(2, large, 'c');
    collectText(2, large, 'd');
    queue->handOver(*thread);
    second.release();
    thread->flush();
    const auto text = [](char letter) { return std::string(20, letter) + ' '; };
    EXPECT_EQ(receiver.shown(), "1:0 2:" + text('a') + "3:" + text('b') + "1:0 2:" + text('d'));
}

// Each takes a byte on the wire.
TEST_F(Queue, EmptyVariantsCountWithTheMemoryThatTheyTake) {
    Hold hold;
    holdUp(hold);
    const std::size_t before = heldMemory();
    std::size_t most = 0;
    for (int i = 0; i < 60; ++i) {
        OpcUa_DataValue change = {};
        change.value.type = &UA_TYPES[UA_TYPES_VARIANT];
        change.value.arrayLength = 50000;
        change.value.data = UA_Array_new(change.value.arrayLength, change.value.type);
        queue->collect(2, change);
        queue->handOver(*thread);
        most = std::max(most, heldMemory() - before);
    }
    EXPECT_LT(most, 68 * mebibyte);
    hold.release();
    thread->flush();
}

// What cannot be merged any more is one value of each item.
TEST_F(Queue, LargeValuesOfManyItemsStayAtOneOfEach) {
    constexpr OpcUa_UInt32 items = 1000;
    constexpr std::size_t size = 100000;
    Hold hold;
    holdUp(hold);
    const std::size_t before = heldMemory();
    std::size_t most = 0;
    for (char round = 'a'; round <= 'j'; ++round) {
        for (OpcUa_UInt32 item = 1; item <= items; ++item) {
            collectText(item, size, round);
            queue->handOver(*thread);
        }
        most = std::max(most, heldMemory() - before);
    }
    EXPECT_LT(most, 2 * items * size + 3 * mebibyte);
    hold.release();
    thread->flush();
    const auto changes = receiver.changes();
    ASSERT_GT(changes.size(), items);
    for (OpcUa_UInt32 item = 1; item <= items; ++item) {
        const auto& change = changes[changes.size() - 1 - items + item];
        EXPECT_EQ(change.clientHandle, item);
        EXPECT_EQ(change.value, std::string(20, 'j'));
    }
}

TEST_F(Queue, AHungCallbackDoesNotGrowTheMemory) {
    Hold hold;
    holdUp(hold);
    const auto batches = [this](int count) {
        for (int batch = 0; batch < count; ++batch) {
            for (OpcUa_UInt32 item = 1; item <= 500; ++item)
                collect(item, batch);
            queue->handOver(*thread);
        }
    };
    batches(1000);
    const std::size_t before = heldMemory();
    batches(3000);
    EXPECT_LE(heldMemory(), before + mebibyte);
    hold.release();
    thread->flush();
    const auto changes = receiver.changes();
    ASSERT_GT(changes.size(), 500U);
    for (std::size_t i = 1; i <= 500; ++i)
        EXPECT_EQ(changes[changes.size() - i].value, "2999");
}

TEST_F(Queue, MergingIsOneLineForEachTimeTheCallbackHoldsUp) {
    const test_support::TemporaryDirectory directory;
    const auto file = directory.path() / "client.log";
    ASSERT_EQ(UaTrace::initTrace(UaTrace::Warnings, 1000, 1, UaString(file.c_str()), "test"), 0);
    for (const std::size_t expected : {1U, 2U}) {
        Hold hold;
        holdUp(hold);
        for (int batch = 0; batch < 3; ++batch) {
            for (std::size_t i = 0; i <= NotificationQueue::bound.changes; ++i)
                collect(2, batch);
            queue->handOver(*thread);
        }
        hold.release();
        thread->flush();
        EXPECT_EQ(test_support::linesOf(file).size(), expected);
    }
    UaTrace::closeTrace();
}

TEST_F(Queue, ClosingEndsADeliveryWithTheChangeItHasReached) {
    Hold hold;
    receiver.onChange = hold.callback();
    for (OpcUa_UInt32 i = 1; i <= 1000; ++i)
        collectText(i, 100, 'a');
    queue->handOver(*thread);
    hold.waitUntilReached();
    collect(1001, 1);
    queue->handOver(*thread);
    queue->close();
    hold.release();
    thread->stop();
    EXPECT_EQ(receiver.changes().size(), 1U);
    EXPECT_EQ(receiver.calls, 1);
}

TEST_F(Queue, ACallbackMayCloseItsOwn) {
    receiver.onChange = [this] { queue->close(); };
    collectText(1, 100, 'a');
    collectText(2, 100, 'b');
    queue->handOver(*thread);
    thread->flush();
    collectText(3, 100, 'c');
    queue->handOver(*thread);
    queue->reportEnd(*thread, OpcUa_BadTimeout);
    thread->flush();
    EXPECT_EQ(receiver.changes().size(), 1U);
    EXPECT_EQ(receiver.ended, OpcUa_Good);
}

TEST_F(Queue, AClosedOneCollectsNothing) {
    queue->close();
    const std::size_t before = heldMemory();
    for (int i = 0; i < 1000; ++i)
        collectText(1, 10000, 'a');
    EXPECT_LT(heldMemory(), before + mebibyte);
    queue->handOver(*thread);
    thread->flush();
    EXPECT_EQ(receiver.calls, 0);
}

TEST_F(Queue, WithoutACallbackNothingWaits) {
    queue = std::make_shared<NotificationQueue>(nullptr, 7);
    const std::size_t before = heldMemory();
    for (int i = 0; i < 1000; ++i) {
        collectText(1, 10000, 'a');
        queue->handOver(*thread);
    }
    queue->reportEnd(*thread, OpcUa_BadTimeout);
    thread->flush();
    EXPECT_LT(heldMemory(), before + mebibyte);
}

TEST_F(Queue, ACallbackThatThrowsGetsTheNextChanges) {
    bool thrown = false;
    receiver.onChange = [&thrown] {
        if (!std::exchange(thrown, true))
            throw std::runtime_error("from the application");
    };
    collectText(1, 100, 'a');
    collectText(2, 100, 'b');
    queue->handOver(*thread);
    thread->flush();
    collectText(3, 5, 'c');
    queue->handOver(*thread);
    thread->flush();
    EXPECT_EQ(receiver.shown(), "1:" + std::string(20, 'a') + " 3:ccccc ");
}

TEST_F(Queue, IsClosedWhileItCollectsAndDelivers) {
    for (int round = 0; round < 100; ++round) {
        queue = std::make_shared<NotificationQueue>(&receiver, 7);
        std::promise<void> begun;
        std::thread collector([this, &begun] {
            for (int batch = 0; batch < 50; ++batch) {
                for (OpcUa_UInt32 item = 1; item <= 10; ++item)
                    collectText(item, 50, 'a');
                queue->handOver(*thread);
                if (batch == 0)
                    begun.set_value();
            }
        });
        begun.get_future().wait();
        queue->close();
        const std::size_t delivered = receiver.changes().size();
        collector.join();
        thread->flush();
        EXPECT_LE(receiver.changes().size(), delivered + 1) << "the change that was being delivered";
    }
}

} // namespace
