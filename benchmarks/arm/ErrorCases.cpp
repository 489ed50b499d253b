// SPDX-License-Identifier: Apache-2.0

#include <zelcommon.h>

#include "Bracket.h"
#include "Cases.h"

namespace {

// Aligned: how long strlen takes depends on it, and is not to change with the program.
alignas(64) const char TEXT[] = "the file is not there";

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

} // namespace

void counts::errors()
{
    std::StdoutDumpErrorStorage storage;
    measure("error/raise", 1, [] {
        failPlain();
        keep(std::ErrorStorage::isA(std::CommonError));
        std::ErrorStorage::ack();
    });
    measure("error/raise/text", 1, [] {
        failWithText(TEXT);
        std::ErrorStorage::ack();
    });
    measure("error/raise/integers", 1, [] {
        failWithIntegers(1, 5, 9);
        std::ErrorStorage::ack();
    });
}

void counts::tracing()
{
    using ::tracing::Levels;
    ::tracing::Channel channel("net", Levels::LevelWARN, 0);
    channel.setFilterLevel(Levels::LevelWARN);
    int value = 42;
    measure("trace/suppressed/macro", 1, [&] {
        keep(channel);
        ZEL_LOG(channel, Levels::LevelDEBUG, "value %d of %s", value, "the device in the rack");
    });
    measure("trace/suppressed/log", 1, [&] {
        keep(channel);
        channel.log(Levels::LevelDEBUG, "a message of some length");
    });
}
