// SPDX-License-Identifier: Apache-2.0
//
// The threads that import files. They take jobs from one bounded queue and put results into
// another; a file that never ends holds up its own thread, and nobody else beyond the timeout.
//
//     ImportWorkers workers(2, 8, settings, zelbase::Duration(500), progress);
//     if (!workers.give({0, "devices.csv"}) || !workers.take(result)) workers.raiseFailure();

#ifndef DEVICE_IMPORT_IMPORTWORKERS_H
#define DEVICE_IMPORT_IMPORTWORKERS_H

#include <cstddef>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <common/tracing/Channel.h>
#include <common/tracing/Levels.h>
#include <zelbase/time.h>

#include "BoundedQueue.h"
#include "ImportJob.h"
#include "Progress.h"

namespace deviceimport {

/// A few threads, each of which runs one job after another. Not thread-safe: one thread gives and
/// takes.
class ImportWorkers
{
public:
    /// Starts `count` threads, or as many of them as the system grants. `room` is the number of
    /// results that find a place without being taken; give no more jobs than that beyond those
    /// taken. `timeout` limits every wait. `progress`, which is not owned and must outlive
    /// this object, shows during waits how many lines the threads have read.
    ImportWorkers(std::size_t count, std::size_t room, const ImportSettings& settings,
                  zelbase::Duration timeout, Progress& progress);

    /// Ends the threads and waits for that. After a failure it does not wait: a thread that hangs
    /// is left alone, and what it still brings about is dropped.
    ~ImportWorkers();
    ImportWorkers(const ImportWorkers&) = delete;
    ImportWorkers& operator=(const ImportWorkers&) = delete;

    /// Hands over a job. Blocks until it finds a place, no longer than the timeout.
    /// Returns false if there was none; nothing is raised.
    bool give(ImportJob job);

    /// Takes the next result, in the order in which jobs come to their ends. Blocks until there is
    /// one, no longer than the timeout, and after a failure not at all.
    /// Returns false if there was none, with `result` unchanged; nothing is raised.
    bool take(ImportResult& result);

    /// Raises why a call failed: ImportError IMPORT_SYSTEM_CALL if there are no threads,
    /// IMPORT_STALLED otherwise.
    void raiseFailure() const;

private:
    struct Shared;

    static void work(Shared& shared, const ImportSettings& settings, std::size_t number);
    void start(std::size_t count, const ImportSettings& settings);
    zelbase::TimePoint deadline() const;
    template <typename Attempt>
    QueueResult waitFor(Attempt attempt);

    const zelbase::Duration m_timeout;
    /// Shared with the threads, of which one that hangs outlives this object.
    const std::shared_ptr<Shared> m_shared;
    Progress& m_progress;
    std::vector<std::thread> m_threads;
    /// Why there are not all the threads.
    std::string m_startError;
    bool m_failed = false;
    /// Used by the thread that gives and takes.
    tracing::Channel m_channel{"import_queue", tracing::Levels::LevelNONE,
                               tracing::Channel::FLAG_REGISTER};
};

} // namespace deviceimport

#endif // DEVICE_IMPORT_IMPORTWORKERS_H
