// SPDX-License-Identifier: Apache-2.0
//
// What one recording writes into a slot of an error storage.

#ifndef ZELCOMMON_SRC_COMMON_ERROR_ERRORSTORAGEENTRY_H
#define ZELCOMMON_SRC_COMMON_ERROR_ERRORSTORAGEENTRY_H

#include <string_view>

#include <common/error/ErrorStorage.h>

struct ZEL_LOCAL std::ErrorStorage::Entry
{
    bool raise;
    const ErrorType* type;
    int id;
    const char* file;
    int line;
    /// A reason of static lifetime to refer to, or null.
    const char* reason;
    /// Without a `reason`: the text to copy into the slot's buffer, at most
    /// `ErrorObject::REASON_SIZE` characters, terminated there only if that leaves room. A view of
    /// null leaves the buffer to the caller.
    string_view text;
};

#endif // ZELCOMMON_SRC_COMMON_ERROR_ERRORSTORAGEENTRY_H
