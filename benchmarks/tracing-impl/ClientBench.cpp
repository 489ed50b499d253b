// SPDX-License-Identifier: Apache-2.0
//
// What an enabled message costs the thread that logs it, from the call to the queue, with one
// thread and with four, beside spdlog's asynchronous logger and the call of DLT. Lines go to
// /dev/null, and those of DLT to a daemon, see with-daemon.

#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

#include <dlt/dlt.h>
#include <spdlog/async.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>
#include <syslog.h>

#include <zelcommon.h>

#include <support/Cases.h>

namespace {

using tracing::Channel;
using tracing::Levels;

constexpr std::size_t QUEUE = 1024;
constexpr std::size_t FILE_SIZE = 1024U * 1024 * 1024;

/// The process's client, from the first use to the end.
Channel& servedChannel()
{
    static Channel* const s_channel = [] {
        setenv("ZEL_TRACE_SINKS", "file:/dev/null:1G:1", 1);
        setenv("ZEL_TRACE_QUEUE", "1024", 1);
        tracing::client_helper->init("bench");
        return new Channel("bench_channel", Levels::LevelINFO, Channel::FLAG_REGISTER);
    }();
    return *s_channel;
}

spdlog::logger& asyncLogger()
{
    static const std::shared_ptr<spdlog::logger> s_logger = [] {
        static const auto s_pool = std::make_shared<spdlog::details::thread_pool>(QUEUE, 1);
        auto sink =
            std::make_shared<spdlog::sinks::rotating_file_sink_mt>("/dev/null", FILE_SIZE, 1);
        return std::make_shared<spdlog::async_logger>(
            "bench_channel", std::move(sink), s_pool,
            spdlog::async_overflow_policy::overrun_oldest);
    }();
    return *s_logger;
}

/// A context of DLT, which is told not to wait at the end.
DltContext& dltContext()
{
    static DltContext* const s_context = [] {
        dlt_log_set_level(LOG_CRIT);
        dlt_set_resend_timeout_atexit(0);
        dlt_register_app("BNCH", "bench");
        auto* const context = new DltContext{};
        dlt_register_context(context, "CHAN", "bench_channel");
        return context;
    }();
    return *s_context;
}

/// Messages of one thread that fit into the daemon's pipe, with those of three more.
constexpr unsigned int BURST = 100;

void letDaemonCatchUp(benchmark::State& state)
{
    state.PauseTiming();
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    state.ResumeTiming();
}

void zelLog(benchmark::State& state)
{
    Channel& channel = servedChannel();
    int value = 42;
    for (auto _ : state)
        ZEL_LOG(channel, Levels::LevelINFO, "value %d of %s", value, "a text of some length");
}

void zelLogText(benchmark::State& state)
{
    Channel& channel = servedChannel();
    const std::string text = "a text of some length, as most are";
    for (auto _ : state)
        channel.log(Levels::LevelINFO, text);
}

void spdlogAsync(benchmark::State& state)
{
    spdlog::logger& logger = asyncLogger();
    int value = 42;
    for (auto _ : state)
        logger.info("value {} of {}", value, "a text of some length");
}

void spdlogAsyncText(benchmark::State& state)
{
    spdlog::logger& logger = asyncLogger();
    const std::string text = "a text of some length, as most are";
    for (auto _ : state)
        logger.info(text);
}

void dltText(benchmark::State& state)
{
    DltContext& context = dltContext();
    int refused = 0;
    unsigned int sent = 0;
    for (auto _ : state) {
        if (++sent % BURST == 0) letDaemonCatchUp(state);
        DltContextData data;
        if (dlt_user_log_write_start(&context, &data, DLT_LOG_INFO) <= 0) continue;
        dlt_user_log_write_string(&data, "a text of some length, as most are");
        if (dlt_user_log_write_finish(&data) < 0) ++refused;
    }
    state.counters["refused"] = benchmark::Counter(refused, benchmark::Counter::kAvgIterations);
}

} // namespace

void bench::registerCases()
{
    addInRealTime("queued", {{"ours", zelLog}, {"spdlog", spdlogAsync}});
    addInRealTime("queued", {{"ours", zelLog}, {"spdlog", spdlogAsync}}, 4);
    for (const int threads : {1, 4})
        addInRealTime("queuedText",
                      {{"ours", zelLogText}, {"spdlog", spdlogAsyncText}, {"DLT", dltText}},
                      threads);
}
