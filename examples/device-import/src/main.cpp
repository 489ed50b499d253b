// SPDX-License-Identifier: Apache-2.0
//
// Imports lists of devices, as a service of the framework would at its start.

#include <cstdio>

#include <common/error/ErrorStorages.h>
#include <zelbase/time.h>

#include "Handlers.h"
#include "Importer.h"
#include "Options.h"

namespace {

/// Exit statuses.
enum {
    ALL_IMPORTED = 0,
    NOT_ALL_IMPORTED = 1,
    WRONG_USE = 2,
};

int complain()
{
    std::fprintf(stderr, "device-import: %s\nTry 'device-import --help' for more information.\n",
                 std::ErrorStorage::reason());
    std::ErrorStorage::ack();
    return WRONG_USE;
}

int run(const deviceimport::Options& options)
{
    deviceimport::installNewHandler();
    if (options.provocation != deviceimport::Provocation::NONE) {
        deviceimport::registerHandlers();
        deviceimport::provoke(options.provocation);
    }
    const zelbase::TimePoint start = zelbase::TimePoint::now();
    const deviceimport::ImportTotal total =
        deviceimport::importFiles(options.files, options.storage, options.timeout);
    const zelbase::Duration elapsed = zelbase::TimePoint::now() - start;
    if (options.time) {
        std::printf("%lld lines in %lld ms\n", total.lines,
                    static_cast<long long>(elapsed.milliseconds()));
    }
    return total.clean ? ALL_IMPORTED : NOT_ALL_IMPORTED;
}

/// Returns `status`, unless standard output did not take all that was written to it.
int finish(int status)
{
    const bool flushed = std::fflush(stdout) == 0;
    if (flushed && std::ferror(stdout) == 0) return status;
    std::fputs("device-import: standard output could not be written\n", stderr);
    return NOT_ALL_IMPORTED;
}

} // namespace

int main(int argc, char* argv[])
{
    const std::StdoutDumpErrorStorage errors;
    deviceimport::Options options;
    if (!deviceimport::parseOptions(argc, argv, options)) return complain();
    if (!options.help) return finish(run(options));
    std::fputs(deviceimport::HELP, stdout);
    return finish(ALL_IMPORTED);
}
