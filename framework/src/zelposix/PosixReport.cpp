// SPDX-License-Identifier: Apache-2.0

#include "PosixReport.h"

#include <cerrno>
#include <cstring>

#include <common/IBinStreamBase.h>
#include <zel/report.h>
#include <zelposix/PosixError.h>

namespace posixcore {

namespace {

int rowFor(int error)
{
    switch (error) {
    case EPIPE:
    case ECONNRESET: return STREAM_BROKEN;
    case ESPIPE: return STREAM_UNSUPPORTED;
    default: return STREAM_FAILED;
    }
}

} // namespace

bool raiseFailure(const char* call, int error)
{
    if (error == EAGAIN || error == EWOULDBLOCK)
        ZEL_RAISE(zel::PosixError, zel::POSIX_WOULD_BLOCK, call);
    else
        ZEL_RAISE(zel::PosixError, zel::POSIX_FAILED, call, std::strerror(error), error);
    ZEL_RAISE_ON(std::IBinStreamBase::StreamError, rowFor(error));
    errno = error;
    return true;
}

bool raiseEnd()
{
    ZEL_RAISE(std::IBinStreamBase::StreamError, STREAM_ENDED);
    return true;
}

} // namespace posixcore
