#pragma once

#include <benchmark/benchmark.h>

#include "measuring/setting.h"

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

// secured_operations.cpp
void securedConnect(benchmark::State& state, Setting& setting);
void firstSecuredConnect(benchmark::State& state, Setting& setting);
void securedRead(benchmark::State& state, Setting& setting);

// delayed_operations.cpp
void browseNearby(benchmark::State& state, Setting& setting);
void browseFar(benchmark::State& state, Setting& setting);
void readManyNearby(benchmark::State& state, Setting& setting);
void readManyFar(benchmark::State& state, Setting& setting);
void addItemsNearby(benchmark::State& state, Setting& setting);
void addItemsFar(benchmark::State& state, Setting& setting);

// many_values_operations.cpp
void readMany(benchmark::State& state, Setting& setting);
void writeMany(benchmark::State& state, Setting& setting);
void readElement(benchmark::State& state, Setting& setting);
void writeElement(benchmark::State& state, Setting& setting);
void memoryOverManyReads(benchmark::State& state, Setting& setting);
void memoryOverMillionCalls(benchmark::State& state, Setting& setting);

// data_change_operations.cpp
void addItems(benchmark::State& state, Setting& setting);
void addTwiceAsManyItems(benchmark::State& state, Setting& setting);
void itemMemory(benchmark::State& state, Setting& setting);
void changesDelivered(benchmark::State& state, Setting& setting);
void changeCpuTimeTwoCpus(benchmark::State& state, Setting& setting);
void changeCpuTimeFree(benchmark::State& state, Setting& setting);
void changeLatencyMedian(benchmark::State& state, Setting& setting);
void changeLatencyTail(benchmark::State& state, Setting& setting);
void readWhileSubscribed(benchmark::State& state, Setting& setting);

} // namespace bench
