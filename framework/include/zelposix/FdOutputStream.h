// SPDX-License-Identifier: Apache-2.0
//
// zel::FdOutputStream: a binary output stream over a descriptor of a file, a pipe, a socket or a
// device.
//
//     zel::FdOutputStream output(fd);
//     if (output.write(data, size, written) != 1 || output.flush(true)) return false;

#ifndef ZELPOSIX_ZELPOSIX_FDOUTPUTSTREAM_H
#define ZELPOSIX_ZELPOSIX_FDOUTPUTSTREAM_H

#include <common/IBinOutputStream.h>
#include <zel/attributes.h>

namespace posixcore {
/// How a closed peer is kept from sending SIGPIPE; private.
enum DescriptorKind : int;
} // namespace posixcore

namespace zel {

/// Writes to a descriptor; a call that a signal interrupts is made again. A blocking stream goes on
/// until all is out or a call fails; one that is not makes one call, and what the descriptor does
/// not take is no failure. A closed peer gives an error and no SIGPIPE. Nothing is written twice
/// after a transfer that stops on its way: with a buffer, what went out is a success, and the
/// failure is that of the next call; without one, the failed write tells how much it was.
/// Raises `StreamError` row 0 if the peer has broken off, row 1 for other failures, with a
/// `PosixError` as the cause.
///
/// A deep flush has the system bring a file to its medium (fsync); pipes, sockets and devices that
/// know nothing of this have no more to do. After one that fails nobody knows what is on the
/// medium: write the whole file anew.
class ZEL_EXPORT FdOutputStream : public std::IBinOutputStream
{
public:
    /// Bytes of the buffer where nothing else is said.
    static constexpr unsigned int DEFAULT_SIZE = 4096;

    /// Over `fd`, which is not owned and must stay open, and of the same kind, until this stream is
    /// destroyed, with a buffer of `bufferSize` bytes.
    explicit FdOutputStream(int fd, unsigned int bufferSize = DEFAULT_SIZE, bool blocking = true);
    /// Flushes, not deeply. What cannot be written is lost: an error says so, and `wouldBlock()` is
    /// true if it was the descriptor that took nothing.
    ~FdOutputStream() override;

    /// Drops what is in the buffer, so that nothing is left to write: for output that is given up.
    void discard() { writePos = writeEnd = 0; }

protected:
    bool performWrite(const void* data, unsigned int size, unsigned int& written) override;
    bool performFlush() override;

private:
    const int m_fd;
    const posixcore::DescriptorKind m_kind;
};

} // namespace zel

#endif // ZELPOSIX_ZELPOSIX_FDOUTPUTSTREAM_H
