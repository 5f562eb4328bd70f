#include <cstdio>
#include <functional>
#include <pthread.h>
#include <string>
#include <system_error>
#include <vector>

#include "facade/facade_client.h"
#include "facade/session_client.h"
#include "measuring/comparison.h"
#include "measuring/placement.h"
#include "operations/blocks.h"
#include "operations/operations.h"
#include "raw/raw_client.h"

namespace bench {
namespace {

/// Deep enough for any ordinary call, far too small for a recursion over as many siblings as are freed here.
constexpr std::size_t smallStack = 64UL * 1024;

std::vector<std::string> nodeIdTexts(int count) {
    std::vector<std::string> texts;
    for (int i = 0; i < count; ++i) {
        char text[64];
        std::snprintf(text, sizeof text, "ns=2;s=Line%02d.Machine%02d.Tag%05d", i % 12, i % 37, i);
        texts.emplace_back(text);
    }
    return texts;
}

/// Seconds for looking every text up once in a client that has seen none of them.
Block lookUps(const std::vector<std::string>& texts) {
    return [&texts] {
        COpcUaClientInterface client;
        return secondsOf([&client, &texts] {
            for (const std::string& text : texts)
                benchmark::DoNotOptimize(client.OpcUaGetUaNode(text.c_str(), OpcUaDataType_Double));
        });
    };
}

OpcUaNode* makeSiblings(int count) {
    OpcUaNode* first = nullptr;
    for (int i = 0; i < count; ++i) {
        auto* node = new OpcUaNode;
        node->child = nullptr;
        node->next = first;
        first = node;
    }
    return first;
}

void deleteOneByOne(OpcUaNode* node) {
    while (node != nullptr) {
        OpcUaNode* const next = node->next;
        delete node;
        node = next;
    }
}

void runOnSmallStack(std::function<void()> work) {
    pthread_attr_t attributes;
    pthread_t thread{};
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, smallStack);
    const int error = pthread_create(
        &thread, &attributes,
        [](void* argument) -> void* {
            (*static_cast<std::function<void()>*>(argument))();
            return nullptr;
        },
        &work);
    pthread_attr_destroy(&attributes);
    if (error != 0)
        throw std::system_error(error, std::generic_category(), "pthread_create");
    pthread_join(thread, nullptr);
}

/// Seconds that `release` takes for the siblings.
template <typename Release>
Block freeing(int count, Release release) {
    return [count, release] {
        OpcUaNode* const siblings = makeSiblings(count);
        double seconds = 0;
        runOnSmallStack([&] { seconds = secondsOf([&] { release(siblings); }); });
        return seconds;
    };
}

} // namespace

void browseManyChildren(benchmark::State& state, Setting& setting) {
    const Placed placed(Placement::OneCpu, setting.server());
    RawClient raw(setting.url());
    SessionClient session(setting.url());
    FacadeClient facade(setting.url());
    compare(state, {browses(raw), browses(session), browses(facade)});
}

void lookUp(benchmark::State& state, Setting& setting) {
    const std::vector<std::string> texts = nodeIdTexts(setting.either(20000, 20));
    compare(state, {nullptr, nullptr, lookUps(texts)});
}

void lookUpTwiceAsMany(benchmark::State& state, Setting& setting) {
    const int count = setting.either(20000, 20);
    const std::vector<std::string> half = nodeIdTexts(count / 2);
    const std::vector<std::string> all = nodeIdTexts(count);
    compare(state, {lookUps(half), nullptr, lookUps(all)});
}

void freeSiblings(benchmark::State& state, Setting& setting) {
    const int count = setting.either(1000000, 10000);
    const auto byLibrary = [](OpcUaNode* first) {
        COpcUaNodelist list;
        list.root = first;
        list.deleteMemory(&list.root);
    };
    compare(state, {freeing(count, deleteOneByOne), nullptr, freeing(count, byLibrary)});
}

} // namespace bench
