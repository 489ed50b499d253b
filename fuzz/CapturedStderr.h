// SPDX-License-Identifier: Apache-2.0
//
// Keeps what the library prints to standard error, so that a target can compare it and the output
// stays small. The reports of the fuzzer and the sanitizers go past it, to the descriptor.

#ifndef ZELCOMMON_FUZZ_CAPTUREDSTDERR_H
#define ZELCOMMON_FUZZ_CAPTUREDSTDERR_H

#include <cstddef>
#include <cstdio>
#include <string>

namespace fuzz {

class CapturedStderr
{
public:
    CapturedStderr() { stderr = memory().file; }
    ~CapturedStderr()
    {
        take();
        stderr = memory().original;
    }
    CapturedStderr(const CapturedStderr&) = delete;
    CapturedStderr& operator=(const CapturedStderr&) = delete;

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
        std::FILE* original = stderr;
    };
    static Memory& memory()
    {
        static Memory& memory = *new Memory;
        return memory;
    }
};

} // namespace fuzz

#endif // ZELCOMMON_FUZZ_CAPTUREDSTDERR_H
