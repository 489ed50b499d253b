// SPDX-License-Identifier: Apache-2.0
//
// What an error costs, beside what a user would reach for instead.

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>

#include <absl/status/status.h>

#include <zelcommon.h>

#include <support/Cases.h>

namespace {

const char* const TEXT = "the file is not there";
const char* const INTEGERS = "Integer parameter out of range. Min = %d, Max = %d, Found = %d";

// The compiler must not see through the failing calls.
[[gnu::noinline]] bool failPlain()
{
    ZEL_RAISE(std::CommonError, 0);
    return false;
}

[[gnu::noinline]] bool failWithText(const char* text)
{
    ZEL_RAISE(std::CommonError, 5, text);
    return false;
}

[[gnu::noinline]] bool failWithIntegers(int least, int most, int found)
{
    ZEL_RAISE(std::CommonError, 2, least, most, found);
    return false;
}

[[gnu::noinline]] void failByThrowing(const char* text)
{
    throw std::runtime_error(text);
}

[[gnu::noinline]] absl::Status failByStatus(const char* text)
{
    return absl::InvalidArgumentError(text);
}

[[gnu::noinline, gnu::format(printf, 3, 4)]] int formatOnly(char* buffer, size_t size,
                                                            const char* format, ...)
{
    va_list values;
    va_start(values, format);
    const int length = vsnprintf(buffer, size, format, values);
    va_end(values);
    return length;
}

void raiseWithoutArguments(benchmark::State& state)
{
    std::StdoutDumpErrorStorage errors;
    for (auto _ : state) {
        failPlain();
        benchmark::DoNotOptimize(std::ErrorStorage::isA(std::CommonError));
        std::ErrorStorage::ack();
    }
}

void raiseWithOneText(benchmark::State& state)
{
    std::StdoutDumpErrorStorage errors;
    for (auto _ : state) {
        failWithText(TEXT);
        std::ErrorStorage::ack();
    }
}

void raiseWithThreeIntegers(benchmark::State& state)
{
    std::StdoutDumpErrorStorage errors;
    for (auto _ : state) {
        failWithIntegers(1, 5, 9);
        std::ErrorStorage::ack();
    }
}

void inspectAndAcknowledge(benchmark::State& state)
{
    std::StdoutDumpErrorStorage errors;
    failPlain();
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::ErrorStorage::isError(false));
        benchmark::DoNotOptimize(std::ErrorStorage::isA(std::CommonError));
        benchmark::DoNotOptimize(std::ErrorStorage::id());
        std::ErrorStorage::ack();
    }
}

void raiseChainOfEight()
{
    ZEL_RAISE(std::CommonError, 0);
    for (int link = 1; link < 8; ++link)
        ZEL_RAISE_ON(std::CommonError, 0);
}

void chainOfEight(benchmark::State& state)
{
    std::StdoutDumpErrorStorage errors;
    for (auto _ : state) {
        raiseChainOfEight();
        std::ErrorStorage::ack();
    }
}

void reasonListOfEight(benchmark::State& state)
{
    std::StdoutDumpErrorStorage errors;
    raiseChainOfEight();
    for (auto _ : state)
        benchmark::DoNotOptimize(zel_error.getReasonList());
}

void throwAndCatch(benchmark::State& state)
{
    for (auto _ : state) {
        try {
            failByThrowing(TEXT);
        } catch (const std::runtime_error& error) {
            benchmark::DoNotOptimize(error.what());
        }
    }
}

void statusWithText(benchmark::State& state)
{
    for (auto _ : state) {
        const absl::Status status = failByStatus(TEXT);
        benchmark::DoNotOptimize(absl::IsInvalidArgument(status));
    }
}

void formatOneText(benchmark::State& state)
{
    char buffer[255];
    for (auto _ : state) {
        formatOnly(buffer, sizeof buffer, "Invalid parameter: %s", TEXT);
        benchmark::DoNotOptimize(buffer);
    }
}

void formatThreeIntegers(benchmark::State& state)
{
    char buffer[255];
    for (auto _ : state) {
        formatOnly(buffer, sizeof buffer, INTEGERS, 1, 5, 9);
        benchmark::DoNotOptimize(buffer);
    }
}

/// Formatting writes what raising stores.
void checkReasons()
{
    std::StdoutDumpErrorStorage errors;
    char text[255];
    failWithText(TEXT);
    formatOnly(text, sizeof text, "Invalid parameter: %s", TEXT);
    bench::require(std::strcmp(std::ErrorStorage::reason(), text) == 0, text);
    std::ErrorStorage::ack();
    failWithIntegers(1, 5, 9);
    formatOnly(text, sizeof text, INTEGERS, 1, 5, 9);
    bench::require(std::strcmp(std::ErrorStorage::reason(), text) == 0, text);
    std::ErrorStorage::ack();
}

} // namespace

void bench::registerCases()
{
    checkReasons();
    add("raise",
        {{"ours", raiseWithoutArguments}, {"throw", throwAndCatch}, {"absl", statusWithText}});
    add("raiseText", {{"ours", raiseWithOneText}, {"floor:vsnprintf", formatOneText}});
    add("raiseIntegers",
        {{"ours", raiseWithThreeIntegers}, {"floor:vsnprintf", formatThreeIntegers}});
    add("inspectError", {{"ours", inspectAndAcknowledge}});
    add("raiseEight", {{"ours", chainOfEight}});
    add("reasonList", {{"ours", reasonListOfEight}});
}
