#include <algorithm>
#include <cstring>
#include <exception>
#include <iostream>
#include <malloc.h>

#include "changes/idle_clients.h"
#include "measuring/setting.h"
#include "measuring/table.h"
#include "operations/operation.h"
#include "operations/operations.h"

namespace {

using bench::Bound;
using bench::Operation;
using bench::Unit;

/// Every row of the table with the question that it answers.
const bench::Operations operations{
    {"read, raw against raw", "How far off is a ratio of this run that ought to be 1?", Bound::none(), 1000,
     bench::rawAgainstRaw},
    {"read, tight loop", "What does a read cost an application that asks as fast as it can?",
     Bound::ratio(1.00), 1000, bench::singleRead},
    {"write, tight loop", "The same for a write.", Bound::ratio(1.00), 1000, bench::singleWrite},
    {"read every 5 ms, one CPU", "What does a read cost that finds everything asleep?", Bound::ratio(1.30),
     30, bench::sporadicReadOneCpu},
    {"read every 5 ms, two CPUs", "The same, with the server on another CPU.", Bound::ratio(1.30), 30,
     bench::sporadicReadTwoCpus},
    {"read every 5 ms, free placement", "The same as an application meets it: idle CPUs halt.", Bound::none(),
     30, bench::sporadicReadFree},
    {"browse 1,200 children with types",
     "What do the records of a large folder cost beyond the service calls?", Bound::ratio(1.00), 40,
     bench::browseManyChildren},
    {"look up 20,000 nodes", "Can a large panel look up all its nodes without anybody noticing?",
     Bound::value(0.25), 15, bench::lookUp},
    {"look up 20,000 nodes (b.: 10,000)",
     "Does a lookup cost the same however many came before? Then the ratio is 2.", Bound::ratio(2.4), 15,
     bench::lookUpTwiceAsMany},
    {"free 1,000,000 siblings (b.: delete)",
     "What does freeing a list cost beyond operator delete? Runs on 64 KiB of "
     "stack: a recursion would crash.",
     Bound::none(), 5, bench::freeSiblings},
    {"connect and disconnect", "How soon is an application connected and rid of the connection?",
     Bound::none(), 40, bench::connectAndDisconnect},
    {"secured connect", "How soon is an application connected over SignAndEncrypt? Disconnecting apart.",
     Bound::ratio(0.70), 40, bench::securedConnect},
    {"first secured connect (b.: later)", "What does the key cost that the first one makes?", Bound::none(),
     10, bench::firstSecuredConnect},
    {"secured read, tight loop", "What does a read cost over SignAndEncrypt?", Bound::ratio(1.00), 500,
     bench::securedRead},
    {"read 10,000 nodes, 20 a call", "What do records and buffers cost beyond the service calls?",
     Bound::ratio(1.00), 60, bench::readMany},
    {"write 10,000 nodes, 20 a call", "The same for writing.", Bound::ratio(1.00), 60, bench::writeMany},
    {"read 1 of 100,000 Doubles", "Is the array copied on its way?", Bound::ratio(1.15), 100,
     bench::readElement},
    {"write 1 of 100,000 Doubles", "Is it copied more than once on its way back?", Bound::ratio(1.15), 100,
     bench::writeElement},
    {"memory growth, 50,000 multi-reads", "Does anything pile up? A million nodes, 20 a call.",
     Bound::value(64.0 * 1024), 1, bench::memoryOverManyReads, Unit::Bytes},
    {"memory growth, 1,000,000 multi-reads", "The same, 20 times as long.", Bound::value(64.0 * 1024), 1,
     bench::memoryOverMillionCalls, Unit::Bytes, true},
    {"add 10,000 items, 20 a call", "How soon is a large panel monitored?", Bound::ratio(0.90), 30,
     bench::addItems},
    {"add 20,000 items (b.: 10,000)",
     "Does an item cost the same however many there are? Then the ratio is 2.", Bound::ratio(2.4), 10,
     bench::addTwiceAsManyItems},
    {"memory a monitored item", "What does the library keep of an item above what the engine keeps?",
     Bound::above(2.5 * 1024), 1, bench::itemMemory, Unit::Bytes},
    {"browse 1,200 children, 1 ms away", "How soon is a large folder open over a plant network?",
     Bound::ratio(0.12), 5, bench::browseNearby},
    {"read 10,000 nodes, 1 ms away", "How soon is a large panel filled?", Bound::ratio(0.15), 5,
     bench::readManyNearby},
    {"add 10,000 items, 1 ms away", "How soon is it monitored?", Bound::ratio(0.20), 5,
     bench::addItemsNearby},
    {"browse 1,200 children, 5 ms away", "The same over a network that takes its time.", Bound::ratio(0.12),
     3, bench::browseFar},
    {"read 10,000 nodes, 5 ms away", "The same.", Bound::ratio(0.15), 3, bench::readManyFar},
    {"add 10,000 items, 5 ms away", "The same.", Bound::ratio(0.20), 3, bench::addItemsFar},
    {"changes delivered (b.: server's count)",
     "Do all changes arrive when 10,000 items change every 500 ms for 10 s?", Bound::same(), 1,
     bench::changesDelivered, Unit::Count},
    {"CPU time a delivered value, 2 CPUs", "What does the process pay for each of them?", Bound::ratio(1.00),
     15, bench::changeCpuTimeTwoCpus},
    {"CPU time a delivered value, free",
     "The same where server and threads share the CPUs as the scheduler likes.", Bound::none(), 5,
     bench::changeCpuTimeFree},
    {"read, 10,000 items changing (b.: none)", "What does a subscription cost a read?", Bound::ratio(1.00),
     500, bench::readWhileSubscribed},
    {"change latency, median", "How soon after a write does the application know?", Bound::ratio(1.2), 1,
     bench::changeLatencyMedian},
    {"change latency, 99th percentile", "And at worst?", Bound::ratio(1.2), 1, bench::changeLatencyTail},
    {"idle client, resident memory", "What does a connected client that does nothing keep in memory?",
     Bound::none(), 1, bench::idleMemory, Unit::Bytes},
    {"idle client, CPU time a minute", "What do its keep-alive and its threads cost?", Bound::none(), 1,
     bench::idleCpuTime},
};

/// Takes an option out of the arguments; whether it was there.
bool takeOption(int& argc, char** argv, const char* option) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], option) == 0) {
            std::copy(argv + i + 1, argv + argc + 1, argv + i);
            --argc;
            return true;
        }
    }
    return false;
}

