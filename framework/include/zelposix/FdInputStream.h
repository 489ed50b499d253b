// SPDX-License-Identifier: Apache-2.0
//
// zel::FdInputStream: a binary input stream over a descriptor of a file, a pipe, a socket or a
// device.
//
//     zel::FdInputStream input(fd);
//     while (input.read(block, sizeof block, got) == 1) use(block, got);
//     if (!zel::isEndOfStream()) return false;

#ifndef ZELPOSIX_ZELPOSIX_FDINPUTSTREAM_H
#define ZELPOSIX_ZELPOSIX_FDINPUTSTREAM_H

#include <common/IBinInputStream.h>
#include <zel/attributes.h>

namespace zel {

/// Reads from a descriptor; a call that a signal interrupts is made again. What a read fails with
/// has a `PosixError` as its cause, but for the end.
/// Raises `StreamError` row 2 at the end, again at each further read.
/// Raises row 0 if the peer has broken off, row 1 for other failures. Row 1 with `wouldBlock()`
/// true is that of a stream which is not blocking, over a descriptor that does not block and has
/// nothing yet; a blocking stream waits.
class ZEL_EXPORT FdInputStream : public std::IBinInputStream
{
public:
    /// Bytes of the buffer where nothing else is said.
    static constexpr unsigned int DEFAULT_SIZE = 4096;

    /// Over `fd`, which is not owned and must stay open, with a buffer of `bufferSize` bytes.
    explicit FdInputStream(int fd, unsigned int bufferSize = DEFAULT_SIZE, bool blocking = true);
    ~FdInputStream() override;

protected:
    bool performRead(void* data, unsigned int size, unsigned int& got) override;

private:
    const int m_fd;
};

} // namespace zel

#endif // ZELPOSIX_ZELPOSIX_FDINPUTSTREAM_H
