// SPDX-License-Identifier: Apache-2.0

#include <common/error/ErrorStorage.h>

#include <atomic>
#include <cstddef>
#include <new>
#include <string_view>

#include "../../zelbase/constantInit.h"
#include "../../zelbase/initPriority.h"
#include "ErrnoKeeper.h"
#include "ErrorStorageFallback.h"
#include "ErrorStorageRecording.h"
#include "ErrorText.h"
#include "Site.h"

namespace errorcore {

std::atomic<bool> s_slotUsable{false};
ThreadSlot s_slot __attribute__((init_priority(ZELCOMMON_INIT_PRIORITY)));

} // namespace errorcore

namespace std {

namespace {

constexpr const char* FILE_NAME = "framework/src/common/error/ErrorStorage";
constexpr errorcore::Site DESTRUCTOR_SITE{FILE_NAME, 165, "~ErrorStorage"};
constexpr errorcore::Site OVERWRITE_SITE{FILE_NAME, 258, "add"};

/// Sets a flag for as long as a report runs, however it ends.
class DuringReport
{
public:
    explicit DuringReport(bool& flag) : m_flag(flag) { m_flag = true; }
    ~DuringReport() { m_flag = false; }
    DuringReport(const DuringReport&) = delete;
    DuringReport& operator=(const DuringReport&) = delete;

private:
    bool& m_flag;
};

} // namespace

ErrorStorage::ErrorStorage(Action action)
    : m_current(nullptr), m_previous(active()), m_count(0), m_action(action), m_acknowledged(true),
      m_reporting(false), m_data(nullptr)
{
    activate(this);
}

ErrorStorage::~ErrorStorage()
{
    // Once the slot is gone, no storage is active and the order means nothing.
    if (!errorcore::s_slotUsable.load(memory_order_relaxed)) return;
    errorcore::assertAt(DESTRUCTOR_SITE, active() == this, "tls.get()==this");
    if (active() != this && !leaveChain()) return;
    // To bind nothing takes no memory: better no storage than one that is gone.
    if (!activate(m_previous)) activate(nullptr);
}

char* ErrorStorage::add(bool raise, const ErrorType& type, int id, const char* file, int line,
                        const char* reason, bool& noStorage)
{
    return record({raise, &type, id, file, line, reason, {}}, noStorage);
}

bool ErrorStorage::isError(bool unacknowledgedOnly)
{
    const ErrorStorage* const storage = active();
    if (storage == nullptr || storage->m_current == nullptr) return false;
    return !unacknowledgedOnly || !storage->m_acknowledged;
}

void ErrorStorage::ack()
{
    if (ErrorStorage* const storage = active()) storage->m_acknowledged = true;
}

void ErrorStorage::clear()
{
    m_current = nullptr;
    m_count = 0;
    m_acknowledged = false;
}

ErrorObject* ErrorStorage::get()
{
    ZELCOMMON_CONSTANT_INIT static ErrorObject s_empty;
    ErrorObject* const error = current();
    return error != nullptr ? error : &s_empty;
}

const char* ErrorStorage::reason()
{
    const ErrorObject* const error = current();
    return error != nullptr ? error->m_reason : "";
}

const char* ErrorStorage::file()
{
    const ErrorObject* const error = current();
    return error != nullptr ? error->m_file : "";
}

int ErrorStorage::line()
{
    const ErrorObject* const error = current();
    return error != nullptr ? error->m_line : 0;
}

int ErrorStorage::id()
{
    const ErrorObject* const error = current();
    return error != nullptr ? error->m_id : 0;
}

bool ErrorStorage::equals(ErrorType& type)
{
    const ErrorObject* const error = current();
    return error != nullptr && error->equals(type);
}

bool ErrorStorage::isA(const ErrorType& type)
{
    const ErrorObject* const error = current();
    if (error == nullptr) return false;
    return error->m_type != nullptr ? error->m_type->isA(type) : error->isA(type);
}

/// Makes `storage`, which may be null, the active one. Without memory for that the one before stays
/// active, which is what a thread that cannot have a storage of its own is left with. Returns
/// whether it is active.
bool ErrorStorage::activate(ErrorStorage* storage)
{
    return errorcore::s_slotUsable.load(memory_order_relaxed) &&
           errorcore::s_slot.tls.set(storage) == nullptr;
}

/// Returns the newest error of the active storage, or null.
ErrorObject* ErrorStorage::current()
{
    const ErrorStorage* const storage = active();
    return storage != nullptr ? storage->m_current : nullptr;
}

/// Records in the calling thread's storage, or in the fallback storage if there is none.
char* ErrorStorage::record(const Entry& entry, bool& noStorage)
{
    ErrorStorage* const storage = active();
    noStorage = storage == nullptr;
    if (noStorage || Fallback::is(storage)) return Fallback::record(entry);
    return storage->store(entry);
}

/// Gives the calling thread a storage that is never freed, or leaves it without one if there is no
/// memory for the storage or for its binding.
void ErrorStorage::createOnHeap()
{
    ErrorStorage* const storage = new (nothrow) ErrorStorage(action_dump_to_stdout);
    // What was never bound has nothing for the destructor to undo or to complain of.
    if (storage != active()) ::operator delete(storage);
}

char* ErrorStorage::store(const Entry& entry)
{
    return fill(nextSlot(entry.raise), entry);
}

/// Makes `slot` the newest error. Returns its buffer, or null if the entry refers to its reason.
char* ErrorStorage::fill(ErrorObject& slot, const Entry& entry)
{
    const bool isOwn = entry.reason == nullptr;
    fill(slot, entry.type, entry.id, entry.file, entry.line, isOwn ? slot.m_buffer : entry.reason);
    if (!isOwn) return nullptr;
    if (entry.text.data() != nullptr) {
        const size_t length = entry.text.copy(slot.m_buffer, sizeof slot.m_buffer);
        if (length < sizeof slot.m_buffer) slot.m_buffer[length] = '\0';
    }
    return slot.m_buffer;
}

void ErrorStorage::react()
{
    if (m_action == nullptr || m_reporting) return;
    const DuringReport reporting(m_reporting);
    handOver(m_current, m_count);
}

void ErrorStorage::handOver(const ErrorObject* chain, int count)
{
    const errorcore::ErrnoKeeper errnoKeeper;
    m_action(m_data, "unhandled error", chain, static_cast<unsigned int>(count));
}

/// Warns, and returns the slot for the next error then.
ErrorObject& ErrorStorage::overwrite(ErrorObject& slot)
{
    const ErrorObject* const newest = m_current;
    const int count = m_count;
    warnOverwritten(slot);
    // A handler that recorded errors has moved the ring on: the slot may be taken, even be the
    // newest error, and must not become its own cause.
    return m_current == newest && m_count == count ? slot : advance();
}

void ErrorStorage::warnOverwritten(const ErrorObject& oldest)
{
    const DuringReport reporting(m_reporting);
    // The chain is half rewritten; acknowledged, it stays out of the warning's own report.
    const DuringReport acknowledged(m_acknowledged);
    announceOverwrite(oldest);
}

void ErrorStorage::announceOverwrite(const ErrorObject& oldest)
{
    const string_view reason = errorcore::printable(errorcore::reasonOf(oldest));
    GlobalErrorHandler::doWarning(OVERWRITE_SITE.file, OVERWRITE_SITE.line, OVERWRITE_SITE.function,
                                  "An error was overwritten: %s:%d, id = %d, text = %.*s",
                                  errorcore::printable(oldest.m_file), oldest.m_line, oldest.m_id,
                                  static_cast<int>(reason.size()), reason.data());
}

/// Takes this storage, which is not the active one, out of the calling thread's chain of storages,
/// so that the one after it does not come back to it. Returns true if the storage before this one
/// is certain to exist: a storage that an earlier misordered destruction has left aside knows only
/// of storages that may be gone.
bool ErrorStorage::leaveChain()
{
    bool previousExists = m_previous == nullptr;
    for (ErrorStorage* storage = active(); storage != nullptr; storage = storage->m_previous) {
        if (storage->m_previous == this) storage->m_previous = m_previous;
        if (storage == m_previous) previousExists = true;
    }
    return previousExists;
}

void ErrorStorage::checkLayout()
{
    static_assert(offsetof(ErrorStorage, m_current) == 0);
    static_assert(offsetof(ErrorStorage, m_previous) == sizeof(void*));
    static_assert(offsetof(ErrorStorage, m_count) == 2 * sizeof(void*));
#ifndef __LP64__
    static_assert(offsetof(ErrorStorage, m_errors) == 12);
    static_assert(offsetof(ErrorStorage, m_action) == 2316);
    static_assert(offsetof(ErrorStorage, m_acknowledged) == 2320);
    static_assert(offsetof(ErrorStorage, m_data) == 2324);
    static_assert(sizeof(ErrorStorage) == 2328);
#endif
}

} // namespace std
