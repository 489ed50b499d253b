// SPDX-License-Identifier: Apache-2.0
//
// A thread's chain of errors as plain records, to be handed to another thread, stored or sent on,
// and recorded again from them.
//
//     results.put(zel::takeChain());             // in a worker
//     zel::raiseChain(results.get());            // where its errors are dealt with

#ifndef ZELCOMMON_ZELCOMMON_CHAIN_H
#define ZELCOMMON_ZELCOMMON_CHAIN_H

#include <cstddef>
#include <pthread.h>
#include <string>
#include <vector>

#include <common/error/Error.h>
#include <common/error/ErrorStorage.h>
#include <zel/errorText.h>

namespace zel {

/// One error of a chain. The reason is its own; type and file are those of the raising code, so a
/// record must not outlive a module that is unloaded.
struct ErrorRecord
{
    /// The category, of static lifetime.
    const std::ErrorType* type = nullptr;
    /// The id within `type`.
    int id = 0;
    /// Source file of the raising code: a compile-time name of static lifetime, or null.
    const char* file = nullptr;
    /// Source line of the raising code.
    int line = 0;
    /// The reason, whole.
    std::string reason;
    /// The thread that recorded the error.
    pthread_t thread = {};
    /// The process that recorded the error.
    int process = 0;
};

/// Returns a record of `error`, without its cause; a null reason comes out as "". Throws
/// `bad_alloc` without memory for the reason.
inline ErrorRecord errorRecord(const std::ErrorObject& error)
{
    return {
        error.m_type,   error.m_id,     error.m_file, error.m_line, std::string(errorReason(error)),
        error.m_thread, error.m_process};
}

/// Returns the calling thread's chain, newest first, acknowledged or not; no records without an
/// error. Throws `bad_alloc` without memory for it.
inline std::vector<ErrorRecord> copyChain()
{
    constexpr std::size_t most = std::ErrorStorage::CAPACITY;
    std::vector<ErrorRecord> chain;
    if (!std::ErrorStorage::isError(false)) return chain;
    chain.reserve(most);
    for (const std::ErrorObject* error = std::ErrorStorage::get();
         error != nullptr && chain.size() < most; error = error->m_cause)
        chain.push_back(errorRecord(*error));
    return chain;
}

/// Returns the calling thread's pending chain, newest first, and acknowledges it; no records if
/// nothing is pending. Throws `bad_alloc` without memory for it; the chain is pending still.
inline std::vector<ErrorRecord> takeChain()
{
    if (!std::ErrorStorage::isError(true)) return {};
    std::vector<ErrorRecord> chain = copyChain();
    std::ErrorStorage::ack();
    return chain;
}

/// Records `chain`, newest first, in the calling thread's storage, as a new chain of the same
/// order: a pending one goes to the storage's reaction first. The errors are the calling thread's
/// then; reasons are cut after 255 characters and at a null character. Of more than eight records
/// the newest eight count. Does nothing without records. Allocates nothing.
///
/// On a thread without a storage the errors are recorded in the fallback storage, silently.
/// Asserts that each record has a type ("m_type"), then goes on without those that have none.
inline void raiseChain(const std::vector<ErrorRecord>& chain)
{
    constexpr std::size_t most = std::ErrorStorage::CAPACITY;
    bool isFirst = true;
    for (std::size_t left = chain.size() < most ? chain.size() : most; left > 0; --left) {
        const ErrorRecord& record = chain[left - 1];
        std::ErrorObject error;
        error.m_type = record.type;
        error.m_id = record.id;
        error.m_file = record.file;
        error.m_line = record.line;
        record.reason.copy(error.m_buffer, sizeof error.m_buffer - 1); // leaves the terminator
        std::ErrorOutput(record.file, record.line, isFirst)(error);
        isFirst = isFirst && record.type == nullptr;
    }
}

} // namespace zel

#endif // ZELCOMMON_ZELCOMMON_CHAIN_H
