// SPDX-License-Identifier: Apache-2.0

#include "Importer.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <map>
#include <thread>
#include <utility>

#include <common/tracing/SharedChannelMap.h>
#include <common/tracing/log.h>

#include <unistd.h>

#include "ImportWorkers.h"
#include "Progress.h"

namespace deviceimport {

namespace {

/// Bounds of the number of threads. A single one would let one file that hangs stop all.
constexpr std::size_t MIN_WORKERS = 2;
constexpr std::size_t MAX_WORKERS = 8;

/// Jobs for each thread that are given and not taken back: enough that none is idle.
constexpr std::size_t JOBS_PER_WORKER = 4;

const tracing::SharedChannelPtr s_import("import");

std::size_t workerCount(std::size_t files)
{
    const std::size_t cores = std::thread::hardware_concurrency();
    return std::min(std::clamp(cores, MIN_WORKERS, MAX_WORKERS), files);
}

/// Prints results in the order of their places, whatever order they come in.
class ResultPrinter
{
public:
    ResultPrinter(Registry& registry, Progress& progress)
        : m_registry(registry), m_progress(progress)
    {}

    void add(ImportResult result)
    {
        m_waiting.emplace(result.place, std::move(result));
        for (auto first = m_waiting.find(m_next); first != m_waiting.end();
             first = m_waiting.find(m_next)) {
            print(first->second);
            m_waiting.erase(first);
            ++m_next;
        }
    }

    /// Returns true if the result of `place` was added.
    bool has(std::size_t place) const { return place < m_next || m_waiting.count(place) != 0; }

    const ImportTotal& total() const { return m_total; }

private:
    void print(const ImportResult& result)
    {
        m_progress.erase();
        const std::string leftOut = m_registry.add(result.name, result.devices);
        const std::string text = result.text + leftOut;
        std::fwrite(text.data(), 1, text.size(), stdout);
        m_total.clean = m_total.clean && result.clean && leftOut.empty();
        m_total.lines += result.lines;
    }

    Registry& m_registry;
    Progress& m_progress;
    std::map<std::size_t, ImportResult> m_waiting;
    std::size_t m_next = 0;
    ImportTotal m_total;
};

/// Has all files imported, with at most `window` of them given to the workers at a time.
/// Returns false if the workers failed before all was done.
bool importAll(const std::vector<std::string>& names, std::size_t window, ImportWorkers& workers,
               ResultPrinter& printer)
{
    std::size_t given = 0;
    for (std::size_t taken = 0; taken < names.size(); ++taken) {
        for (; given < std::min(taken + window, names.size()); ++given) {
            if (!workers.give({given, names[given]})) return false;
        }
        ImportResult result;
        if (!workers.take(result)) return false;
        printer.add(std::move(result));
    }
    return true;
}

/// Whoever is warned of a failure gets the details of what follows.
void traceFailure()
{
    if (!s_import || !s_import->passes(tracing::Levels::LevelWARN)) return;
    s_import->logC(tracing::Levels::LevelWARN, "the workers failed, more is traced from here on");
    s_import->changeFilterLevel(tracing::Levels::LevelDEBUG);
}

/// Takes what the failed workers did bring to an end, and reports the other files as missed.
void giveUp(const std::vector<std::string>& names, StorageKind storage, ImportWorkers& workers,
            ResultPrinter& printer)
{
    traceFailure();
    for (ImportResult result; workers.take(result);)
        printer.add(std::move(result));
    for (std::size_t place = 0; place < names.size(); ++place) {
        if (printer.has(place)) continue;
        workers.raiseFailure();
        printer.add(missJob({place, names[place]}, storage));
    }
}

} // namespace

ImportTotal importFiles(const std::vector<std::string>& names, const ImportSettings& settings,
                        zelbase::Duration timeout, Registry& registry)
{
    if (names.empty()) return {};

    // With a storage that prints by itself, the report on a file comes before the next file begins.
    const bool together = settings.storage == StorageKind::NONE;
    const std::size_t count = together ? workerCount(names.size()) : 1;
    const std::size_t window = together ? count * JOBS_PER_WORKER : 1;

    Progress progress(STDERR_FILENO, zelbase::TimePoint::now());
    ImportWorkers workers(count, window, settings, timeout, progress);
    ResultPrinter printer(registry, progress);
    const bool failed = !importAll(names, window, workers, printer);
    if (failed) {
        progress.erase(); // before a trace line
        giveUp(names, settings.storage, workers, printer);
    }
    ImportTotal total = printer.total();
    total.threadsLeft = failed;
    return total;
}

} // namespace deviceimport
