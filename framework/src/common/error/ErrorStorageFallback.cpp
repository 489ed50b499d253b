// SPDX-License-Identifier: Apache-2.0

#include "ErrorStorageFallback.h"

#include <cstring>
#include <new>

#include <pthread.h>

namespace std {

namespace {

pthread_mutex_t s_mutex = PTHREAD_MUTEX_INITIALIZER;

// A plain mutex that is never destroyed has no way to fail.
void acquire()
{
    pthread_mutex_lock(&s_mutex);
}

void release()
{
    pthread_mutex_unlock(&s_mutex);
}

/// Without this, a child that is forked while another thread records would find the lock taken for
/// ever. Where there is no memory to register it, only such a child is the worse off.
[[maybe_unused]] const bool s_survivesFork = pthread_atfork(acquire, release, release) == 0;

struct Locked
{
    Locked() { acquire(); }
    ~Locked() { release(); }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;
};

struct Unlocked
{
    Unlocked() { release(); }
    ~Unlocked() { acquire(); }
    Unlocked(const Unlocked&) = delete;
    Unlocked& operator=(const Unlocked&) = delete;
};

/// A copy of `error` that still refers to a message of static lifetime and keeps all of a full
/// buffer, both of which an assignment would cut.
void copyWhole(ErrorObject& copy, const ErrorObject& error)
{
    copy = error;
    memcpy(copy.m_buffer, error.m_buffer, sizeof copy.m_buffer);
    if (error.m_reason != error.m_buffer) copy.m_reason = error.m_reason;
}

} // namespace

bool ErrorStorage::Fallback::is(const ErrorStorage* storage)
{
    return storage == &memory();
}

char* ErrorStorage::Fallback::record(const Entry& entry)
{
    const Locked locked;
    Fallback& storage = instance();

    while (entry.raise && storage.isPending())
        storage.dumpPending();
    if (!entry.raise && storage.isPending() && storage.m_count >= CAPACITY) storage.warnAhead();

    // Others may have recorded during the reports; from here on nobody does.
    storage.startChain(entry.raise);
    return storage.fill(storage.advance(), entry);
}

/// Returns the storage, created by the first call. Requires the lock.
ErrorStorage::Fallback& ErrorStorage::Fallback::instance()
{
    static bool s_created = false;
    if (!s_created) new (&memory()) Fallback;
    s_created = true;
    return memory();
}

/// The place of the storage, whether it exists yet or not. Nothing ever destroys what is there.
ErrorStorage::Fallback& ErrorStorage::Fallback::memory()
{
    alignas(Fallback) static unsigned char s_memory[sizeof(Fallback)];
    return *static_cast<Fallback*>(static_cast<void*>(s_memory));
}

/// Hands the pending chain to the reaction and drops it. The reaction gets a copy, as the storage
/// is open to other threads meanwhile.
void ErrorStorage::Fallback::dumpPending()
{
    ErrorObject chain[CAPACITY];
    ErrorObject* copy = chain;
    for (const ErrorObject* error = m_current; error != nullptr; error = error->m_cause, ++copy) {
        copyWhole(*copy, *error);
        if (error->m_cause != nullptr) copy->m_cause = copy + 1;
    }
    const int count = m_count;
    clear();

    const Unlocked unlocked;
    handOver(chain, count);
}

/// Warns that the next error overwrites the oldest one, before it does: the storage is open to
/// other threads meanwhile and must be whole. On a thread that is bound to the storage, it is
/// unbound for that time, so that the warning's own report stays without an error context as
/// everywhere.
void ErrorStorage::Fallback::warnAhead()
{
    ErrorObject oldest;
    copyWhole(oldest, m_errors[m_count % CAPACITY]);

    const Unlocked unlocked;
    ErrorStorage* const bound = active();
    activate(nullptr);
    announceOverwrite(oldest);
    if (bound != nullptr && active() == nullptr) activate(bound);
}

} // namespace std
