// SPDX-License-Identifier: Apache-2.0

#include <zelposix/FdInputStream.h>

#include "Descriptor.h"
#include "PosixReport.h"

namespace zel {

FdInputStream::FdInputStream(int fd, unsigned int size, bool isBlocking)
    : IBinInputStream(isBlocking, size), m_fd(fd)
{}

FdInputStream::~FdInputStream() = default;

bool FdInputStream::performRead(void* data, unsigned int size, unsigned int& got)
{
    const posixcore::Transfer transfer = posixcore::readSome(m_fd, data, size, blocking);
    got = transfer.count;
    if (transfer.error != 0) return posixcore::raiseFailure("read", transfer.error);
    return got == 0 ? posixcore::raiseEnd() : false;
}

} // namespace zel
