// SPDX-License-Identifier: Apache-2.0

#include "Dispatcher.h"

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <exception>
#include <string>
#include <utility>

#include <common/tracing/Levels.h>

#include "../common/error/ReportGuard.h"
#include "CurrentThread.h"
#include "SignalGuard.h"

namespace tracing {
namespace impl {

namespace {

/// Returns whether `action` did not throw.
template <typename Action>
bool attempt(const Action& action)
{
    try {
        action();
    } catch (const std::exception&) {
        return false;
    }
    return true;
}

} // namespace

Dispatcher::Dispatcher(std::size_t queueLength)
{
    if (queueLength != 0) start(queueLength);
}

Dispatcher::~Dispatcher()
{
    stop();
}

void Dispatcher::addSink(SinkPtr sink)
{
    const zel::ScopedLock lock(m_sinkMutex);
    m_sinks.push_back(std::move(sink));
}

/// Makes the queue and its thread. Without memory for them messages are written at once.
void Dispatcher::start(std::size_t queueLength)
{
    const SignalGuard guard;
    try {
        m_queue = std::make_unique<MessageQueue>(queueLength);
        m_thread = std::make_unique<std::thread>([this] { work(); });
    } catch (const std::exception&) {
        m_queue.reset();
    }
}

void Dispatcher::put(const Message& message, OwnedText owned)
{
    const errorcore::ReportGuard guard;
    if (m_process.isForked()) {
        attempt([&] { m_fallback.write(message); });
    } else if (m_queue == nullptr) {
        write(message);
    } else {
        m_queue->push(message, std::move(owned));
    }
}

void Dispatcher::flush(bool waits)
{
    if (m_process.isForked() || !waits) return; // the thread never rests with work to do
    const errorcore::ReportGuard guard;         // it may wait where the standard allows no way out
    if (m_queue != nullptr) m_queue->waitUntilWritten();
    reportDropped();
    flushSinks();
}

void Dispatcher::stop()
{
    if (m_process.isForked()) {
        static_cast<void>(m_thread.release()); // it is not in this process
        return;
    }
    if (m_thread != nullptr) {
        m_queue->close();
        m_thread->join();
        m_thread.reset();
    }
    reportDropped();
    flushSinks();
    removeSinks();
}

/// The end of a sink may wait for a thread of its own that waits for the lock.
void Dispatcher::removeSinks()
{
    std::vector<SinkPtr> sinks; // outlives the lock
    const zel::ScopedLock lock(m_sinkMutex);
    sinks.swap(m_sinks);
}

void Dispatcher::work()
{
    const OwnThread mark;
    QueuedMessage queued;
    while (m_queue->pop(queued)) {
        reportDropped();
        write(queued.message());
        queued.clear();
    }
}

/// Calls `action` with each sink. Returns whether none of them threw.
template <typename Action>
bool Dispatcher::tellSinks(const Action& action)
{
    const zel::ScopedLock lock(m_sinkMutex);
    bool isWhole = true;
    for (const SinkPtr& sink : m_sinks)
        isWhole = attempt([&] { action(*sink); }) && isWhole;
    return isWhole;
}

void Dispatcher::write(const Message& message)
{
    if (!tellSinks([&message](Sink& sink) { sink.write(message); }))
        m_failed.fetch_add(1, std::memory_order_relaxed);
}

void Dispatcher::flushSinks()
{
    tellSinks([](Sink& sink) { sink.flush(); });
}

/// Says how many messages were dropped, if any.
void Dispatcher::reportDropped()
{
    const std::uint64_t count =
        m_failed.exchange(0) + (m_queue == nullptr ? 0 : m_queue->takeDropped());
    if (count == 0) return;
    char text[sizeof "18446744073709551615 messages were dropped"];
    std::snprintf(text, sizeof text, "%" PRIu64 " messages were dropped", count);
    Message message = {};
    message.path = "tracing";
    message.level = Levels::LevelWARN;
    message.payload = text;
    clock_gettime(CLOCK_REALTIME, &message.time);
    tellSinks([&message](Sink& sink) { sink.write(message); });
}

void Dispatcher::channelChanged(const std::string& path, short level)
{
    const errorcore::ReportGuard guard;
    tellSinks([&](Sink& sink) { sink.channelChanged(path, level); });
}

} // namespace impl
} // namespace tracing
