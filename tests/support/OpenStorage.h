// SPDX-License-Identifier: Apache-2.0
//
// An error storage whose state tests can see, and the shortest way to record errors into one.

#ifndef ZELCOMMON_TESTS_SUPPORT_OPENSTORAGE_H
#define ZELCOMMON_TESTS_SUPPORT_OPENSTORAGE_H

#include <string>

#include <common/error/ErrorStorage.h>

namespace support {

/// A storage with all of its members public.
class OpenStorage : public std::ErrorStorage
{
public:
    explicit OpenStorage(Action action = nullptr) : ErrorStorage(action) {}

    using ErrorStorage::m_acknowledged;
    using ErrorStorage::m_action;
    using ErrorStorage::m_count;
    using ErrorStorage::m_current;
    using ErrorStorage::m_data;
    using ErrorStorage::m_errors;
    using ErrorStorage::m_previous;
};

/// Records error `id` of `std::CommonError` at line `id` of "pump.c" with the reason "dry". Returns
/// true if the calling thread has no storage.
inline bool record(bool raise, int id)
{
    bool noStorage = false;
    std::ErrorStorage::add(raise, std::CommonError, id, "pump.c", id, "dry", noStorage);
    return noStorage;
}

/// Records error `id` as the first one of a new chain.
inline bool startChain(int id)
{
    return record(true, id);
}

/// Records error `id` on top of the pending ones.
inline bool addToChain(int id)
{
    return record(false, id);
}

/// Records the errors `first` to `last` on top of the pending ones.
inline void addToChain(int first, int last)
{
    for (int id = first; id <= last; ++id)
        addToChain(id);
}

/// The ids of the calling thread's chain, newest first, as "3 2 1". Stops at more than any chain
/// may hold, so that a cycle shows as a long text.
inline std::string chainIds()
{
    std::string ids;
    int count = 0;
    for (const std::ErrorObject* error = std::ErrorStorage::get(); error != nullptr && count < 20;
         error = error->m_cause, ++count)
        ids += (count > 0 ? " " : "") + std::to_string(error->id());
    return ids;
}

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_OPENSTORAGE_H
