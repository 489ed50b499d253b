// SPDX-License-Identifier: Apache-2.0

#include "ImportJob.h"

#include <utility>

#include <common/error/ErrorStorages.h>
#include <common/tracing/Levels.h>
#include <common/tracing/SharedChannelMap.h>
#include <common/tracing/TraceBuffer.h>
#include <zel/report.h>

#include "ImportErrors.h"

namespace deviceimport {

namespace {

using tracing::Levels;

/// Never destroyed: a thread that hangs may log at any time, to the process's end.
const tracing::SharedChannelPtr& s_list = *new tracing::SharedChannelPtr("list");

/// The trace channel for the errors of an import.
constexpr int TRACE_CHANNEL = 1;

ListReport::Errors errorsFor(StorageKind storage)
{
    return storage == StorageKind::NONE ? ListReport::Errors::COLLECT
                                        : ListReport::Errors::LEAVE_PENDING;
}

/// One line, which is as important as its worst piece. None is a warning: the report says it all,
/// and standard error is for what it does not say.
void traceSummary(const ListReport& report)
{
    if (!s_list) return;
    tracing::TraceBuffer line(s_list.get());
    line.append(report.name().c_str());
    line.appendf(Levels::LevelDEBUG, ", %d lines", report.lines());
    if (report.rejected() > 0) line.appendf(Levels::LevelINFO, ", %d rejected", report.rejected());
    if (report.hasFailed()) line.append(Levels::LevelINFO, ", not read to the end");
}

ImportResult makeResult(const ImportJob& job, const ListReport& report)
{
    traceSummary(report);
    return {job.place, job.name, report.text(), report.isClean(), report.lines(), {}};
}

template <typename Storage, typename... Values>
void importUnder(const ImportSettings& settings, DeviceList& list, ListReport& report,
                 Values... values)
{
    const Storage errors(values...);
    list.load(report);
    if (settings.find) report.addFound(list.find(*settings.find));
    report.finish(list.devices().size());
}

} // namespace

ImportResult runJob(const ImportJob& job, const ImportSettings& settings, LineCounter& counter)
{
    DeviceList list;
    ListReport report(job.name, errorsFor(settings.storage), counter);
    switch (settings.storage) {
    case StorageKind::NONE:
    case StorageKind::STDOUT:
        importUnder<std::StdoutDumpErrorStorage>(settings, list, report);
        break;
    case StorageKind::ABORT: importUnder<std::AbortErrorStorage>(settings, list, report); break;
    case StorageKind::TRACE:
        importUnder<std::TraceErrorStorage>(settings, list, report, TRACE_CHANNEL);
        break;
    }
    ImportResult result = makeResult(job, report);
    if (settings.keepDevices) result.devices = std::move(list);
    return result;
}

ImportResult missJob(const ImportJob& job, StorageKind storage)
{
    LineCounter none{0};
    ListReport report(job.name, errorsFor(storage), none);
    ZEL_RAISE_ON(ListError, LIST_UNREADABLE, job.name.c_str());
    report.addFailure();
    report.finish(0);
    return makeResult(job, report);
}

} // namespace deviceimport
