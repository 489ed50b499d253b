// SPDX-License-Identifier: Apache-2.0

#include "Sinks.h"

#include <algorithm>
#include <memory>
#include <utility>

#include <spdlog/details/log_msg.h>
#include <spdlog/formatter.h>
#include <spdlog/sinks/ansicolor_sink.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/syslog_sink.h>

#include <common/tracing/Levels.h>

#include "LineFormat.h"
#include "Printable.h"

namespace tracing {
namespace impl {

namespace {

namespace sinks = spdlog::sinks;

static_assert(int(spdlog::level::trace) == 0 && int(spdlog::level::debug) == 1 &&
                  int(spdlog::level::info) == 2 && int(spdlog::level::warn) == 3 &&
                  int(spdlog::level::err) == 4 && int(spdlog::level::critical) == 5,
              "the levels of messages are the same numbers");

/// The part of a line that is shown in the level's colour.
struct ColourRange
{
    std::size_t begin = 0;
    std::size_t end = 0;
};

/// Takes the payload for the whole line.
class WholeLine final : public spdlog::formatter
{
public:
    explicit WholeLine(std::shared_ptr<const ColourRange> range) : m_range(std::move(range)) {}

    void format(const spdlog::details::log_msg& message, spdlog::memory_buf_t& out) override
    {
        out.append(message.payload.data(), message.payload.data() + message.payload.size());
        message.color_range_start = m_range->begin;
        message.color_range_end = m_range->end;
    }
    std::unique_ptr<formatter> clone() const override
    {
        return std::make_unique<WholeLine>(m_range);
    }

private:
    const std::shared_ptr<const ColourRange> m_range;
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

/// Lines with the time, to standard error or a file.
class LineSink final : public SpdlogSink
{
public:
    LineSink(spdlog::sink_ptr sink, const TimeZones& zones)
        : SpdlogSink(std::move(sink)), m_zones(zones)
    {
        m_sink->set_formatter(std::make_unique<WholeLine>(m_range));
    }

    void write(const Message& message) override
    {
        std::string line;
        appendTime(line, message, m_zones);
        line += ' ';
        m_range->begin = line.size();
        line += levelName(message.level);
        m_range->end = line.size();
        line += ' ';
        appendRest(line, message);
        line += '\n';
        log(message, line);
        m_sink->flush(); // a line that is written is there, and no child writes it again
    }

private:
    const TimeZones& m_zones;
    const std::shared_ptr<ColourRange> m_range = std::make_shared<ColourRange>();
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

} // namespace

SinkPtr makeSpdlogSink(const SinkSettings& settings, const SinkContext& context)
{
    switch (settings.kind) {
    case SinkSettings::SYSLOG: return std::make_unique<SystemLogSink>(context.processName);
    case SinkSettings::FILE:
        return std::make_unique<LineSink>(
            std::make_shared<sinks::rotating_file_sink_st>(settings.fileName, settings.maxSize,
                                                           settings.maxFiles),
            context.zones);
    default:
        return std::make_unique<LineSink>(std::make_shared<sinks::ansicolor_stderr_sink_st>(),
                                          context.zones);
    }
}

} // namespace impl
} // namespace tracing
