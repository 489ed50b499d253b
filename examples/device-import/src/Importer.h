// SPDX-License-Identifier: Apache-2.0
//
// Imports several files, each in a thread with an error storage of its own.
//
//     const bool clean = importFiles({"east.csv", "west.csv"}, StorageKind::NONE);

#ifndef DEVICE_IMPORT_IMPORTER_H
#define DEVICE_IMPORT_IMPORTER_H

#include <string>
#include <vector>

namespace deviceimport {

/// Who deals with the errors of broken lines.
enum class StorageKind {
    NONE,   ///< the import itself: it reports and acknowledges them
    STDOUT, ///< the next error's storage: std::StdoutDumpErrorStorage
    ABORT,  ///< the same with std::AbortErrorStorage, which ends the process
    TRACE,  ///< the same with std::TraceErrorStorage
};

/// Imports the files `names` and prints a report on each to standard output, in the order of the
/// names. Files are read at the same time with StorageKind::NONE, and one after another with the
/// kinds that print by themselves.
/// Returns true if every line of every file was imported.
bool importFiles(const std::vector<std::string>& names, StorageKind storage);

} // namespace deviceimport

#endif // DEVICE_IMPORT_IMPORTER_H
