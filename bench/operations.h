#pragma once

#include "setting.h"

#include <benchmark/benchmark.h>

// What the rows of the table measure; main.cpp tells which question each of them answers.
namespace bench {

// values_operations.cpp
void rawAgainstRaw(benchmark::State& state, Setting& setting);
void singleRead(benchmark::State& state, Setting& setting);
void singleWrite(benchmark::State& state, Setting& setting);
void sporadicReadOneCpu(benchmark::State& state, Setting& setting);
void sporadicReadTwoCpus(benchmark::State& state, Setting& setting);
void sporadicReadFree(benchmark::State& state, Setting& setting);

// node_operations.cpp
void browseManyChildren(benchmark::State& state, Setting& setting);
void lookUp(benchmark::State& state, Setting& setting);
void lookUpTwiceAsMany(benchmark::State& state, Setting& setting);
void freeSiblings(benchmark::State& state, Setting& setting);

// connection_operations.cpp
void connectAndDisconnect(benchmark::State& state, Setting& setting);
void idleMemory(benchmark::State& state, Setting& setting);
void idleCpuTime(benchmark::State& state, Setting& setting);

} // namespace bench
