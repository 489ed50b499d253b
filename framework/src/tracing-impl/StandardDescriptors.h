// SPDX-License-Identifier: Apache-2.0
//
// Keeps the library's descriptors away from the places of standard input, output and error, which a
// program may have closed: what others write there must not come here.

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_STANDARDDESCRIPTORS_H
#define TRACINGIMPL_SRC_TRACINGIMPL_STANDARDDESCRIPTORS_H

#include <fcntl.h>
#include <unistd.h>

namespace tracing {
namespace impl {

/// Returns a descriptor in place of `fd`, which has a higher number than those; -1 for want of one.
/// Does nothing for one that has.
inline int awayFromStandard(int fd)
{
    if (fd < 0 || fd > STDERR_FILENO) return fd;
    const int higher = fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    ::close(fd);
    return higher;
}

/// For what does not let its descriptor be moved. Fills the places 0 to 2 that are free; what is
/// opened meanwhile gets a higher one.
class StandardDescriptors
{
public:
    StandardDescriptors()
    {
        for (int fd = 0; (fd = ::open("/dev/null", O_RDWR | O_CLOEXEC)) != -1;) {
            if (fd > STDERR_FILENO) {
                ::close(fd);
                return;
            }
            m_isFilled[fd] = true;
        }
    }
    ~StandardDescriptors()
    {
        for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd)
            if (m_isFilled[fd]) ::close(fd);
    }
    StandardDescriptors(const StandardDescriptors&) = delete;
    StandardDescriptors& operator=(const StandardDescriptors&) = delete;

private:
    bool m_isFilled[STDERR_FILENO + 1] = {};
};

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_STANDARDDESCRIPTORS_H
