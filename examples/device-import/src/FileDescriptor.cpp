// SPDX-License-Identifier: Apache-2.0

#include "FileDescriptor.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>
#include <zel/report.h>
#include <zelposix/PosixError.h>

namespace deviceimport {

bool raiseSystemError(const char* call)
{
    const int error = errno;
    ZEL_RAISE(zel::PosixError, zel::POSIX_FAILED, call,
              std::generic_category().message(error).c_str(), error);
    return false;
}

FileDescriptor::~FileDescriptor()
{
    if (m_fd != -1) ::close(m_fd);
}

bool FileDescriptor::open(const std::string& name, int flags)
{
    do
        m_fd = ::open(name.c_str(), flags | O_CLOEXEC);
    while (m_fd == -1 && errno == EINTR);
    return m_fd != -1 || raiseSystemError("open");
}

bool FileDescriptor::close()
{
    const int fd = m_fd;
    m_fd = -1;
    // An interrupted one has closed, too.
    return ::close(fd) == 0 || errno == EINTR || raiseSystemError("close");
}

} // namespace deviceimport
