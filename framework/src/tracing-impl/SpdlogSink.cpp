// SPDX-License-Identifier: Apache-2.0

#include "Sinks.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <spdlog/details/log_msg.h>
#include <spdlog/details/os.h>
#include <spdlog/formatter.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/syslog_sink.h>

#include <common/tracing/Levels.h>

#include "LineFormat.h"
#include "StandardDescriptors.h"
#include "StderrSink.h"

namespace tracing {
namespace impl {

namespace {

namespace sinks = spdlog::sinks;

static_assert(int(spdlog::level::trace) == 0 && int(spdlog::level::debug) == 1 &&
                  int(spdlog::level::info) == 2 && int(spdlog::level::warn) == 3 &&
                  int(spdlog::level::err) == 4 && int(spdlog::level::critical) == 5,
              "the levels of messages are the same numbers");

/// Takes the payload for the whole line.
class WholeLine final : public spdlog::formatter
{
public:
    void format(const spdlog::details::log_msg& message, spdlog::memory_buf_t& out) override
    {
        out.append(message.payload.data(), message.payload.data() + message.payload.size());
    }
    std::unique_ptr<formatter> clone() const override { return std::make_unique<WholeLine>(); }
};

/// What all sinks of spdlog have in common.
class SpdlogSink : public Sink
{
public:
    explicit SpdlogSink(spdlog::sink_ptr sink) : m_sink(std::move(sink)) {}

    void flush() override
    {
        if (m_sink != nullptr) m_sink->flush();
    }

protected:
    void log(const Message& message, const std::string& text)
    {
        const int level =
            std::clamp<int>(message.level, spdlog::level::trace, spdlog::level::critical);
        m_sink->log({spdlog::source_loc{}, "", static_cast<spdlog::level::level_enum>(level),
                     spdlog::string_view_t(text.data(), text.size())});
    }

    /// Null while there is none.
    spdlog::sink_ptr m_sink;
};

/// How a file is opened: not in the place of a standard stream, nothing of it kept in a buffer that
/// a child would write again, and closed where the process becomes another program.
spdlog::file_event_handlers fileHandlers()
{
    const auto guard = std::make_shared<std::optional<StandardDescriptors>>();
    spdlog::file_event_handlers handlers;
    handlers.before_open = [guard](const spdlog::filename_t&) { guard->emplace(); };
    handlers.after_open = [guard](const spdlog::filename_t&, std::FILE* file) {
        guard->reset();
        std::setvbuf(file, nullptr, _IONBF, 0);
        fcntl(fileno(file), F_SETFD, FD_CLOEXEC);
    };
    return handlers;
}

spdlog::sink_ptr openFile(const SinkSettings& settings)
{
    auto sink = std::make_shared<sinks::rotating_file_sink_st>(
        settings.fileName, settings.maxSize, settings.maxFiles, false, fileHandlers());
    sink->set_formatter(std::make_unique<WholeLine>());
    return sink;
}

/// Lines with the time, to a file.
class FileSink final : public SpdlogSink
{
public:
    FileSink(const SinkSettings& settings, const TimeZones& zones)
        : SpdlogSink(openFile(settings)), m_settings(settings), m_zones(zones)
    {}

    void write(const Message& message) override
    {
        const std::string line = lineOf(message, m_zones);
        if (m_sink == nullptr) reopen();
        try {
            log(message, line);
        } catch (...) {
            m_sink = nullptr; // it may have closed its file, and would write all the same
            throw;
        }
    }

private:
    using Clock = std::chrono::steady_clock;

    /// How long a file that cannot be opened is left alone: spdlog tries for a while each time.
    static constexpr std::chrono::seconds PAUSE{1};

    void reopen()
    {
        if (Clock::now() < m_nextTry) throw std::runtime_error("the file was not opened");
        try {
            m_sink = openFile(m_settings);
        } catch (const spdlog::spdlog_ex&) {
            m_nextTry = Clock::now() + PAUSE;
            throw;
        }
    }

    const SinkSettings m_settings;
    const TimeZones& m_zones;
    Clock::time_point m_nextTry = Clock::time_point::min();
};

/// The system log, which has the time, the process and the level itself.
class SystemLogSink final : public SpdlogSink
{
public:
    explicit SystemLogSink(const std::string& processName)
        : SpdlogSink(std::make_shared<sinks::syslog_sink_st>(processName, LOG_PID, LOG_USER, false))
    {}

    void write(const Message& message) override
    {
        std::string text;
        appendRest(text, message);
        log(message, text);
    }
};

/// spdlog's own way to colours ignores what standard error does not take.
bool isColourTerminal()
{
    return spdlog::details::os::in_terminal(stderr) && spdlog::details::os::is_color_terminal();
}

} // namespace

SinkPtr makeSpdlogSink(const SinkSettings& settings, const SinkContext& context)
{
    switch (settings.kind) {
    case SinkSettings::SYSLOG: return std::make_unique<SystemLogSink>(context.processName);
    case SinkSettings::FILE: return std::make_unique<FileSink>(settings, context.zones);
    default: return std::make_unique<StderrSink>(context.zones, isColourTerminal());
    }
}

} // namespace impl
} // namespace tracing
