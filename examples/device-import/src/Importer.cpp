// SPDX-License-Identifier: Apache-2.0

#include "Importer.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <system_error>
#include <thread>

#include <common/error/ErrorStorages.h>

#include "DeviceList.h"
#include "ListReport.h"

namespace deviceimport {

namespace {

/// Files that are read at the same time.
constexpr std::size_t MAX_THREADS = 16;

/// The trace channel for the errors of an import.
constexpr int TRACE_CHANNEL = 1;

template <typename Storage, typename... Values>
void importUnder(ListReport& report, Values... values)
{
    const Storage errors(values...);
    DeviceList list;
    list.load(report);
    report.finish(list.devices().size());
}

/// Imports one file in the calling thread, which is given a storage of kind `storage` for it.
void importFile(ListReport& report, StorageKind storage)
{
    switch (storage) {
    case StorageKind::NONE:
    case StorageKind::STDOUT: importUnder<std::StdoutDumpErrorStorage>(report); break;
    case StorageKind::ABORT: importUnder<std::AbortErrorStorage>(report); break;
    case StorageKind::TRACE: importUnder<std::TraceErrorStorage>(report, TRACE_CHANNEL); break;
    }
}

/// Starts the import of one file. Without a thread to be had, imports it before it returns.
std::thread start(ListReport& report, StorageKind storage)
{
    try {
        return std::thread([&report, storage] { importFile(report, storage); });
    } catch (const std::system_error&) {
        importFile(report, storage);
        return {};
    }
}

/// Imports the files of `reports` at the same time, and returns when all are done.
void importTogether(std::vector<ListReport>& reports, StorageKind storage)
{
    std::vector<std::thread> threads;
    threads.reserve(reports.size());
    for (ListReport& report : reports)
        threads.push_back(start(report, storage));
    for (std::thread& thread : threads) {
        if (thread.joinable()) thread.join();
    }
}

bool print(const std::vector<ListReport>& reports)
{
    bool clean = true;
    for (const ListReport& report : reports) {
        std::fwrite(report.text().data(), 1, report.text().size(), stdout);
        clean = clean && report.isClean();
    }
    return clean;
}

} // namespace

bool importFiles(const std::vector<std::string>& names, StorageKind storage)
{
    const bool collect = storage == StorageKind::NONE;
    const auto errors = collect ? ListReport::Errors::COLLECT : ListReport::Errors::LEAVE_PENDING;
    const std::size_t batch = collect ? MAX_THREADS : 1;

    bool clean = true;
    for (std::size_t first = 0; first < names.size(); first += batch) {
        std::vector<ListReport> reports;
        for (std::size_t at = first; at < std::min(first + batch, names.size()); ++at)
            reports.emplace_back(names[at], errors);
        importTogether(reports, storage);
        clean = print(reports) && clean;
    }
    return clean;
}

} // namespace deviceimport
