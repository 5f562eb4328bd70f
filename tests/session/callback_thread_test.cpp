#include "callback_thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <functional>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

using UaClientSdk::CallbackThread;

namespace {

CallbackThread::Task task(std::function<void()> function) {
    return {[](void* context, int) { (*static_cast<std::function<void()>*>(context))(); },
            std::make_shared<std::function<void()>>(std::move(function))};
}

TEST(CallbackThread, RunsTasksInTheOrderOfPosting) {
    std::vector<int> order;
    CallbackThread thread;
    for (int i = 0; i < 1000; ++i) {
        thread.post(task([&order, i] { order.push_back(i); }));
    }
    thread.flush();
    ASSERT_EQ(order.size(), 1000U);
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
    }
}

TEST(CallbackThread, RunsNothingOnTheCallersThread) {
    std::thread::id ran;
    CallbackThread thread;
    thread.post(task([&ran] { ran = std::this_thread::get_id(); }));
    thread.flush();
    EXPECT_NE(ran, std::thread::id());
    EXPECT_NE(ran, std::this_thread::get_id());
}

TEST(CallbackThread, StopDropsWhatWaitsAndRunsTheLastTask) {
    std::promise<void> started;
    std::promise<void> release;
    std::atomic<int> dropped{0};
    std::atomic<bool> last{false};
    CallbackThread thread;
    thread.post(task([&] {
        started.set_value();
        release.get_future().wait();
    }));
    thread.post(task([&dropped] { ++dropped; }));
    started.get_future().wait();
    std::thread stopper([&] { thread.stop(task([&last] { last = true; })); });
    while (true) {
        // stop() has taken effect when later tasks are refused: they would keep the promise below alive.
        auto marker = std::make_shared<int>(0);
        const std::weak_ptr<int> kept = marker;
        thread.post(task([marker] {}));
        marker.reset();
        if (kept.expired()) {
            break;
        }
    }
    EXPECT_FALSE(last);
    release.set_value();
    stopper.join();
    EXPECT_TRUE(last);
    EXPECT_EQ(dropped, 0);
}

TEST(CallbackThread, NothingRunsAfterStop) {
    std::atomic<int> runs{0};
    CallbackThread thread;
    thread.stop();
    thread.post(task([&runs] { ++runs; }));
    thread.stop(task([&runs] { ++runs; }));
    EXPECT_EQ(runs, 0);
}

TEST(CallbackThread, StopInsideACallbackRunsTheLastTaskAtOnce) {
    std::promise<bool> lastRanBeforeReturn;
    CallbackThread thread;
    thread.post(task([&] {
        bool ran = false;
        thread.stop(task([&ran] { ran = true; }));
        lastRanBeforeReturn.set_value(ran);
    }));
    EXPECT_TRUE(lastRanBeforeReturn.get_future().get());
}

TEST(CallbackThread, MayBeDestroyedByItsOwnCallback) {
    auto thread = std::make_unique<CallbackThread>();
    CallbackThread* raw = thread.get();
    std::promise<void> done;
    raw->post(task([&thread, &done] {
        thread.reset();
        done.set_value();
    }));
    done.get_future().wait();
}

TEST(CallbackThread, ACallbackThatThrowsDoesNotEndTheThread) {
    std::atomic<bool> ran{false};
    CallbackThread thread;
    thread.post(task([] { throw std::runtime_error("from the application"); }));
    thread.post(task([] { throw 42; }));
    thread.post(task([&ran] { ran = true; }));
    thread.flush();
    EXPECT_TRUE(ran);
}

} // namespace
