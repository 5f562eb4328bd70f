#include "idle_clients.h"
#include "operation.h"
#include "operations.h"
#include "setting.h"
#include "table.h"

#include <algorithm>
#include <cstring>
#include <iostream>

namespace {

using bench::Bound;
using bench::Operation;
using bench::Unit;

/// Every row of the table with the question that it answers.
const bench::Operations operations{
    {"read, raw against raw", "How far off is a ratio of this run that ought to be 1?", Bound::none(), 1000,
     bench::rawAgainstRaw},
    {"read, tight loop", "What does a read cost an application that asks as fast as it can?",
     Bound::ratio(1.10), 1000, bench::singleRead},
    {"write, tight loop", "The same for a write.", Bound::ratio(1.10), 1000, bench::singleWrite},
    {"read every 5 ms, one CPU", "What does a read cost that finds everything asleep?", Bound::ratio(1.30),
     30, bench::sporadicReadOneCpu},
    {"read every 5 ms, two CPUs", "The same, with the server on another CPU.", Bound::ratio(1.30), 30,
     bench::sporadicReadTwoCpus},
    {"read every 5 ms, free placement", "The same as an application meets it: idle CPUs halt.", Bound::none(),
     30, bench::sporadicReadFree},
    {"browse 1,200 children with types",
     "What do the records of a large folder cost beyond the service calls?", Bound::ratio(1.10), 40,
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

int runOperations(int argc, char** argv) {
    const bool smoke = takeOption(argc, argv, "--smoke");
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    bench::Setting setting(smoke);
    for (const Operation& operation : operations) {
        registerOperation(operation, setting, setting.either(operation.rounds, 1));
    }
    bench::Table table(operations);
    benchmark::RunSpecifiedBenchmarks(&table);
    benchmark::Shutdown();
    return table.failures() > 0 || (!smoke && table.missedBounds() > 0) ? 1 : 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        if (argc > 1 && std::strcmp(argv[1], bench::idleClientsOption) == 0) {
            return bench::runIdleClients({argv + 2, argv + argc});
        }
        return runOperations(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "opcua-bench: " << error.what() << "\n";
        return 1;
    }
}
