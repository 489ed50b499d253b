// SPDX-License-Identifier: Apache-2.0
//
// A sink of the trace client that writes down what it is told, and that can be stopped on the way.
//
//     support::SinkRecord record;
//     dispatcher.addSink(std::make_unique<support::RecordingSink>(record));
//     dispatcher.put(support::traceMessage("up"), nullptr);
//     EXPECT_EQ("info net up\n", record.take());

#ifndef ZELCOMMON_TESTS_SUPPORT_RECORDINGSINK_H
#define ZELCOMMON_TESTS_SUPPORT_RECORDINGSINK_H

#include <condition_variable>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include <tracing-impl/LineFormat.h>
#include <tracing-impl/Sink.h>

namespace support {

/// What sinks were told, a line for each call. Thread-safe.
class SinkRecord
{
public:
    void add(const std::string& line)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_text += line + "\n";
    }
    /// Returns the lines since the last time.
    std::string take()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return std::exchange(m_text, std::string());
    }

    /// Stops writes at their beginning, until `letGo`.
    void hold()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isHolding = true;
    }
    void letGo()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isHolding = false;
        m_changed.notify_all();
    }
    /// Returns as soon as a write is stopped.
    void waitUntilHeld()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return m_isHeld; });
    }

    /// For the sink.
    void enter()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_isHeld = m_isHolding;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return !m_isHolding; });
        m_isHeld = false;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::string m_text;
    bool m_isHolding = false;
    bool m_isHeld = false;
};

/// Writes down "LEVEL PATH TEXT", or "LEVEL PATH [NAME] TEXT" for a thread with a name; "flush";
/// "changed PATH LEVEL"; "gone PATH".
class RecordingSink : public tracing::impl::Sink
{
public:
    /// `record` is not owned and must outlive the sink.
    explicit RecordingSink(SinkRecord& record) : m_record(record) {}

    void write(const tracing::impl::Message& message) override
    {
        m_record.enter();
        std::string line = tracing::impl::levelName(message.level) + ' ';
        line.append(message.path).append(" ");
        if (!message.threadName.empty()) line.append("[").append(message.threadName).append("] ");
        tracing::impl::appendBody(line, message);
        m_record.add(line);
    }
    void flush() override { m_record.add("flush"); }
    void channelChanged(const std::string& path, short level) override
    {
        m_record.add("changed " + path + ' ' + std::to_string(level));
    }

private:
    SinkRecord& m_record;
};

/// Returns a message of the channel "net" at the level "info". `text` must outlive it.
inline tracing::impl::Message traceMessage(std::string_view text, short modifiers = 0)
{
    tracing::impl::Message message = {};
    message.path = "net";
    message.level = 2;
    message.modifiers = modifiers;
    message.payload = text;
    return message;
}

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_RECORDINGSINK_H
