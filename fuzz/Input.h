// SPDX-License-Identifier: Apache-2.0
//
// Reads the bytes that a fuzz target is given as numbers and pieces; an input that is used up goes
// on as zeros.

#ifndef ZELCOMMON_FUZZ_INPUT_H
#define ZELCOMMON_FUZZ_INPUT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

/// What every target defines, and what the fuzzer and `replay.cpp` call. Returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

/// Ends the process unless `isTrue`: the fuzzer then keeps the input.
inline void require(bool isTrue)
{
    if (!isTrue) std::abort();
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
    std::vector<unsigned char> rest() { return bytes(m_left); }

private:
    const std::uint8_t* m_next;
    std::size_t m_left;
};

} // namespace fuzz

#endif // ZELCOMMON_FUZZ_INPUT_H
