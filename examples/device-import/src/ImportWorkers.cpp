// SPDX-License-Identifier: Apache-2.0

#include "ImportWorkers.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include <common/tracing/IClient.h>
#include <common/tracing/log.h>
#include <zel/report.h>

#include "ImportErrors.h"

namespace deviceimport {

using tracing::Levels;

namespace {

using tracing::IClient;

/// Names the calling thread in what it logs. Without a client nobody asks for its name.
class ThreadName
{
public:
    explicit ThreadName(const std::string& name)
    {
        if (IClient::s_client != nullptr) IClient::s_client->registerThread(name);
    }
    ~ThreadName()
    {
        if (IClient::s_client != nullptr) IClient::s_client->unregisterThread();
    }
    ThreadName(const ThreadName&) = delete;
    ThreadName& operator=(const ThreadName&) = delete;
};

} // namespace

struct ImportWorkers::Shared
{
    Shared(std::size_t places, std::size_t room) : jobs(places), results(room) {}

    BoundedQueue<ImportJob> jobs;
    BoundedQueue<ImportResult> results;
    LineCounter lines{0};
};

ImportWorkers::ImportWorkers(std::size_t count, std::size_t room, const ImportSettings& settings,
                             zelbase::Duration timeout, Progress& progress)
    : m_timeout(timeout), m_shared(std::make_shared<Shared>(count, room)), m_progress(progress)
{
    m_threads.reserve(count);
    start(count, settings);
    m_failed = m_threads.empty();
}

ImportWorkers::~ImportWorkers()
{
    m_shared->jobs.close();
    m_shared->results.close();
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
    const auto attempt = [this, &job](const zelbase::TimePoint& end) {
        return m_shared->jobs.push(std::move(job), end); // which leaves the job as it is if late
    };
    if (waitFor(attempt) == QueueResult::DONE) return true;
    m_failed = true;
    return false;
}

bool ImportWorkers::take(ImportResult& result)
{
    const auto attempt = [this, &result](const zelbase::TimePoint& end) {
        return m_shared->results.pop(result, end);
    };
    if (waitFor(attempt) != QueueResult::DONE) {
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
void ImportWorkers::work(Shared& shared, const ImportSettings& settings, std::size_t number)
{
    const ThreadName name("reader " + std::to_string(number));
    for (ImportJob job; shared.jobs.pop(job, zelbase::TimePoint::MAX) == QueueResult::DONE;) {
        // A closed queue refuses the result: nobody waits for it any more.
        shared.results.push(runJob(job, settings, shared.lines), zelbase::TimePoint::MAX);
    }
}

void ImportWorkers::start(std::size_t count, const ImportSettings& settings)
{
    try {
        while (m_threads.size() < count) {
            m_threads.emplace_back([shared = m_shared, settings, number = m_threads.size() + 1] {
                work(*shared, settings, number);
            });
        }
    } catch (const std::system_error& error) {
        m_startError = error.code().message();
    }
}

/// Makes an attempt that lasts to the deadline: in slices if somebody watches, and in one piece
/// after a failure, when there is nothing to wait for.
template <typename Attempt>
QueueResult ImportWorkers::waitFor(Attempt attempt)
{
    const zelbase::TimePoint end = deadline();
    while (m_progress.isWatched() && !m_failed) {
        const zelbase::TimePoint now = zelbase::TimePoint::now();
        m_progress.show(m_shared->lines, now);
        const QueueResult result = attempt(std::min(now + Progress::PERIOD, end));
        if (result != QueueResult::LATE || now + Progress::PERIOD >= end) return result;
    }
    return attempt(end);
}

zelbase::TimePoint ImportWorkers::deadline() const
{
    return m_failed ? zelbase::TimePoint() : zelbase::TimePoint::now() + m_timeout;
}

} // namespace deviceimport
