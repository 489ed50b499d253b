// SPDX-License-Identifier: Apache-2.0
//
// Imports several files, each in one of a few threads and with an error storage of its own.
//
//     const ImportTotal total = importFiles(names, settings, timeout, registry);
//     return total.clean ? 0 : 1;

#ifndef DEVICE_IMPORT_IMPORTER_H
#define DEVICE_IMPORT_IMPORTER_H

#include <string>
#include <vector>

#include <zelbase/time.h>

#include "ImportJob.h"
#include "Registry.h"

namespace deviceimport {

/// What came of all files.
struct ImportTotal
{
    /// True if every line of every file was imported, and every device is in the registry if it is
    /// to be.
    bool clean = true;
    /// Lines that were read, of whatever kind.
    long long lines = 0;
    /// True if threads were left alone that hang: they go on whenever they can, to the process's
    /// end.
    bool threadsLeft = false;
};

/// Imports the files `names` and prints a report on each to standard output, in the order of the
/// names. Files are read at the same time with StorageKind::NONE, and one after another with the
/// kinds that print by themselves. If the settings keep the devices, `registry` gets them in that
/// order, too, and what it left out is printed behind the report. People at a terminal see on
/// standard error how far the import is.
///
/// If no file comes to its end for `timeout`, those that are still missing are given up. The report
/// on each is ListError LIST_UNREADABLE then, caused by ImportError IMPORT_STALLED; a thread that
/// hangs stays until the process ends.
ImportTotal importFiles(const std::vector<std::string>& names, const ImportSettings& settings,
                        zelbase::Duration timeout, Registry& registry);

} // namespace deviceimport

#endif // DEVICE_IMPORT_IMPORTER_H
