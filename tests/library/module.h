// SPDX-License-Identifier: Apache-2.0
//
// What the test module tells of the library as it sees it.

#ifndef ZELCOMMON_TESTS_LIBRARY_MODULE_H
#define ZELCOMMON_TESTS_LIBRARY_MODULE_H

/// Addresses of the library's objects as the module binds them.
struct SeenByModule
{
    const void* commonError;
    const void* disableAbort;
    const void* warningHandlers;
    const void* tlsError;
    const void* reasonListObject;
};

extern "C" {
SeenByModule moduleSees();
/// Raises `CommonError` 0 from the module's code.
void moduleRaises();
}

#endif // ZELCOMMON_TESTS_LIBRARY_MODULE_H
