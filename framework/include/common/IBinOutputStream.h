// SPDX-License-Identifier: Apache-2.0
//
// std::IBinOutputStream: a stream of bytes to write to, with an optional buffer. A concrete stream
// implements one transfer; buffering, checks, reports and flushing are done here.
//
//     unsigned int written = 0;
//     if (output.write(data, size, written) != 1 || written != size) return false;
//     if (output.flush(true)) return false;

#ifndef ZELCOMMON_COMMON_IBINOUTPUTSTREAM_H
#define ZELCOMMON_COMMON_IBINOUTPUTSTREAM_H

#include <common/IBinStreamBase.h>

namespace std {

/// A stream to write to. Nothing is flushed on destruction: a concrete stream that wants to lose
/// nothing flushes in its own destructor.
class ZEL_EXPORT IBinOutputStream : public virtual IBinStreamBase
{
public:
    /// A stream with a buffer of `bufferSize` bytes; 0 is none. `blocking` is for flushes.
    /// Raises `CommonError` row 0 if there is no memory; the stream is invalid then, and each write
    /// fails.
    IBinOutputStream(bool blocking, unsigned int bufferSize);
    ~IBinOutputStream() override;

    /// Returns whether the stream has the buffer that it was asked for.
    bool isValid() const override;

    /// Writes up to `size` bytes of `data`, into the buffer if they fit; `written` tells how many.
    /// Returns 1 if bytes were written; what `written` lacks of `size` is for a further write.
    /// Returns 0 if none were: the full buffer did not go out as a whole, the size is 0 or the data
    /// are null.
    /// Returns -1 (255 where `char` is unsigned) on failure, with the error that the implementation
    /// has raised, and a warning if it has raised none. `written` bytes are in the buffer then, or
    /// out. What a failed transfer did take does not count: from the buffer it goes out again, past
    /// the buffer it is not in `written`. A stream without its buffer, and one whose hook fails,
    /// gives no warning.
    char write(const void* data, unsigned int size, unsigned int& written);

    /// Hands the buffer to the implementation, once if the stream is not blocking, and again and
    /// again if it is, also while the device takes nothing; then, if `deep` is true, flushes what
    /// is below the stream.
    /// Returns false for success; true for failure, with the error that the implementation has
    /// raised; a warning says so if it has raised none. What is not out stays in the buffer.
    bool flush(bool deep);

protected:
    /// A hook that is called before each use of the buffer. It may replace the buffer and change
    /// positions and size; a size of 0 makes the stream one without a buffer. Must not throw.
    /// Returns false for success; true fails the operation.
    virtual bool checkWriteBufferConsistency();

    /// Writes `data[0..size)`; `written`, which is 0 before, tells how many bytes. On failure it
    /// counts in a flush and without a buffer alone. Must not throw.
    /// Returns false for success; true for failure, with a row of `StreamError` raised.
    virtual bool performWrite(const void* data, unsigned int size, unsigned int& written) = 0;

    /// A hook for what is below the stream, an operating system's sync for example. Must not throw.
    /// Returns false for success; true for failure, with a row of `StreamError` raised.
    virtual bool performFlush();

    /// The unwritten bytes are `buffer[writePos..writeEnd)`; both are 0 if there are none.
    /// @{
    unsigned int writePos = 0;
    unsigned int writeEnd = 0;
    /// @}
    /// Bytes that `buffer` has, or was to have; 0 for a stream without one.
    unsigned int bufferSize;
    /// Owned; null if there is no memory or `bufferSize` is 0.
    unsigned char* buffer = nullptr;

private:
    ZEL_LOCAL unsigned int store(const void* data, unsigned int size);
    ZEL_LOCAL bool transfer(const void* data, unsigned int size, unsigned int& written);
    ZEL_LOCAL void drop(unsigned int count);
    ZEL_LOCAL bool flushBuffer();
    ZEL_LOCAL char writeBuffered(const unsigned char* data, unsigned int size,
                                 unsigned int& written);
    ZEL_LOCAL char writeRest(const unsigned char* data, unsigned int size, unsigned int& written);
    ZEL_LOCAL char writeDirectly(const void* data, unsigned int size, unsigned int& written);
};

} // namespace std

#endif // ZELCOMMON_COMMON_IBINOUTPUTSTREAM_H
