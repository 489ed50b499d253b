// SPDX-License-Identifier: Apache-2.0
//
// Keeps what the library prints to a standard stream, so that a target can compare it and the
// output stays small. The reports of the fuzzer and the sanitizers go past it, to the descriptor.

#ifndef ZELCOMMON_FUZZ_CAPTUREDSTREAM_H
#define ZELCOMMON_FUZZ_CAPTUREDSTREAM_H

#include <cstddef>
#include <cstdio>
#include <string>

namespace fuzz {

/// At most one for each stream at a time.
template <std::FILE*& STREAM>
class CapturedStream
{
public:
    CapturedStream() { STREAM = memory().file; }
    ~CapturedStream()
    {
        take();
        STREAM = memory().original;
    }
    CapturedStream(const CapturedStream&) = delete;
    CapturedStream& operator=(const CapturedStream&) = delete;

    /// Returns what was printed since the last time.
    std::string take()
    {
        std::fflush(memory().file);
        const std::string text(memory().text, memory().size);
        std::rewind(memory().file);
        return text;
    }

private:
    /// One for all inputs, as a file of its own is slow to make.
    struct Memory
    {
        char* text = nullptr;
        std::size_t size = 0;
        std::FILE* file = open_memstream(&text, &size);
        std::FILE* original = STREAM;
    };
    static Memory& memory()
    {
        static Memory& memory = *new Memory;
        return memory;
    }
};

using CapturedStderr = CapturedStream<stderr>;
using CapturedStdout = CapturedStream<stdout>;

} // namespace fuzz

#endif // ZELCOMMON_FUZZ_CAPTUREDSTREAM_H
