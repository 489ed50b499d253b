// SPDX-License-Identifier: Apache-2.0

#include <zelposix/FileBuf.h>

#include <algorithm>
#include <cerrno>
#include <climits>

#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include "Descriptor.h"
#include "PosixReport.h"

namespace zel {

namespace {

using std::ios_base;

constexpr int FAILED = -1; // of a primitive
constexpr int NO_FLAGS = -1;
constexpr mode_t PERMISSIONS = 0666; // less the process's mask

static_assert(sizeof(off_t) == sizeof(long long), "files of more than 2 GiB");

/// Returns the flags of the system for a mode, or `NO_FLAGS` for one that is none.
int flagsFor(ios_base::openmode mode)
{
    constexpr auto IN = ios_base::in;
    constexpr auto OUT = ios_base::out;
    constexpr auto TRUNC = ios_base::trunc;
    constexpr auto APP = ios_base::app;
    mode &= IN | OUT | TRUNC | APP;
    if (mode == IN) return O_RDONLY;
    if (mode == OUT || mode == (OUT | TRUNC)) return O_WRONLY | O_CREAT | O_TRUNC;
    if (mode == APP || mode == (OUT | APP)) return O_WRONLY | O_CREAT | O_APPEND;
    if (mode == (IN | OUT)) return O_RDWR;
    if (mode == (IN | OUT | TRUNC)) return O_RDWR | O_CREAT | O_TRUNC;
    if (mode == (IN | APP) || mode == (IN | OUT | APP)) return O_RDWR | O_CREAT | O_APPEND;
    return NO_FLAGS;
}

/// Fails as a call of the system does.
int fail(int error)
{
    errno = error;
    return -1;
}

/// Returns a descriptor, or -1 with `errno`.
int openFile(const char* name, int flags)
{
    if (flags == NO_FLAGS) return fail(EINVAL);
    if (name == nullptr) return fail(EFAULT);
    for (;;) {
        const int fd = ::open(name, flags | O_CLOEXEC, PERMISSIONS);
        if (fd != -1 || errno != EINTR) return fd;
    }
}

int whenceOf(ios_base::seekdir dir)
{
    if (dir == ios_base::beg) return SEEK_SET;
    return dir == ios_base::cur ? SEEK_CUR : SEEK_END;
}

} // namespace

FileBuf::FileBuf(unsigned int size, char* outsideBuffer) : filebuf_base({}, size, outsideBuffer) {}

FileBuf::~FileBuf()
{
    close();
}

FileBuf* FileBuf::open(const char* name, ios_base::openmode openMode)
{
    if (is_open()) return nullptr;
    m_fd = openFile(name, flagsFor(openMode));
    if (m_fd == NO_FILE) {
        posixcore::raiseFailure("open", errno);
        return nullptr;
    }
    m_kind = posixcore::kindOf(m_fd);
    mode = (openMode & ios_base::app) != 0 ? openMode | ios_base::out : openMode;
    createBuffer();
    std::streampos end;
    if ((openMode & ios_base::ate) == 0 || seekFile(0, ios_base::end, end) == 0) return this;
    forget();
    return nullptr;
}

FileBuf* FileBuf::close()
{
    if (!is_open()) return nullptr;
    if (writePending()) return release() == 0 ? this : nullptr;
    forget();
    return nullptr;
}

/// Returns whether nothing is pending any more.
bool FileBuf::writePending()
{
    return pptr() == pbase() || sync() == 0;
}

bool FileBuf::commit()
{
    if (!is_open() || !writePending()) return false;
    const int error = posixcore::sync(m_fd);
    return error == 0 || !posixcore::raiseFailure("fsync", error);
}

FileBuf::pos_type FileBuf::seekoff(off_type offset, ios_base::seekdir dir, ios_base::openmode which)
{
    if (!writePending()) return pos_type(off_type(-1));
    return filebuf_base::seekoff(offset, dir, which);
}

FileBuf::pos_type FileBuf::seekpos(pos_type position, ios_base::openmode which)
{
    if (!writePending()) return pos_type(off_type(-1));
    return filebuf_base::seekpos(position, which);
}

int FileBuf::readBlock(char* data, unsigned int size, int& count)
{
    const unsigned int most = std::min<unsigned int>(size, INT_MAX);
    const posixcore::Transfer transfer = posixcore::readSome(m_fd, data, most, true);
    count = static_cast<int>(transfer.count);
    if (transfer.error == 0) return 0;
    posixcore::raiseFailure("read", transfer.error);
    return FAILED;
}

int FileBuf::writeBlock(const char* data, unsigned int size, unsigned int& written)
{
    const posixcore::Transfer transfer =
        posixcore::writeSome(m_kind, m_fd, data + m_out, size - m_out, true);
    written = m_out + transfer.count;
    m_out = transfer.error == 0 ? 0 : written;
    if (transfer.error == 0) return 0;
    posixcore::raiseFailure("write", transfer.error);
    return FAILED;
}

int FileBuf::seekFile(long long offset, ios_base::seekdir dir, std::streampos& result)
{
    const off_t position = lseek(m_fd, offset, whenceOf(dir));
    if (position == -1) {
        posixcore::raiseFailure("lseek", errno);
        return FAILED;
    }
    result = position;
    return 0;
}

int FileBuf::flushFile()
{
    return 0;
}

int FileBuf::closeFile()
{
    return release();
}

/// Closes the file and forgets all about it. Returns 0 for success.
int FileBuf::release()
{
    const int error = forget();
    if (error == 0) return 0;
    posixcore::raiseFailure("close", error);
    return FAILED;
}

/// The same without an error raised and with `errno` kept, behind a failure that is the one to tell
/// of. Returns the code of the close, or 0.
int FileBuf::forget()
{
    const int before = errno;
    const int error = posixcore::closeOnce(m_fd);
    errno = before;
    m_fd = NO_FILE;
    m_out = 0;
    mode = {};
    reading = false;
    writing = false;
    setg(buffer, buffer, buffer);
    setp(nullptr, nullptr);
    return error;
}

} // namespace zel
