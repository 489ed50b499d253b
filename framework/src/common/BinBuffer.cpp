// SPDX-License-Identifier: Apache-2.0

#include <common/BinBuffer.h>

#include <algorithm>
#include <cstring>
#include <new>

#include <common/error/Error.h>
#include <common/error/ErrorStorage.h>

namespace std {

namespace {

// The place that an error names, fixed whatever becomes of the code.
constexpr const char* FILE_NAME = "framework/src/common/BinBuffer";
constexpr int LINE_BUFFER = 41;

constexpr int OUT_OF_MEMORY = 0; // the row of CommonError
constexpr int END_OF_FILE = char_traits<char>::eof();
constexpr int DONE = 1;          // of overflow, never the character
constexpr int END_OF_STREAM = 2; // the row of StreamError

/// Kept: where char is unsigned, a failed transfer reads as 255 and passes for a success.
bool isBelowOne(char status)
{
    return status < 1;
}

/// Returns `buffer`, or one of `size` bytes of its own. Without memory it raises an error, and
/// makes `size` 0.
char* bufferFor(char* buffer, unsigned int& size)
{
    if (buffer != nullptr || size == 0) return buffer;
    char* const own = new (std::nothrow) char[size];
    if (own != nullptr) return own;
    ErrorOutput(FILE_NAME, LINE_BUFFER, true)(CommonError, OUT_OF_MEMORY);
    size = 0;
    return nullptr;
}

} // namespace

BinBuffer::BinBuffer(IBinInputStream* from, unsigned int fromSize, IBinOutputStream* to,
                     unsigned int toSize, char* fromBuffer, char* toBuffer)
    : input(from), output(to), inputSize(fromSize), outputSize(toSize),
      inputBuffer(bufferFor(fromBuffer, inputSize)), outputBuffer(bufferFor(toBuffer, outputSize)),
      ownsInputBuffer(inputBuffer != fromBuffer), ownsOutputBuffer(outputBuffer != toBuffer)
{
    setg(inputBuffer, inputBuffer, inputBuffer);
    resetPutArea(outputSize);
}

BinBuffer::BinBuffer(IBinInputStream& from, unsigned int fromSize)
    : BinBuffer(&from, fromSize, nullptr, 0)
{}

BinBuffer::BinBuffer(IBinOutputStream& to, unsigned int toSize) : BinBuffer(nullptr, 0, &to, toSize)
{}

BinBuffer::~BinBuffer()
{
    if (ownsInputBuffer) delete[] inputBuffer;
    if (ownsOutputBuffer) delete[] outputBuffer;
}

/// Makes the put area the first `size` bytes of the buffer, but never its last byte, which is held
/// back for the character that overflows.
void BinBuffer::resetPutArea(unsigned int size)
{
    const unsigned int most = outputSize == 0 ? 0 : outputSize - 1;
    setp(outputBuffer, outputBuffer + std::min(size, most));
}

/// Writes the first `pending` bytes of the buffer. Returns 1, or -1.
int BinBuffer::drain(unsigned int pending)
{
    unsigned int written = 0;
    if (isBelowOne(output->write(outputBuffer, pending, written))) {
        ErrorStorage::ack();
        return END_OF_FILE;
    }
    if (outputSize <= 1) return DONE; // a derived class may have set a put area
    if (written >= pending) {
        resetPutArea(outputSize);
        return DONE;
    }
    // Kept: what is left is moved to the front and does not count as pending; it is overwritten.
    const unsigned int rest = pending - written;
    std::memmove(outputBuffer, outputBuffer + written, rest);
    resetPutArea(rest);
    return DONE;
}

int BinBuffer::overflow(int c)
{
    if (output == nullptr) return END_OF_FILE;
    if (pptr() != pbase()) {
        // The put pointer stays: a character that is refused is not kept.
        const bool isCharacter = c != END_OF_FILE;
        if (isCharacter) *pptr() = static_cast<char>(c);
        return drain(static_cast<unsigned int>(pptr() - pbase()) + (isCharacter ? 1 : 0));
    }
    return outputSize == 1 ? writeAlone(c) : END_OF_FILE;
}

/// Kept: the end of file is written as the byte 0xFF.
int BinBuffer::writeAlone(int c)
{
    const char byte = static_cast<char>(c & 0xFF);
    unsigned int written = 0;
    if (!isBelowOne(output->write(&byte, 1, written))) return DONE;
    ErrorStorage::ack();
    return END_OF_FILE;
}

int BinBuffer::underflow()
{
    if (input == nullptr) return END_OF_FILE;
    if (gptr() < egptr()) return traits_type::to_int_type(*gptr());

    unsigned int got = 0;
    const char status = input->read(inputBuffer, inputSize, got);
    // A device that fails or has no more must not be asked for ever, whatever its status.
    if (isBelowOne(status) || got == 0) return endInput();
    setg(inputBuffer, inputBuffer, inputBuffer + got);
    return traits_type::to_int_type(*gptr());
}

/// Acknowledges what ended the input. Returns the end of file.
int BinBuffer::endInput()
{
    if (ErrorStorage::isA(IBinStreamBase::StreamError) && ErrorStorage::id() == END_OF_STREAM) {
        ErrorStorage::ack();
        setg(inputBuffer, inputBuffer, inputBuffer);
    }
    ErrorStorage::ack();
    return END_OF_FILE;
}

int BinBuffer::sync()
{
    if (pptr() != pbase() && overflow(END_OF_FILE) == END_OF_FILE) return END_OF_FILE;
    if (output == nullptr || !output->flush(false)) return 0;
    ErrorStorage::ack();
    return END_OF_FILE;
}

} // namespace std
