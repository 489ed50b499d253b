// SPDX-License-Identifier: Apache-2.0

#include <zelposix/FdOutputStream.h>

#include <cerrno>

#include "Descriptor.h"
#include "PosixReport.h"

namespace zel {

FdOutputStream::FdOutputStream(int fd, unsigned int size, bool isBlocking)
    : IBinOutputStream(isBlocking, size), m_fd(fd), m_kind(posixcore::kindOf(fd))
{}

FdOutputStream::~FdOutputStream()
{
    // Only a stream that is not blocking keeps bytes without a failure.
    if (!flush(false) && writePos != writeEnd) posixcore::raiseFailure("write", EAGAIN);
}

bool FdOutputStream::performWrite(const void* data, unsigned int size, unsigned int& written)
{
    const posixcore::Transfer transfer = posixcore::writeSome(m_kind, m_fd, data, size, blocking);
    written = transfer.count;
    // Here only a stream that is not blocking has EAGAIN: nothing is taken, which is a success.
    if (transfer.error == 0 || transfer.error == EAGAIN) return false;
    // What came out of the buffer must count, or it would go out again: the next call fails.
    if (written != 0 && bufferSize != 0) return false;
    return posixcore::raiseFailure("write", transfer.error);
}

bool FdOutputStream::performFlush()
{
    const int error = posixcore::sync(m_fd);
    return error == 0 ? false : posixcore::raiseFailure("fsync", error);
}

} // namespace zel
