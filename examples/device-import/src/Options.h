// SPDX-License-Identifier: Apache-2.0
//
// The command line.
//
//     Options options;
//     if (!parseOptions(argc, argv, options)) complain(std::ErrorStorage::reason());

#ifndef DEVICE_IMPORT_OPTIONS_H
#define DEVICE_IMPORT_OPTIONS_H

#include <string>
#include <vector>

#include "Handlers.h"
#include "Importer.h"

namespace deviceimport {

/// What the command line asks for.
struct Options
{
    bool help = false;
    StorageKind storage = StorageKind::NONE;
    Provocation provocation = Provocation::NONE;
    std::vector<std::string> files;
};

/// What `--help` prints.
extern const char* const HELP;

/// Reads the command line into `options`; what stands behind `--help` is not looked at. Permutes
/// `argv`. Call once.
/// Returns false on wrong use, with a TCLAP::Error raised.
bool parseOptions(int argc, char* argv[], Options& options);

} // namespace deviceimport

#endif // DEVICE_IMPORT_OPTIONS_H
