// SPDX-License-Identifier: Apache-2.0
//
// What the text form of a UUID costs, beside Boost.UUID and libuuid.

#include <cstring>
#include <string>

#include <benchmark/benchmark.h>
#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <uuid/uuid.h>

#include <zelcommon.h>

namespace {

constexpr const char* TEXT = "123e4567-e89b-12d3-a456-426614174000";

void parseUuid(benchmark::State& state)
{
    const std::string text = TEXT;
    std::UUID id;
    for (auto _ : state) {
        id.parse(text);
        benchmark::DoNotOptimize(id);
    }
}

void parseUuidFromChars(benchmark::State& state)
{
    std::UUID id;
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::UUID::fromChars(TEXT, std::UUID::TEXT_LENGTH, id));
        benchmark::DoNotOptimize(id);
    }
}

void parseBoost(benchmark::State& state)
{
    const std::string text = TEXT;
    const boost::uuids::string_generator generator;
    for (auto _ : state)
        benchmark::DoNotOptimize(generator(text));
}

void parseLibuuid(benchmark::State& state)
{
    uuid_t id;
    for (auto _ : state) {
        benchmark::DoNotOptimize(uuid_parse(TEXT, id));
        benchmark::DoNotOptimize(id);
    }
}

void printUuid(benchmark::State& state)
{
    const std::UUID id((std::string(TEXT)));
    for (auto _ : state)
        benchmark::DoNotOptimize(id.toString());
}

void printUuidToChars(benchmark::State& state)
{
    const std::UUID id((std::string(TEXT)));
    char text[std::UUID::TEXT_LENGTH];
    for (auto _ : state) {
        id.toChars(text);
        benchmark::DoNotOptimize(text);
    }
}

void printBoost(benchmark::State& state)
{
    const boost::uuids::uuid id = boost::uuids::string_generator()(TEXT);
    for (auto _ : state)
        benchmark::DoNotOptimize(boost::uuids::to_string(id));
}

void printLibuuid(benchmark::State& state)
{
    uuid_t id;
    uuid_parse(TEXT, id);
    char text[UUID_STR_LEN];
    for (auto _ : state) {
        uuid_unparse_lower(id, text);
        benchmark::DoNotOptimize(text);
    }
}

void stringOf36Characters(benchmark::State& state)
{
    const char* text = TEXT;
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        benchmark::DoNotOptimize(std::string(text, std::UUID::TEXT_LENGTH));
    }
}

void compareUuid(benchmark::State& state)
{
    const std::UUID id((std::string(TEXT)));
    std::UUID other(id);
    for (auto _ : state) {
        benchmark::DoNotOptimize(other);
        benchmark::DoNotOptimize(id < other);
    }
}

void compareBoost(benchmark::State& state)
{
    const boost::uuids::uuid id = boost::uuids::string_generator()(TEXT);
    boost::uuids::uuid other = id;
    for (auto _ : state) {
        benchmark::DoNotOptimize(other);
        benchmark::DoNotOptimize(id < other);
    }
}

BENCHMARK(parseUuid);
BENCHMARK(parseUuidFromChars);
BENCHMARK(parseBoost);
BENCHMARK(parseLibuuid);
BENCHMARK(printUuid);
BENCHMARK(printUuidToChars);
BENCHMARK(printBoost);
BENCHMARK(printLibuuid);
BENCHMARK(stringOf36Characters);
BENCHMARK(compareUuid);
BENCHMARK(compareBoost);

} // namespace
