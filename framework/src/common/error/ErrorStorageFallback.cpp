// SPDX-License-Identifier: Apache-2.0

#include "ErrorStorageFallback.h"

#include <atomic>
#include <cstring>
#include <new>

#include <pthread.h>

#include "../../zelbase/initPriority.h"
#include "ErrorStorageRecording.h"

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

/// A child that is forked while another thread records would find the lock taken for ever. Where
/// there is no memory to register this, only such a child is the worse off. Registered before the
/// program's own fork handlers, so that the lock is free while those run.
__attribute__((constructor(ZELCOMMON_INIT_PRIORITY))) void surviveFork()
{
    pthread_atfork(acquire, release, release);
}

struct Locked
{
    Locked() { acquire(); }
    ~Locked() { release(); }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;
};

/// Copies all of `error`: an assignment would cut a message of static lifetime and the last byte of
/// a full buffer.
void copyWhole(ErrorObject& copy, const ErrorObject& error)
{
    copy = error;
    memcpy(copy.m_buffer, error.m_buffer, sizeof copy.m_buffer);
    if (error.m_reason != error.m_buffer) copy.m_reason = error.m_reason;
}

} // namespace

/// Gives the thread that reports for the fallback storage a storage of the moment. What handlers
/// record meanwhile ends up there and is dropped, without a report of its own: reports cannot
/// recurse. Where it cannot become active, only one such report at a time may be made.
class ErrorStorage::Fallback::Reporter
{
public:
    Reporter()
        : m_storage(*new (m_memory) Silent), m_isActive(active() == &m_storage),
          m_mayReport(m_isActive || !s_isReporting.test_and_set())
    {}

    ~Reporter()
    {
        if (m_isActive)
            m_storage.~Silent();
        else if (m_mayReport)
            s_isReporting.clear();
    }

    Reporter(const Reporter&) = delete;
    Reporter& operator=(const Reporter&) = delete;

    bool mayReport() const { return m_mayReport; }

private:
    struct Silent : ErrorStorage
    {
        Silent() : ErrorStorage(nullptr) { m_reporting = true; }
    };

    static atomic_flag s_isReporting;

    alignas(Silent) unsigned char m_memory[sizeof(Silent)];
    /// Not destroyed unless it became active: otherwise there is nothing to undo or to complain of.
    Silent& m_storage;
    const bool m_isActive;
    const bool m_mayReport;
};

atomic_flag ErrorStorage::Fallback::Reporter::s_isReporting = ATOMIC_FLAG_INIT;

/// What a recording pushed out of the fallback storage, copied to be reported without the lock.
class ErrorStorage::Fallback::Displaced
{
public:
    /// Takes a pending chain that a new one replaces. `count` as for a reaction.
    void takeChain(const ErrorObject* error, int count)
    {
        m_count = count;
        ErrorObject* copy = m_errors;
        for (; error != nullptr && copy != m_errors + CAPACITY; error = error->m_cause, ++copy) {
            copyWhole(*copy, *error);
            if (copy != m_errors) copy[-1].m_cause = copy;
        }
    }

    /// Takes the oldest error of a chain, which a new one overwrites.
    void takeOldest(const ErrorObject& oldest)
    {
        m_isOverwritten = true;
        copyWhole(m_errors[0], oldest);
    }

    void report(Fallback& storage) const
    {
        if (m_count == 0 && !m_isOverwritten) return;
        const Reporter reporter;
        if (!reporter.mayReport()) return;
        if (m_isOverwritten)
            announceOverwrite(m_errors[0]);
        else
            storage.handOver(m_errors, m_count);
    }

private:
    ErrorObject m_errors[CAPACITY];
    int m_count = 0;
    bool m_isOverwritten = false;
};

char* ErrorStorage::Fallback::record(const Entry& entry)
{
    Displaced displaced;
    char* buffer = nullptr;
    {
        const Locked locked;
        buffer = instance().store(entry, displaced);
    }
    displaced.report(memory());
    return buffer;
}

/// The place of the storage, whether it exists yet or not. Nothing ever destroys what is there.
alignas(StdoutDumpErrorStorage) unsigned char ErrorStorage::Fallback::s_memory[sizeof(
    StdoutDumpErrorStorage)];

/// Returns the storage, created by the first call. Requires the lock.
ErrorStorage::Fallback& ErrorStorage::Fallback::instance()
{
    static_assert(sizeof(Fallback) == sizeof s_memory, "the reserved memory is all that there is");
    static_assert(alignof(Fallback) == alignof(StdoutDumpErrorStorage));
    static bool s_isCreated = false;
    if (!s_isCreated) new (&memory()) Fallback;
    s_isCreated = true;
    return memory();
}

/// Records without any report. Requires the lock.
char* ErrorStorage::Fallback::store(const Entry& entry, Displaced& displaced)
{
    if (entry.raise && isPending()) displaced.takeChain(m_current, m_count);
    startChain(entry.raise);
    ErrorObject& slot = advance();
    if (m_count > CAPACITY) displaced.takeOldest(slot);
    return fill(slot, entry);
}

} // namespace std
