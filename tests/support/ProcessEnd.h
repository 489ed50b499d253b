// SPDX-License-Identifier: Apache-2.0
//
// The last moments of a process, for children that end through `exit`.

#ifndef ZELCOMMON_TESTS_SUPPORT_PROCESSEND_H
#define ZELCOMMON_TESTS_SUPPORT_PROCESSEND_H

#include <cstdio>

#include <sys/types.h>

namespace support {

using LastAct = void (*)();

/// Has the C library call `act` as it closes the streams, which is the end of the process: the
/// static objects, those of the library included, are gone by then. Once in a process.
inline void afterAllStaticObjects(LastAct act)
{
    static LastAct s_act;
    s_act = act;
    const auto write = [](void*, const char*, size_t size) {
        s_act();
        return static_cast<ssize_t>(size);
    };
    FILE* const stream = fopencookie(nullptr, "w", {nullptr, write, nullptr, nullptr});
    fputs("unwritten", stream);
}

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_PROCESSEND_H
