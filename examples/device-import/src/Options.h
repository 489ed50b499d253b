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

#include <zelbase/time.h>

#include "Handlers.h"
#include "ImportJob.h"

namespace deviceimport {

/// What the command line asks for.
struct Options
{
    bool help = false;
    /// Ask for the closing line.
    bool time = false;
    /// How long to wait for the next file to come to its end.
    zelbase::Duration timeout{60000};
    ImportSettings settings;
    Provocation provocation = Provocation::NONE;
    /// The registry to write, and the one to print; empty for none.
    std::string output;
    std::string dump;
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
