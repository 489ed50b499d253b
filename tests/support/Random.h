// SPDX-License-Identifier: Apache-2.0
//
// Numbers and bytes at random that are the same on every machine, as the standard's distributions
// are not.

#ifndef ZELCOMMON_TESTS_SUPPORT_RANDOM_H
#define ZELCOMMON_TESTS_SUPPORT_RANDOM_H

#include <random>
#include <string>

namespace support {

class Random
{
public:
    explicit Random(unsigned int seed) : m_engine(seed) {}

    unsigned int number() { return static_cast<unsigned int>(m_engine()); }
    /// A number below `limit`.
    unsigned int below(unsigned int limit) { return number() % limit; }
    bool oneIn(unsigned int count) { return below(count) == 0; }
    char byte() { return static_cast<char>(below(256)); }

    /// Any bytes.
    std::string bytes(unsigned int size)
    {
        std::string text;
        while (text.size() < size)
            text += byte();
        return text;
    }
    /// Letters, for texts that are printed.
    std::string letters(unsigned int size)
    {
        std::string text;
        while (text.size() < size)
            text += static_cast<char>('a' + below(26));
        return text;
    }

private:
    std::mt19937 m_engine;
};

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_RANDOM_H
