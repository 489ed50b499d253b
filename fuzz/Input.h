// SPDX-License-Identifier: Apache-2.0
//
// Reads the bytes that a fuzz target is given as numbers and pieces; an input that is used up goes
// on as zeros.

#ifndef ZELCOMMON_FUZZ_INPUT_H
#define ZELCOMMON_FUZZ_INPUT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <unistd.h>

/// What every target defines, and what the fuzzer and `replay.cpp` call. Returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

/// Ends the process unless `isTrue`: the fuzzer then keeps the input.
inline void require(bool isTrue)
{
    if (!isTrue) std::abort();
}

/// Ends the process unless the texts are the same, which it prints otherwise.
inline void requireSame(const std::string& expected, const std::string& found)
{
    if (expected == found) return;
    dprintf(STDERR_FILENO, "expected %s\nfound    %s\n", expected.c_str(), found.c_str());
    std::abort();
}

class Input
{
public:
    /// The bytes must outlive this object.
    Input(const std::uint8_t* data, std::size_t size) : m_next(data), m_left(size) {}

    bool isEmpty() const { return m_left == 0; }

    unsigned int byte()
    {
        if (m_left == 0) return 0;
        --m_left;
        return *m_next++;
    }
    unsigned int below(unsigned int limit) { return byte() % limit; }
    /// Four bytes, the lowest first.
    unsigned int number()
    {
        unsigned int value = 0;
        for (unsigned int shift = 0; shift < 32; shift += 8)
            value |= byte() << shift;
        return value;
    }
    /// At most `size` bytes.
    std::vector<unsigned char> bytes(std::size_t size)
    {
        const std::size_t taken = std::min(size, m_left);
        std::vector<unsigned char> result(m_next, m_next + taken);
        m_next += taken;
        m_left -= taken;
        return result;
    }
    /// At most `size` bytes.
    std::string text(std::size_t size)
    {
        const std::vector<unsigned char> taken = bytes(size);
        return std::string(taken.begin(), taken.end());
    }
    std::vector<unsigned char> rest() { return bytes(m_left); }

private:
    const std::uint8_t* m_next;
    std::size_t m_left;
};

} // namespace fuzz

#endif // ZELCOMMON_FUZZ_INPUT_H
