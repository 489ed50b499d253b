// SPDX-License-Identifier: Apache-2.0

#include "Sinks.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
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

    void flush() override { m_sink->flush(); }

protected:
    void log(const Message& message, const std::string& text)
    {
        const int level =
            std::clamp<int>(message.level, spdlog::level::trace, spdlog::level::critical);
        m_sink->log({spdlog::source_loc{}, "", static_cast<spdlog::level::level_enum>(level),
                     spdlog::string_view_t(text.data(), text.size())});
    }

    const spdlog::sink_ptr m_sink;
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

/// Lines with the time, to a file.
class FileSink final : public SpdlogSink
{
public:
    FileSink(const SinkSettings& settings, const TimeZones& zones)
        : SpdlogSink(std::make_shared<sinks::rotating_file_sink_st>(
              settings.fileName, settings.maxSize, settings.maxFiles, false, fileHandlers())),
          m_zones(zones)
    {
        m_sink->set_formatter(std::make_unique<WholeLine>());
    }

    void write(const Message& message) override { log(message, lineOf(message, m_zones)); }

private:
    const TimeZones& m_zones;
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
