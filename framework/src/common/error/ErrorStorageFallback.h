// SPDX-License-Identifier: Apache-2.0
//
// The one storage that all threads without a storage of their own share.

#ifndef ZELCOMMON_SRC_COMMON_ERROR_ERRORSTORAGEFALLBACK_H
#define ZELCOMMON_SRC_COMMON_ERROR_ERRORSTORAGEFALLBACK_H

#include <common/error/ErrorStorages.h>

#include "ErrorStorageEntry.h"

/// Dumps unhandled errors to standard output.
///
/// It is created on first need, which makes it the active storage of the thread that needed it, and
/// is never destroyed, so that exit handlers can still record errors. Recording is serialised by a
/// lock that is free again when anything is reported: what a recording pushes out of the storage is
/// copied, and reported once the new error is in its place.
class ZEL_LOCAL std::ErrorStorage::Fallback : public StdoutDumpErrorStorage
{
public:
    /// Returns true if `storage` is the fallback storage.
    static bool is(const ErrorStorage* storage) { return storage == &memory(); }

    /// Records in the fallback storage. Returns as `ErrorStorage::add`. Any thread.
    static char* record(const Entry& entry);

private:
    class Displaced;
    class Reporter;

    static Fallback& memory() { return *static_cast<Fallback*>(static_cast<void*>(s_memory)); }
    static Fallback& instance();
    char* store(const Entry& entry, Displaced& displaced);

    alignas(StdoutDumpErrorStorage) static unsigned char s_memory[sizeof(StdoutDumpErrorStorage)];
};

#endif // ZELCOMMON_SRC_COMMON_ERROR_ERRORSTORAGEFALLBACK_H
