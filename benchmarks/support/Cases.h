// SPDX-License-Identifier: Apache-2.0
//
// The cases of a program are named OPERATION/WHO or OPERATION/WHO/INPUT. What has the same
// operation and the same input does the same work: "ours" is this library, "floor:X" the bare work
// X that nothing can do without, every other name a peer. The report finds who is to be compared by
// these names alone.
//
//     void bench::registerCases()
//     {
//         add("raise", {{"ours", raiseOurs}, {"throw", throwAndCatch}});
//     }

#ifndef ZELCOMMON_BENCHMARKS_SUPPORT_CASES_H
#define ZELCOMMON_BENCHMARKS_SUPPORT_CASES_H

#include <initializer_list>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "SampleText.h"

namespace bench {

/// One who does the operation, without an input.
struct Candidate
{
    const char* who;
    void (*run)(benchmark::State& state);
};

/// One who does it with a text.
struct TextCandidate
{
    const char* who;
    void (*run)(benchmark::State& state, const std::string& text);
};

/// One who does it as often or with as much as the number says.
struct SizeCandidate
{
    const char* who;
    void (*run)(benchmark::State& state, std::size_t size);
};

/// Each program defines it: checks that all do the same work, and adds the cases.
void registerCases();

void add(const std::string& operation, std::initializer_list<Candidate> candidates);
/// As above, in real time: for what waits for another thread.
void addInRealTime(const std::string& operation, std::initializer_list<Candidate> candidates,
                   int threads = 1);
/// Adds each candidate with each text.
void add(const std::string& operation, std::initializer_list<TextCandidate> candidates,
         const std::vector<Input>& texts);
/// Adds each candidate with each size.
void add(const std::string& operation, std::initializer_list<SizeCandidate> candidates,
         std::initializer_list<std::size_t> sizes);

/// Ends the program, saying `what`, unless `isSo`: no time is worth reading if the work differs.
void require(bool isSo, const std::string& what);

} // namespace bench

#endif // ZELCOMMON_BENCHMARKS_SUPPORT_CASES_H