void registerOperation(const Operation& operation, bench::Setting& setting, int rounds) {
    benchmark::RegisterBenchmark(operation.name.c_str(),
                                 [&operation, &setting](benchmark::State& state) {
                                     try {
                                         operation.run(state, setting);
                                     } catch (const std::exception& error) {
                                         state.SkipWithError(error.what());
                                     }
                                 })
        ->UseManualTime()
        ->Iterations(rounds);
}

/// Whether freed memory at the heap's end goes back to the kernel, to be had anew page by page a moment
/// later, is luck of the heap's layout. Here it stays with both sides.
void keepFreedMemory() {
    constexpr int enough = 32 * 1024 * 1024;
    mallopt(M_TRIM_THRESHOLD, enough);
    mallopt(M_MMAP_THRESHOLD, enough);
}

int runOperations(int argc, char** argv) {
    const bool smoke = takeOption(argc, argv, "--smoke");
    const bool withLong = takeOption(argc, argv, "--long");
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    keepFreedMemory();
    bench::Setting setting(smoke);
    for (const Operation& operation : operations)
        if (!operation.isLong || withLong)
            registerOperation(operation, setting, setting.either(operation.rounds, 1));
    bench::Table table(operations);
    benchmark::RunSpecifiedBenchmarks(&table);
    benchmark::Shutdown();
    return table.failures() > 0 || (!smoke && table.missedBounds() > 0) ? 1 : 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        if (argc > 1 && std::strcmp(argv[1], bench::idleClientsOption) == 0)
            return bench::runIdleClients({argv + 2, argv + argc});
        return runOperations(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "opcua-bench: " << error.what() << "\n";
        return 1;
    }
}
