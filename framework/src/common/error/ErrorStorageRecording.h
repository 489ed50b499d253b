// SPDX-License-Identifier: Apache-2.0
//
// How an error gets into the storage of a thread: expanded where errors are raised, as a function
// that fails pays for it.

#ifndef ZELCOMMON_SRC_COMMON_ERROR_ERRORSTORAGERECORDING_H
#define ZELCOMMON_SRC_COMMON_ERROR_ERRORSTORAGERECORDING_H

#include <atomic>
#include <climits>
#include <cstddef>
#include <cstring>

#include <pthread.h>

#include <common/error/Error.h>
#include <common/error/ErrorStorage.h>
#include <threadsafe/TlsImpl-posix.h>
#include <zel/attributes.h>

#include "../../zelbase/processId-posix.h"
#include "ErrorStorageFallback.h"

namespace errorcore {

/// False before the slot is built and after it is gone, when an initialiser or an exit handler of
/// another library may still record errors: no thread has a storage of its own then.
ZEL_LOCAL extern std::atomic<bool> s_slotUsable;

/// Binds the storages to their threads.
struct ZEL_LOCAL ThreadSlot
{
    ThreadSlot() { s_slotUsable.store(true, std::memory_order_relaxed); }
    ~ThreadSlot() { s_slotUsable.store(false, std::memory_order_relaxed); }
    ThreadSlot(const ThreadSlot&) = delete;
    ThreadSlot& operator=(const ThreadSlot&) = delete;

    threadsafe::TlsImpl tls;
};

ZEL_LOCAL extern ThreadSlot s_slot;

} // namespace errorcore

namespace std {

/// Returns the calling thread's active storage, or null.
inline ErrorStorage* ErrorStorage::active()
{
    if (!errorcore::s_slotUsable.load(memory_order_relaxed)) return nullptr;
    return static_cast<ErrorStorage*>(errorcore::s_slot.tls.get());
}

/// An acknowledged error is never used as a cause.
inline void ErrorStorage::startChain(bool raise)
{
    if (raise || (m_current != nullptr && m_acknowledged)) dropChain();
}

/// As `clear`, for an error that is about to be recorded, which is what makes the storage pending.
inline void ErrorStorage::dropChain()
{
    m_current = nullptr;
    m_count = 0;
}

/// Moves the ring on to its next slot and cuts that slot's old error off the chain.
inline ErrorObject& ErrorStorage::advance()
{
    static_assert(INT_MAX % CAPACITY == CAPACITY - 1, "the slot after INT_MAX is slot 0");
    constexpr int STEPPED_BACK = INT_MAX - CAPACITY + 1;

    const unsigned int index = static_cast<unsigned int>(m_count) % CAPACITY;
    m_count = m_count < INT_MAX ? m_count + 1 : STEPPED_BACK;
    if (m_count > CAPACITY) m_errors[(index + 1) % CAPACITY].m_cause = nullptr;
    return m_errors[index];
}

/// Returns the slot for the next error, and warns if it still holds one of the chain.
inline ErrorObject& ErrorStorage::takeSlot()
{
    ErrorObject& slot = advance();
    return m_count <= CAPACITY || m_reporting ? slot : overwrite(slot);
}

/// Returns the slot for a new error, of a new chain if `raise`.
inline ErrorObject& ErrorStorage::nextSlot(bool raise)
{
    if (raise && isPending()) react();
    startChain(raise);
    return takeSlot();
}

/// Makes `slot` the newest error.
inline void ErrorStorage::fill(ErrorObject& slot, const ErrorType* type, int id, const char* file,
                               int line, const char* reason)
{
    slot.m_type = type;
    slot.m_id = id;
    slot.m_file = file;
    slot.m_line = line;
    slot.m_cause = m_current;
    slot.m_thread = pthread_self();
    slot.m_process = zelbase::processId();
    slot.m_reason = reason;
    m_current = &slot;
    m_acknowledged = false;
}

/// Returns the calling thread's storage, or null if it has none of its own.
inline ErrorStorage* ErrorStorage::own()
{
    ErrorStorage* const storage = active();
    return Fallback::is(storage) ? nullptr : storage;
}

/// Records an error whose reason is a text of static lifetime, if the calling thread has a storage
/// of its own. Returns false, and records nothing, otherwise. What most errors take: it goes
/// without an entry.
inline bool ErrorStorage::recordPlain(const ErrorOutput& place, const ErrorType& type, int id,
                                      const char* message)
{
    ErrorStorage* const storage = own();
    if (storage == nullptr) return false;
    ErrorObject& slot = storage->nextSlot(place.m_raise);
    storage->fill(slot, &type, id, place.m_file, place.m_line, message);
    return true;
}

/// As `recordPlain`, for a text to copy, `text[0..length]` with its terminator.
inline bool ErrorStorage::recordText(const ErrorOutput& place, const ErrorType& type, int id,
                                     const char* text, size_t length)
{
    ErrorStorage* const storage = own();
    if (storage == nullptr) return false;
    ErrorObject& slot = storage->nextSlot(place.m_raise);
    storage->fill(slot, &type, id, place.m_file, place.m_line, slot.m_buffer);
    memcpy(slot.m_buffer, text, length + 1);
    return true;
}

} // namespace std

#endif // ZELCOMMON_SRC_COMMON_ERROR_ERRORSTORAGERECORDING_H
