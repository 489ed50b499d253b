// SPDX-License-Identifier: Apache-2.0
//
// Where the debugger stops the programs that it is tested with.

#ifndef ZELCOMMON_TESTS_GDB_STOP_H
#define ZELCOMMON_TESTS_GDB_STOP_H

extern "C" __attribute__((noinline)) void stop()
{
    __asm__ volatile("");
}

#endif // ZELCOMMON_TESTS_GDB_STOP_H
