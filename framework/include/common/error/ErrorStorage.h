// SPDX-License-Identifier: Apache-2.0
//
// std::ErrorStorage keeps the last eight errors of a thread as a chain of causes, newest first, and
// knows what to do with an error that nobody acknowledged: it hands it to a reaction before the
// next chain replaces it. Storages nest; the newest one of a thread is the active one.
//
//     std::StdoutDumpErrorStorage errors;            // on the stack of every thread
//     if (!open(path) && std::ErrorStorage::isA(OpenError)) std::ErrorStorage::ack();

#ifndef ZELCOMMON_COMMON_ERROR_ERRORSTORAGE_H
#define ZELCOMMON_COMMON_ERROR_ERRORSTORAGE_H

#include <common/error/ErrorObject.h>
#include <common/error/ErrorType.h>
#include <zel/attributes.h>

namespace std {

class ErrorOutput;

/// The errors of one thread. Recording one allocates nothing.
///
/// A storage is empty, pending (an error is stored and not acknowledged) or acknowledged. It is one
/// large plain object (2,328 bytes on a 32-bit target) that belongs to the thread that created it.
/// Storages nest: create and destroy them as objects on a stack do.
///
/// A thread without a storage shares a fallback storage with all others of its kind: recording into
/// it is serialised, reading and acknowledging is not. So it is before the library's first
/// initialiser and after its last exit handler, when no thread has a storage. Not
/// async-signal-safe.
class ZEL_EXPORT ErrorStorage
{
public:
    /// What a storage does with an error that nobody acknowledged. `data` is the storage's
    /// `m_data`, `text` the occasion ("unhandled error"), `error` the newest error of the chain,
    /// `count` the number of errors recorded since the last clear, which may exceed the chain. The
    /// chain is valid until the reaction returns or records an error in the storage itself. What it
    /// records there is dropped without a report when it returns.
    using Action = void (*)(void* data, const char* text, const ErrorObject* error,
                            unsigned int count);

    /// Number of errors that a chain can hold.
    static constexpr int CAPACITY = 8;

    /// An empty storage, which becomes the active one of the calling thread. A null `action` does
    /// nothing. If the thread has no memory to remember the storage, the one before stays active.
    explicit ErrorStorage(Action action);

    /// Makes the storage active again that was active before this one. Never calls the reaction.
    /// Requires that the thread is the one that created the storage.
    /// Asserts that this storage is the active one ("tls.get()==this"), then goes on in the same
    /// way, but for a storage that may be gone: that never becomes active.
    ~ErrorStorage();

    ErrorStorage(const ErrorStorage&) = delete;
    ErrorStorage& operator=(const ErrorStorage&) = delete;

    /// Records an error in the calling thread's storage, which is pending afterwards.
    ///
    /// `raise` true starts a new chain: a pending error goes to the reaction first and is dropped
    /// then. `raise` false adds to the chain: a pending error becomes the cause of the new one, an
    /// acknowledged one is dropped. The ninth error of a chain overwrites the oldest, with a
    /// warning. `file` and `reason`, if not null, must be of static lifetime; they are not copied.
    /// `noStorage` tells whether the thread had no active storage, so that the fallback storage was
    /// used; the first thread to which that happens has the fallback as its active storage then.
    ///
    /// Returns null if `reason` was given.
    /// Returns otherwise the buffer of `ErrorObject::REASON_SIZE` bytes for the reason, in which
    /// the caller must write a terminated text, as it still holds an older one.
    static char* add(bool raise, const ErrorType& type, int id, const char* file, int line,
                     const char* reason, bool& noStorage);

    /// Returns true if an error is stored and, if `unacknowledgedOnly`, is not acknowledged.
    static bool isError(bool unacknowledgedOnly);

    /// Marks the stored error as dealt with. It stays stored until the next one. Does nothing on a
    /// thread without a storage.
    static void ack();

    /// Drops the chain of this storage, without calling the reaction.
    void clear();

    /// Returns the newest error. Never null: without an error it is an empty object that the whole
    /// process shares.
    static ErrorObject* get();

