// SPDX-License-Identifier: Apache-2.0
//
// std::BinBuffer: a standard stream buffer over binary streams, so that the standard's formatted
// streams read from and write to them. Failures of the binary streams are acknowledged here and
// become ends of file, as the standard's streams know nothing of the errors of a thread. Where
// `char` is unsigned, a failed write is not noticed here: the error stays pending.
//
//     std::BinBuffer buffer(output);
//     std::ostream(&buffer) << "level " << level << '\n' << std::flush;

#ifndef ZELCOMMON_COMMON_BINBUFFER_H
#define ZELCOMMON_COMMON_BINBUFFER_H

#include <streambuf>

#include <common/IBinInputStream.h>
#include <common/IBinOutputStream.h>
#include <zel/attributes.h>

namespace std {

/// A stream buffer. The binary streams are not owned and must outlive it; so must buffers from
/// outside. Destruction writes nothing: flush before. Not thread-safe.
class ZEL_EXPORT BinBuffer : public basic_streambuf<char>
{
public:
    /// Bytes of a buffer where nothing else is said.
    static constexpr unsigned int DEFAULT_SIZE = 2048;

    /// Over `from`, `to` or both, of which either may be null, with buffers of these sizes in
    /// bytes. A stream that is both takes this form. A null buffer of another size than 0 is
    /// allocated. An output size of 1 writes each character by itself; with 0 nothing is written.
    /// Raises `CommonError` row 0 without memory for a buffer; its size is 0 then.
    BinBuffer(IBinInputStream* from, unsigned int fromSize, IBinOutputStream* to,
              unsigned int toSize, char* fromBuffer = nullptr, char* toBuffer = nullptr);
    /// One way, with a buffer of that many bytes.
    /// @{
    explicit BinBuffer(IBinInputStream& from, unsigned int fromSize = DEFAULT_SIZE);
    explicit BinBuffer(IBinOutputStream& to, unsigned int toSize = DEFAULT_SIZE);
    /// @}
    ~BinBuffer() override;
    BinBuffer(const BinBuffer&) = delete;
    BinBuffer& operator=(const BinBuffer&) = delete;

protected:
    /// Writes what is pending and flushes the binary stream, not deeply. Returns 0, or -1. What a
    /// stream without a buffer does not take at once is lost.
    int sync() override;
    /// Returns the next byte, or the end of file.
    int underflow() override;
    /// Writes what is pending and `c`, which is refused if that fails; for an end of file what is
    /// pending alone. What a partial transfer leaves does not count as pending any more.
    /// Returns 1, never the character; -1 on failure, and if nothing is pending, unless the output
    /// size is 1.
    int overflow(int c) override;

    /// The binary streams, not owned; null if there is none.
    /// @{
    IBinInputStream* input;
    IBinOutputStream* output;
    /// @}
    /// Bytes of the buffers; 0 if there is none.
    /// @{
    unsigned int inputSize;
    unsigned int outputSize;
    /// @}
    /// The get area's memory, and the put area's; null if there is none.
    /// @{
    char* inputBuffer;
    char* outputBuffer;
    /// @}
    /// Whether destruction releases the buffer, by array delete.
    /// @{
    bool ownsInputBuffer;
    bool ownsOutputBuffer;
    /// @}

private:
    ZEL_LOCAL int drain(unsigned int pending);
    ZEL_LOCAL int writeAlone(int c);
    ZEL_LOCAL int endInput();
    ZEL_LOCAL void resetPutArea(unsigned int size);
};

} // namespace std

#endif // ZELCOMMON_COMMON_BINBUFFER_H
