// SPDX-License-Identifier: Apache-2.0

#include "Handlers.h"

#include <atomic>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <new>

#include <common/error/ErrorStorage.h>
#include <zel/report.h>

#include "ImportErrors.h"

namespace deviceimport {

namespace {

using Handler = std::GlobalErrorHandler;

constexpr std::size_t RESERVE_SIZE = std::size_t{64} * 1024;

/// Owned here until the out-of-memory handler releases it, in whatever thread that is.
std::atomic<char*> s_reserve{nullptr};

void onAbort(const char* location, const char* reason)
{
    std::fprintf(stderr, "device-import: abort at %s: %s\n", location, reason);
}

void onAssert(const char* condition, const char* location, const char* reason)
{
    std::fprintf(stderr, "device-import: assertion %s at %s: %s\n", condition, location, reason);
}

void onWarning(const char* location, const char* reason)
{
    std::fprintf(stderr, "device-import: warning at %s: %s\n", location, reason);
}

bool onOutOfMem(const char* location, const char* reason)
{
    char* const reserve = s_reserve.exchange(nullptr);
    delete[] reserve;
    std::fprintf(stderr, "device-import: %s at %s: %s\n",
                 reserve != nullptr ? "reserve released" : "no reserve left", location, reason);
    return reserve != nullptr;
}

void onFailedNew()
{
    ZEL_OUT_OF_MEMORY("no memory for new");
}

} // namespace

void installNewHandler()
{
    std::set_new_handler(onFailedNew);
}

void ignoreSizeSignal()
{
    const bool refused = std::signal(SIGXFSZ, SIG_IGN) == SIG_ERR;
    ZEL_ASSERT(!refused);
}

void registerHandlers()
{
    s_reserve = new char[RESERVE_SIZE];
    bool refused = Handler::atAbort(onAbort);
    refused = Handler::atAssert(onAssert) || refused;
    refused = Handler::atWarning(onWarning) || refused;
    refused = Handler::atOutOfMem(onOutOfMem) || refused;
    ZEL_ASSERT(!refused);
}

void provoke(Provocation kind)
{
    if (kind == Provocation::NONE) return;
    ZEL_RAISE(ImportError, IMPORT_PROVOKED);
    switch (kind) {
    case Provocation::NONE: break;
    case Provocation::ASSERT:
        ZEL_ASSERT_MSG(kind == Provocation::NONE, "provocation number %d", static_cast<int>(kind));
        break;
    case Provocation::WARNING: ZEL_WARN("provocation number %d", static_cast<int>(kind)); break;
    case Provocation::ABORT: ZEL_ABORT("provocation number %d", static_cast<int>(kind)); break;
    case Provocation::MEMORY: std::get_new_handler()(); break;
    }
    std::ErrorStorage::ack();
}

} // namespace deviceimport
