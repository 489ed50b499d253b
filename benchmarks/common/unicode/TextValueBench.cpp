// SPDX-License-Identifier: Apache-2.0
//
// What texts cost as values: copies, and comparison with an equal text whose bytes are elsewhere.

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>

#include <sys/single_threaded.h>

#include <zelcommon.h>

#include <support/Cases.h>

#include "IcuText.h"

namespace {

using bench::icuText;
using std::unicode::String;

constexpr const char* SHARED_TEXT = "a text that is shared";

void copyOurs(benchmark::State& state)
{
    const String text(SHARED_TEXT);
    for (auto _ : state) {
        const String copy(text);
        benchmark::DoNotOptimize(copy.data());
    }
}

void copySharedPtr(benchmark::State& state)
{
    const auto text = std::make_shared<std::string>(SHARED_TEXT);
    for (auto _ : state) {
        const std::shared_ptr<std::string> copy(text);
        benchmark::DoNotOptimize(copy.get());
    }
}

void copyIcu(benchmark::State& state)
{
    const icu::UnicodeString text = icuText("a text that is shared, and too long to be inside");
    for (auto _ : state) {
        const icu::UnicodeString copy(text);
        benchmark::DoNotOptimize(copy.getBuffer());
    }
}

void countAtomically(benchmark::State& state)
{
    auto counter = std::make_unique<unsigned int>(1);
    for (auto _ : state) {
        benchmark::DoNotOptimize(__sync_fetch_and_add(counter.get(), 1U));
        if (__sync_fetch_and_sub(counter.get(), 1U) == 1) std::abort();
    }
}

void equalOurs(benchmark::State& state, const std::string& text)
{
    const String first(text);
    const String second(text);
    for (auto _ : state)
        benchmark::DoNotOptimize(first == second);
}

void lessOurs(benchmark::State& state, const std::string& text)
{
    const String first(text);
    const String second(text);
    for (auto _ : state)
        benchmark::DoNotOptimize(first < second);
}

void compareBytes(benchmark::State& state, const std::string& text)
{
    const std::string first(text);
    const std::string second(text);
    for (auto _ : state)
        benchmark::DoNotOptimize(std::memcmp(first.data(), second.data(), first.size()));
}

void equalIcu(benchmark::State& state, const std::string& text)
{
    const icu::UnicodeString first = icuText(text);
    const icu::UnicodeString second(icuText(text));
    for (auto _ : state)
        benchmark::DoNotOptimize(first == second);
}

void lessIcu(benchmark::State& state, const std::string& text)
{
    const icu::UnicodeString first = icuText(text);
    const icu::UnicodeString second(icuText(text));
    for (auto _ : state)
        benchmark::DoNotOptimize(first.compareCodePointOrder(second) < 0);
}

void equalAcrossOurs(benchmark::State& state, const std::string& text)
{
    const String first(text);
    const String second(std::unicode::UTF16LE, text);
    for (auto _ : state)
        benchmark::DoNotOptimize(first == second);
}

void equalAcrossIcu(benchmark::State& state, const std::string& text)
{
    const icu::UnicodeString second = icuText(text);
    for (auto _ : state)
        benchmark::DoNotOptimize(icuText(text) == second);
}

void hashOurs(benchmark::State& state, const std::string& text)
{
    const String hashed(text);
    for (auto _ : state)
        benchmark::DoNotOptimize(hashed.hash());
}

void hashIcu(benchmark::State& state, const std::string& text)
{
    const icu::UnicodeString hashed = icuText(text);
    for (auto _ : state)
        benchmark::DoNotOptimize(hashed.hashCode());
}

void checkEqual(const std::vector<bench::Input>& texts)
{
    for (const bench::Input& input : texts) {
        const String text(input.text);
        bench::require(text == String(std::unicode::UTF16LE, input.text), "== of " + input.name);
        bench::require(!(text < String(input.text)), "< of " + input.name);
        bench::require(icuText(input.text) == icuText(input.text), "== of ICU, " + input.name);
    }
}

/// Counters of shared objects are atomic only in a process that has had a second thread.
void becomeThreaded()
{
    std::thread([] {}).join();
    bench::require(__libc_single_threaded == 0, "atomic counters of shared_ptr");
}

} // namespace

void bench::registerCases()
{
    becomeThreaded();
    const std::vector<Input> texts = inputs({KB});
    checkEqual(texts);
    add("copy", {{"ours", copyOurs},
                 {"floor:atomics", countAtomically},
                 {"shared_ptr", copySharedPtr},
                 {"ICU", copyIcu}});
    add("equal", {{"ours", equalOurs}, {"floor:memcmp", compareBytes}, {"ICU", equalIcu}}, texts);
    add("less", {{"ours", lessOurs}, {"floor:memcmp", compareBytes}, {"ICU", lessIcu}}, texts);
    add("equalAcross", {{"ours", equalAcrossOurs}, {"ICU", equalAcrossIcu}}, texts);
    add("hash", {{"ours", hashOurs}, {"ICU", hashIcu}}, texts);
}
