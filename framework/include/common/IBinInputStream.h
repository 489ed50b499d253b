// SPDX-License-Identifier: Apache-2.0
//
// std::IBinInputStream: a stream of bytes to read from, with an optional buffer. A concrete stream
// implements one transfer; buffering, checks and reports are done here.
//
//     char byte;
//     unsigned int got = 0;
//     while (input.read(&byte, 1, got) == 1) use(byte);

#ifndef ZELCOMMON_COMMON_IBININPUTSTREAM_H
#define ZELCOMMON_COMMON_IBININPUTSTREAM_H

#include <common/IBinStreamBase.h>

namespace std {

/// A stream to read from.
class ZEL_EXPORT IBinInputStream : public virtual IBinStreamBase
{
public:
    /// A stream with a buffer of `bufferSize` bytes; 0 is none. `blocking` is for the
    /// implementation.
    /// Raises `CommonError` row 0 if there is no memory; the stream is invalid then, and each read
    /// fails.
    IBinInputStream(bool blocking, unsigned int bufferSize);
    ~IBinInputStream() override;

    /// Returns whether the stream has the buffer that it was asked for.
    bool isValid() const override;

    /// Reads up to `size` bytes into `data`; `got` tells how many. What the buffer holds is
    /// returned alone, also if it is less: a further read goes on.
    /// Returns 1 if bytes were read.
    /// Returns 0 if none were: at the end, and for a size of 0 or null data.
    /// Returns -1 (255 where `char` is unsigned) on failure, and `got` is 0 then, with the error
    /// that the implementation has raised, and a warning if it has raised none. What a failed
    /// transfer into the buffer did deliver is read next; past the buffer it is lost. A stream
    /// without its buffer, and one whose hook fails, gives no warning.
    char read(void* data, unsigned int size, unsigned int& got);

protected:
    /// A hook that is called before each use of the buffer. It may replace the buffer and change
    /// positions and size; a size of 0 makes the stream one without a buffer. Must not throw.
    /// Returns false for success; true fails the read.
    virtual bool checkReadBufferConsistency();

    /// Reads into `data[0..size)`; `got`, which is 0 before, tells how many bytes, also on failure;
    /// none is the end of the stream. Must not throw.
    /// Returns false for success; true for failure, with a row of `StreamError` raised.
    virtual bool performRead(void* data, unsigned int size, unsigned int& got) = 0;

    /// The unread bytes are `buffer[readPos..readEnd)`; both are 0 if there are none.
    /// @{
    unsigned int readPos = 0;
    unsigned int readEnd = 0;
    /// @}
    /// Bytes that `buffer` has, or was to have; 0 for a stream without one.
    unsigned int bufferSize;
    /// Owned; null if there is no memory or `bufferSize` is 0.
    unsigned char* buffer = nullptr;

private:
    ZEL_LOCAL unsigned int take(void* data, unsigned int size);
    ZEL_LOCAL char refill(void* data, unsigned int size, unsigned int& got);
    ZEL_LOCAL char readDirectly(void* data, unsigned int size, unsigned int& got);
};

} // namespace std

#endif // ZELCOMMON_COMMON_IBININPUTSTREAM_H
