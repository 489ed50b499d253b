// SPDX-License-Identifier: Apache-2.0
//
// The import of one file, from its name to the text that is printed about it.
//
//     const ImportResult result = runJob({0, "devices.csv"}, settings, counter);
//     std::fputs(result.text.c_str(), stdout);

#ifndef DEVICE_IMPORT_IMPORTJOB_H
#define DEVICE_IMPORT_IMPORTJOB_H

#include <cstddef>
#include <optional>
#include <string>

#include <common/unicode/String.h>

#include "DeviceList.h"
#include "ListReport.h"

namespace deviceimport {

/// Who deals with the errors of broken lines.
enum class StorageKind {
    NONE,   ///< the import itself: it reports and acknowledges them
    STDOUT, ///< the next error's storage: std::StdoutDumpErrorStorage
    ABORT,  ///< the same with std::AbortErrorStorage, which ends the process
    TRACE,  ///< the same with std::TraceErrorStorage
};

/// How files are imported. Each thread has a copy.
struct ImportSettings
{
    StorageKind storage = StorageKind::NONE;
    /// List the devices whose name contains this.
    std::optional<std::unicode::String> find;
    /// Hand the devices on with the result.
    bool keepDevices = false;
};

/// A file to be imported.
struct ImportJob
{
    /// Index among the files.
    std::size_t place = 0;
    std::string name;
};

/// What came of a job.
struct ImportResult
{
    /// That of the job.
    std::size_t place = 0;
    std::string name;
    /// The errors that were collected, the devices that were found and the summary.
    std::string text;
    /// True if every line was imported.
    bool clean = false;
    /// Lines that were read, of whatever kind.
    int lines = 0;
    /// The devices, if the settings ask for them.
    DeviceList devices;
};

/// Imports the file of `job` in the calling thread, which has an error storage of its own for just
/// that time. Counts lines in `counter` as they are read. Blocks as long as the file does.
ImportResult runJob(const ImportJob& job, const ImportSettings& settings, LineCounter& counter);

/// Returns the result of a `job` that nobody did. Requires the reason to be pending, which gets
/// ListError LIST_UNREADABLE on top and is dealt with then.
ImportResult missJob(const ImportJob& job, StorageKind storage);

} // namespace deviceimport

#endif // DEVICE_IMPORT_IMPORTJOB_H