    /// Returns the reason of the newest error, or "" without one. See `ErrorObject::reason`.
    static const char* reason();
    /// Returns the file of the newest error, or "" without one.
    static const char* file();
    /// Returns the line of the newest error, or 0 without one.
    static int line();
    /// Returns the id of the newest error, or 0 without one.
    static int id();

    /// Returns true if the newest error's type is `type` itself, acknowledged or not.
    static bool equals(ErrorType& type);
    /// Returns true if the newest error's type is `type` or derived from it, acknowledged or not.
    static bool isA(const ErrorType& type);

    /// Reaction: prints the chain to standard output and flushes it.
    /// Asserts that `error` is not null ("obj"), then goes on without printing anything.
    static void action_dump_to_stdout(void* data, const char* text, const ErrorObject* error,
                                      unsigned int count);
    /// Reaction: prints the chain like `action_dump_to_stdout`, then ends the process through
    /// `GlobalErrorHandler::doAbort` ("unhandled error occured").
    static void action_dump_and_abort(void* data, const char* text, const ErrorObject* error,
                                      unsigned int count);
    /// Reaction: prints the line "TODO: TRACE THIS", then the chain like `action_dump_to_stdout`.
    /// Asserts that `data`, the storage, is not null ("data"), then goes on in the same way.
    static void action_trace(void* data, const char* text, const ErrorObject* error,
                             unsigned int count);

protected:
    /// The newest error, a slot of `m_errors`, or null.
    ErrorObject* m_current;
    /// The storage that was active before this one, not owned, or null.
    ErrorStorage* m_previous;
    /// Errors recorded since the last clear. Far beyond any use it steps back by a multiple of
    /// `CAPACITY` instead of overflowing.
    int m_count;
    /// The ring: the next error goes into slot `m_count` modulo `CAPACITY`.
    ErrorObject m_errors[CAPACITY];
    /// The reaction.
    Action m_action;
    /// True if the stored error is acknowledged, and after construction.
    bool m_acknowledged;
    /// True while the reaction or the overwrite warning runs. What they record in this storage
    /// themselves is stored without a further report, so that reports cannot recurse.
    bool m_reporting;
    /// First argument of every call of `m_action`; null unless a derived kind sets it.
    void* m_data;

private:
    friend class ErrorOutput;
    class Fallback;
    struct Entry;

    ZEL_LOCAL static ErrorStorage* active();
    ZEL_LOCAL static ErrorStorage* own();
    ZEL_LOCAL static bool activate(ErrorStorage* storage);
    ZEL_LOCAL static ErrorObject* current();
    ZEL_LOCAL static char* record(const Entry& entry, bool& noStorage);
    ZEL_LOCAL static bool recordPlain(const ErrorOutput& place, const ErrorType& type, int id,
                                      const char* message);
    ZEL_LOCAL static bool recordText(const ErrorOutput& place, const ErrorType& type, int id,
                                     const char* text, size_t length);
    ZEL_LOCAL static void createOnHeap();
    ZEL_LOCAL static void announceOverwrite(const ErrorObject& oldest);

    ZEL_LOCAL bool isPending() const { return m_current != nullptr && !m_acknowledged; }
    ZEL_LOCAL char* store(const Entry& entry);
    ZEL_COLD ZEL_LOCAL void react();
    ZEL_LOCAL void handOver(const ErrorObject* chain, int count);
    ZEL_LOCAL void startChain(bool raise);
    ZEL_LOCAL void dropChain();
    ZEL_LOCAL ErrorObject& nextSlot(bool raise);
    ZEL_LOCAL ErrorObject& takeSlot();
    ZEL_COLD ZEL_LOCAL ErrorObject& overwrite(ErrorObject& slot);
    ZEL_LOCAL ErrorObject& advance();
    ZEL_LOCAL void warnOverwritten(const ErrorObject& oldest);
    ZEL_LOCAL char* fill(ErrorObject& slot, const Entry& entry);
    ZEL_LOCAL void fill(ErrorObject& slot, const ErrorType* type, int id, const char* file,
                        int line, const char* reason);
    ZEL_LOCAL bool leaveChain();
    ZEL_LOCAL static void checkLayout();
};

} // namespace std

#endif // ZELCOMMON_COMMON_ERROR_ERRORSTORAGE_H
