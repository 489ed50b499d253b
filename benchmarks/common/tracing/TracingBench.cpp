// SPDX-License-Identifier: Apache-2.0
//
// What a trace message costs, suppressed and sent into a client that drops it, beside the bare work
// and beside spdlog.

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <string>

#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

#include <zelcommon.h>

#include <support/Cases.h>

namespace {

using tracing::Channel;
using tracing::Levels;

/// A client that drops every message.
class DroppingClient : public tracing::IClient
{
public:
    void logMessage(const Channel&, short, short, const std::string& text) override
    {
        benchmark::DoNotOptimize(text.data());
    }
    void logMessage(const Channel&, short, short, short, const void* data, unsigned int) override
    {
        benchmark::DoNotOptimize(data);
    }
    void logMessage(const Channel&, short, short, char* text, bool takeOwnership) override
    {
        if (takeOwnership) delete[] text;
    }
    void logMessage(const Channel&, short, short, long long, char* text,
                    bool takeOwnership) override
    {
        benchmark::DoNotOptimize(text);
        if (takeOwnership) delete[] text;
    }
};

/// A channel that such a client serves.
struct ServedChannel
{
    explicit ServedChannel(short level) : channel("bench", level, 0)
    {
        channel.m_client = &client;
        channel.setFilterLevel(level);
    }

    DroppingClient client;
    Channel channel;
};

/// Logs eight messages: what the loop itself takes would be more than what is measured.
template <typename Log>
void logEight(benchmark::State& state, Log log)
{
    for (auto _ : state) {
#pragma GCC unroll 8
        for (int message = 0; message < 8; ++message) {
            log();
            benchmark::ClobberMemory();
        }
    }
}

void suppressedZelLog(benchmark::State& state)
{
    ServedChannel served(Levels::LevelWARN);
    int value = 42;
    logEight(state,
             [&] { ZEL_LOG(served.channel, Levels::LevelDEBUG, "value %d of %s", value, "text"); });
}

void suppressedLiteral(benchmark::State& state)
{
    ServedChannel served(Levels::LevelWARN);
    logEight(state,
             [&] { served.channel.log(Levels::LevelDEBUG, "a text of some length, as most are"); });
}

void suppressedBareCompare(benchmark::State& state)
{
    ServedChannel served(Levels::LevelWARN);
    int value = 42;
    logEight(state, [&] {
        if (__builtin_expect(served.channel.m_filterLevel <= Levels::LevelDEBUG, 0))
            std::printf("value %d of %s", value, "text");
    });
}

std::shared_ptr<spdlog::logger> nullLogger(spdlog::level::level_enum level)
{
    auto logger =
        std::make_shared<spdlog::logger>("bench", std::make_shared<spdlog::sinks::null_sink_st>());
    logger->set_level(level);
    return logger;
}

void suppressedSpdlog(benchmark::State& state)
{
    const auto logger = nullLogger(spdlog::level::warn);
    int value = 42;
    logEight(state, [&] {
        SPDLOG_LOGGER_CALL(logger, spdlog::level::debug, "value {} of {}", value, "text");
    });
}

void suppressedSpdlogLiteral(benchmark::State& state)
{
    const auto logger = nullLogger(spdlog::level::warn);
    logEight(state, [&] { logger->debug("a text of some length, as most are"); });
}

[[gnu::noinline, gnu::format(printf, 3, 4)]] void formatOnly(char* text, std::size_t size,
                                                             const char* format, ...)
{
    va_list values;
    va_start(values, format);
    std::vsnprintf(text, size, format, values);
    va_end(values);
}

void sentLogCV(benchmark::State& state)
{
    ServedChannel served(Levels::LevelDEBUG);
    int value = 42;
    for (auto _ : state)
        served.channel.logCV(Levels::LevelDEBUG, "value %d of %s", value, "the device in the rack");
}

void sentZelLog(benchmark::State& state)
{
    ServedChannel served(Levels::LevelDEBUG);
    int value = 42;
    for (auto _ : state)
        ZEL_LOG(served.channel, Levels::LevelDEBUG, "value %d of %s", value,
                "the device in the rack");
}

void bareFormatAndString(benchmark::State& state)
{
    int value = 42;
    for (auto _ : state) {
        char text[512];
        formatOnly(text, sizeof text, "value %d of %s", value, "the device in the rack");
        const std::string copy(text);
        benchmark::DoNotOptimize(copy.data());
    }
}

void bareFormat(benchmark::State& state)
{
    int value = 42;
    for (auto _ : state) {
        char text[512];
        formatOnly(text, sizeof text, "value %d of %s", value, "the device in the rack");
        benchmark::DoNotOptimize(text);
    }
}

void sentStamped(benchmark::State& state)
{
    ServedChannel served(Levels::LevelDEBUG);
    const short none = tracing::Modifiers::NONE;
    const long long time = 1234567890;
    int value = 42;
    for (auto _ : state)
        served.channel.logCV(Levels::LevelDEBUG, none, time, "value %d of %s", value,
                             "the device in the rack");
}

void sentSpdlog(benchmark::State& state)
{
    const auto logger = nullLogger(spdlog::level::debug);
    int value = 42;
    for (auto _ : state)
        logger->debug("value {} of {}", value, "the device in the rack");
}

void sentLogCVN(benchmark::State& state)
{
    ServedChannel served(Levels::LevelDEBUG);
    int value = 42;
    for (auto _ : state)
        served.channel.logCVN(Levels::LevelDEBUG, 64U, "value %d of %s", value,
                              "the device in the rack");
}

void sentRawPieces(benchmark::State& state)
{
    ServedChannel served(Levels::LevelDEBUG);
    const char head[8] = {};
    const char body[64] = {};
    const char tail[4] = {};
    for (auto _ : state)
        served.channel.logRawV(Levels::LevelDEBUG, tracing::MessageTypes::USER, //
                               static_cast<const void*>(head), 8U, static_cast<const void*>(body),
                               64U, static_cast<const void*>(tail), 4U, nullptr);
}

void sentTraceBuffer(benchmark::State& state)
{
    ServedChannel served(Levels::LevelDEBUG);
    int value = 42;
    for (auto _ : state) {
        tracing::TraceBuffer line(&served.channel);
        line.append(Levels::LevelDEBUG, "value ");
        line.appendf(Levels::LevelDEBUG, "%d", value);
        line.append(Levels::LevelDEBUG, " of ");
        line.append(Levels::LevelDEBUG, "the device in the rack");
    }
}

} // namespace

void bench::registerCases()
{
    add("suppressedMacro", {{"ours", suppressedZelLog},
                            {"floor:compare", suppressedBareCompare},
                            {"spdlog", suppressedSpdlog}});
    add("suppressedLiteral", {{"ours", suppressedLiteral},
                              {"floor:compare", suppressedBareCompare},
                              {"spdlog", suppressedSpdlogLiteral}});
    add("logCV", {{"ours", sentLogCV},
                  {"floor:vsnprintf+string", bareFormatAndString},
                  {"spdlog", sentSpdlog}});
    add("logCVStamped", {{"ours", sentStamped}, {"floor:vsnprintf", bareFormat}});
    add("sentMacro", {{"ours", sentZelLog}, {"floor:vsnprintf+string", bareFormatAndString}});
    add("logCVN", {{"ours", sentLogCVN}});
    add("logRawV", {{"ours", sentRawPieces}});
    add("traceBuffer", {{"ours", sentTraceBuffer}});
}
