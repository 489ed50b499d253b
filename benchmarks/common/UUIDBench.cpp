// SPDX-License-Identifier: Apache-2.0
//
// What the text form of a UUID costs, beside Qt, Boost.UUID and libuuid.

#include <cstring>
#include <string>

#include <QUuid>
#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <uuid/uuid.h>

#include <zelcommon.h>

#include <support/Cases.h>

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

void parseQt(benchmark::State& state)
{
    const QLatin1String text(TEXT);
    for (auto _ : state)
        benchmark::DoNotOptimize(QUuid::fromString(text));
}

void parseQtString(benchmark::State& state)
{
    const QString text(TEXT);
    for (auto _ : state)
        benchmark::DoNotOptimize(QUuid(text));
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

void printQt(benchmark::State& state)
{
    const QUuid id(TEXT);
    for (auto _ : state)
        benchmark::DoNotOptimize(id.toByteArray(QUuid::WithoutBraces).constData());
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

/// All read the same bytes and print the same text.
void checkTexts()
{
    const std::UUID ours((std::string(TEXT)));
    char bytes[16];
    ours.copyTo(bytes);
    const boost::uuids::uuid boostId = boost::uuids::string_generator()(TEXT);
    uuid_t libuuidId;
    uuid_parse(TEXT, libuuidId);
    bench::require(std::memcmp(bytes, boostId.data, sizeof bytes) == 0, "Boost's bytes");
    bench::require(std::memcmp(bytes, libuuidId, sizeof bytes) == 0, "libuuid's bytes");
    bench::require(std::memcmp(bytes, QUuid(TEXT).toRfc4122().constData(), sizeof bytes) == 0,
                   "Qt's bytes");
    bench::require(ours.toString() == TEXT && boost::uuids::to_string(boostId) == TEXT &&
                       QUuid(TEXT).toByteArray(QUuid::WithoutBraces) == TEXT,
                   "texts of UUIDs");
}

} // namespace

void bench::registerCases()
{
    checkTexts();
    add("parseUuid", {{"ours", parseUuid},
                      {"Qt", parseQt},
                      {"Qt:QString", parseQtString},
                      {"libuuid", parseLibuuid},
                      {"Boost", parseBoost}});
    add("parseUuidChars", {{"ours", parseUuidFromChars},
                           {"Qt", parseQt},
                           {"libuuid", parseLibuuid},
                           {"Boost", parseBoost}});
    add("printUuid", {{"ours", printUuidToChars}, {"libuuid", printLibuuid}});
    add("uuidToString", {{"ours", printUuid},
                         {"floor:string", stringOf36Characters},
                         {"Qt", printQt},
                         {"Boost", printBoost}});
    add("compareUuid", {{"ours", compareUuid}, {"Boost", compareBoost}});
}
