// SPDX-License-Identifier: Apache-2.0
//
// Imports lists of devices, as a service of the framework would at its start.

#include <cstddef>
#include <cstdio>

#include <common/error/ErrorStorages.h>
#include <common/tracing/IClient.h>
#include <common/tracing/SharedChannelMap.h>
#include <common/tracing/log.h>
#include <zelbase/time.h>

#include "Handlers.h"
#include "Importer.h"
#include "Options.h"
#include "Registry.h"
#include "RegistryCommands.h"

namespace {

/// Exit statuses.
enum {
    ALL_IMPORTED = 0,
    NOT_ALL_IMPORTED = 1,
    WRONG_USE = 2,
};

using tracing::Levels;

const tracing::SharedChannelPtr s_import("import");

int complain()
{
    std::fprintf(stderr, "device-import: %s\nTry 'device-import --help' for more information.\n",
                 std::ErrorStorage::reason());
    std::ErrorStorage::ack();
    return WRONG_USE;
}

void startTracing()
{
    tracing::client_helper->init("device-import");
    if (tracing::IClient::s_client != nullptr) tracing::IClient::s_client->registerThread("main");
}

/// Writes out what was logged. The client stays if threads were left alone: they may log to the
/// process's end.
void endTracing(bool threadsLeft)
{
    if (!threadsLeft) {
        tracing::client_helper->deinit();
    } else if (tracing::IClient::s_client != nullptr) {
        tracing::IClient::s_client->flushMessages(true);
    }
}

void traceStart(const zelbase::TimePoint& start, std::size_t files)
{
    if (!s_import || !s_import->passes(Levels::LevelINFO)) return;
    s_import->logCV(Levels::LevelINFO, tracing::Modifiers::NONE,
                    static_cast<long long>(start.milliseconds()), "files: %zu", files);
}

deviceimport::ImportTotal importLists(const deviceimport::Options& options,
                                      deviceimport::Registry& registry, zelbase::Duration& elapsed)
{
    const zelbase::TimePoint start = zelbase::TimePoint::now();
    traceStart(start, options.files.size());
    const deviceimport::ImportTotal total =
        deviceimport::importFiles(options.files, options.settings, options.timeout, registry);
    elapsed = zelbase::TimePoint::now() - start;
    if (s_import) ZEL_LOG(*s_import, Levels::LevelINFO, "lines: %lld", total.lines);
    return total;
}

/// Returns whether every device came where it is to be.
bool importAll(const deviceimport::Options& options)
{
    deviceimport::Registry registry;
    zelbase::Duration elapsed;
    const deviceimport::ImportTotal total = importLists(options, registry, elapsed);
    const bool isSaved =
        options.output.empty() || deviceimport::outputRegistry(options.output, registry.devices());
    if (options.time) {
        std::printf("%lld lines in %lld ms\n", total.lines,
                    static_cast<long long>(elapsed.milliseconds()));
    }
    endTracing(total.threadsLeft);
    return total.clean && isSaved;
}

bool dump(const deviceimport::Options& options)
{
    const bool isSound = deviceimport::dumpRegistry(options.dump);
    endTracing(false);
    return isSound;
}

int run(const deviceimport::Options& options)
{
    deviceimport::installNewHandler();
    deviceimport::ignoreSizeSignal();
    startTracing();
    if (options.provocation != deviceimport::Provocation::NONE) {
        deviceimport::registerHandlers();
        deviceimport::provoke(options.provocation);
    }
    const bool isDone = options.dump.empty() ? importAll(options) : dump(options);
    return isDone ? ALL_IMPORTED : NOT_ALL_IMPORTED;
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
