// SPDX-License-Identifier: Apache-2.0

#include <zelposix/PosixError.h>

#include <iterator>

#include <common/IBinStreamBase.h>
#include <common/error/ErrorStorage.h>

#include "../zelbase/constantInit.h"
#include "PosixReport.h"

namespace zel {

namespace {

constexpr std::ErrorID POSIX_TABLE[] = {
    {POSIX_FAILED, "%s failed: %s (errno %d)", 3},
    {POSIX_WOULD_BLOCK, "%s would block", 1},
};

/// Returns the newest error if it is one of a stream, else null.
const std::ErrorObject* streamError()
{
    const bool isOne = std::ErrorStorage::isA(std::IBinStreamBase::StreamError);
    return isOne ? std::ErrorStorage::get() : nullptr;
}

} // namespace

ZELCOMMON_CONSTANT_INIT std::ErrorType PosixError(POSIX_TABLE, std::size(POSIX_TABLE));

bool isEndOfStream()
{
    const std::ErrorObject* const error = streamError();
    return error != nullptr && error->id() == posixcore::STREAM_ENDED;
}

bool wouldBlock()
{
    const std::ErrorObject* const error = streamError();
    const std::ErrorObject* const cause = error == nullptr ? nullptr : error->m_cause;
    return cause != nullptr && cause->equals(PosixError) && cause->id() == POSIX_WOULD_BLOCK;
}

} // namespace zel
