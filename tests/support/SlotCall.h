// SPDX-License-Identifier: Apache-2.0
//
// Calls by the number of a slot, as code that was built elsewhere does it.

#ifndef ZELCOMMON_TESTS_SUPPORT_SLOTCALL_H
#define ZELCOMMON_TESTS_SUPPORT_SLOTCALL_H

#include <cstring>

namespace support {

/// A function behind the object's first word, to which the object is the first argument.
template <typename Signature>
struct SlotCall;

template <typename Result, typename... Arguments>
struct SlotCall<Result(Arguments...)>
{
    static Result of(const void* object, int number, Arguments... arguments)
    {
        const void* const* table;
        std::memcpy(&table, object, sizeof table);
        Result (*function)(const void*, Arguments...);
        std::memcpy(&function, table + number, sizeof function);
        return function(object, arguments...);
    }
};

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_SLOTCALL_H
