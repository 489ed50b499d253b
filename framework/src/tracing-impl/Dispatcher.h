// SPDX-License-Identifier: Apache-2.0
//
// Brings messages to the sinks: through a queue and a thread of its own, or at once.

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_DISPATCHER_H
#define TRACINGIMPL_SRC_TRACINGIMPL_DISPATCHER_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

#include <zel/Mutex.h>
#include <zel/attributes.h>

#include "ChannelTree.h"
#include "Fork.h"
#include "MessageQueue.h"
#include "Sink.h"
#include "StderrSink.h"
#include "TimeZones.h"

namespace tracing {
namespace impl {

/// Any thread may call anything. In a process that was forked off, messages go to standard error,
/// at once: the thread and the sinks' connections are the parent's.
class Dispatcher final : public ChannelObserver
{
public:
    /// Has sinks written to through a queue of that many messages; at once if it is 0, or if there
    /// is no memory or no thread to be had.
    explicit Dispatcher(std::size_t queueLength);
    /// As `stop`.
    ~Dispatcher();
    Dispatcher(const Dispatcher&) = delete;
    Dispatcher& operator=(const Dispatcher&) = delete;

    /// Adds a sink, for the messages that are written from now on.
    void addSink(SinkPtr sink) ZEL_EXCLUDES(m_sinkMutex);

    /// Brings `message` on its way; `owned`, if it is not null, holds the payload and is taken
    /// over. A message with `SAFE_TRANSPORT` waits for room in a full queue; another takes that of
    /// the oldest.
    void put(const Message& message, OwnedText owned);

    /// Has all that was put before written out. Returns when that is done, if `waits`.
    void flush(bool waits);

    /// Writes everything out, ends the thread and destroys the sinks. What is put from then on is
    /// dropped.
    void stop();

    void channelChanged(const std::string& path, short level) override;

private:
    void start(std::size_t queueLength);
    void work();
    void write(const Message& message) ZEL_EXCLUDES(m_sinkMutex);
    template <typename Action>
    bool tellSinks(const Action& action) ZEL_EXCLUDES(m_sinkMutex);
    void removeSinks() ZEL_EXCLUDES(m_sinkMutex);
    void flushSinks() ZEL_EXCLUDES(m_sinkMutex);
    void reportDropped();

    zel::Mutex m_sinkMutex;
    std::vector<SinkPtr> m_sinks ZEL_GUARDED_BY(m_sinkMutex);
    /// For processes that are forked off, which take no lock for it.
    const TimeZones m_noZones;
    StderrSink m_fallback{m_noZones};
    std::unique_ptr<MessageQueue> m_queue;
    std::unique_ptr<std::thread> m_thread;
    /// Messages that at least one sink failed on, for want of memory or else.
    std::atomic<std::uint64_t> m_failed{0};
    /// The process that the thread and the sinks belong to.
    const OwnProcess m_process;
};

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_DISPATCHER_H
