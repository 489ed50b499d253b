// SPDX-License-Identifier: Apache-2.0

#include "ImportWorkers.h"

#include <system_error>
#include <utility>

#include <common/tracing/log.h>
#include <zel/report.h>

#include "BoundedQueue.h"
#include "ImportErrors.h"

namespace deviceimport {

using tracing::Levels;

struct ImportWorkers::Queues
{
    Queues(std::size_t places, std::size_t room) : jobs(places), results(room) {}

    BoundedQueue<ImportJob> jobs;
    BoundedQueue<ImportResult> results;
};

ImportWorkers::ImportWorkers(std::size_t count, std::size_t room, const ImportSettings& settings,
                             zelbase::Duration timeout)
    : m_timeout(timeout), m_queues(std::make_shared<Queues>(count, room))
{
    m_threads.reserve(count);
    start(count, settings);
    m_failed = m_threads.empty();
}

ImportWorkers::~ImportWorkers()
{
    m_queues->jobs.close();
    m_queues->results.close();
    for (std::thread& thread : m_threads) {
        if (m_failed) {
            thread.detach();
        } else {
            thread.join();
        }
    }
}

bool ImportWorkers::give(ImportJob job)
{
    ZEL_LOG(m_channel, Levels::LevelDEBUG, "gives file %zu", job.place);
    if (m_queues->jobs.push(std::move(job), deadline()) == QueueResult::DONE) return true;
    m_failed = true;
    return false;
}

bool ImportWorkers::take(ImportResult& result)
{
    if (m_queues->results.pop(result, deadline()) != QueueResult::DONE) {
        ZEL_LOG(m_channel, Levels::LevelDEBUG, "nothing to take");
        m_failed = true;
        return false;
    }
    ZEL_LOG(m_channel, Levels::LevelDEBUG, "took file %zu", result.place);
    return true;
}

void ImportWorkers::raiseFailure() const
{
    if (m_threads.empty()) {
        ZEL_RAISE(ImportError, IMPORT_SYSTEM_CALL, "pthread_create", m_startError.c_str());
        return;
    }
    ZEL_RAISE(ImportError, IMPORT_STALLED, static_cast<int>(m_timeout.milliseconds()));
}

/// Runs in each thread until the queues are closed.
void ImportWorkers::work(Queues& queues, const ImportSettings& settings)
{
    for (ImportJob job; queues.jobs.pop(job, zelbase::TimePoint::MAX) == QueueResult::DONE;) {
        // A closed queue refuses the result: nobody waits for it any more.
        queues.results.push(runJob(job, settings), zelbase::TimePoint::MAX);
    }
}

void ImportWorkers::start(std::size_t count, const ImportSettings& settings)
{
    try {
        while (m_threads.size() < count)
            m_threads.emplace_back([queues = m_queues, settings] { work(*queues, settings); });
    } catch (const std::system_error& error) {
        m_startError = error.code().message();
    }
}

zelbase::TimePoint ImportWorkers::deadline() const
{
    return m_failed ? zelbase::TimePoint() : zelbase::TimePoint::now() + m_timeout;
}

} // namespace deviceimport
