// SPDX-License-Identifier: Apache-2.0
//
// threadsafe::TlsImpl owns one POSIX thread-specific data key: a slot that holds one untyped
// pointer for each thread. The slot never owns what the pointers refer to.
//
//     threadsafe::TlsImpl slot;
//     if (const char* error = slot.set(&record)) return error;
//     auto* mine = static_cast<Record*>(slot.get());

#ifndef ZELCOMMON_THREADSAFE_TLSIMPL_POSIX_H
#define ZELCOMMON_THREADSAFE_TLSIMPL_POSIX_H

#include <pthread.h>

#include <zel/attributes.h>

namespace threadsafe {

/// The error constants of `TlsImpl`. They are compared by pointer identity, never by text; the
/// text is for printing.
class ZEL_EXPORT TlsBase
{
public:
    /// "Unknown zel::Tls error"
    static const char* const ERROR;
    /// "zel::Tls out of memory"
    static const char* const ERROR_OUT_OF_MEMORY;
};

/// One pointer for each thread, empty (null) until the thread stores one.
///
/// The key has no destructor function: when a thread ends, nothing is called for the value that it
/// left behind. Whoever stores a pointer removes it. Not async-signal-safe.
class ZEL_EXPORT TlsImpl : public TlsBase
{
public:
    /// Creates the key. Ends the process if that fails ("pthread_key_create failed").
    TlsImpl();
    /// Deletes the key. Requires that no thread uses the slot any more. Ends the process if that
    /// fails ("pthread_key_delete failed").
    ~TlsImpl();
    TlsImpl(const TlsImpl&) = delete;
    TlsImpl& operator=(const TlsImpl&) = delete;

    /// Stores `value`, which may be null, for the calling thread.
    /// Returns null on success.
    /// Returns `ERROR_OUT_OF_MEMORY` if there is no memory for it; the old value stays.
    /// Returns `ERROR` on any other failure; the old value stays.
    const char* set(void* value);

    /// Returns what the calling thread stored last, or null if it never stored anything.
    void* get() const { return pthread_getspecific(m_key); }

private:
    pthread_key_t m_key;
};

static_assert(sizeof(TlsImpl) == sizeof(pthread_key_t), "a slot is its key and nothing else");

} // namespace threadsafe

#endif // ZELCOMMON_THREADSAFE_TLSIMPL_POSIX_H
