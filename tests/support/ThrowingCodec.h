// SPDX-License-Identifier: Apache-2.0
//
// A caller's own codec that throws, and a way to let it throw at each of its calls in turn.
//
//     EXPECT_EQ(6, support::interruptions(codec, [&] { String(codec, "ab"); }, [] {}));

#ifndef ZELCOMMON_TESTS_SUPPORT_THROWINGCODEC_H
#define ZELCOMMON_TESTS_SUPPORT_THROWINGCODEC_H

#include "support/Latin1Codec.h"

namespace support {

struct Interruption
{};

/// One byte a character. Throws an `Interruption` at the chosen call. Not thread-safe.
class ThrowingCodec : public Latin1Codec
{
public:
    /// The `call`th call from now on throws, the first being number 1; none with 0.
    void throwAt(int call) { m_callsLeft = call; }

    unsigned int read(const unsigned char* data, unsigned int size, const Index& at) const override
    {
        pass();
        return Latin1Codec::read(data, size, at);
    }

    unsigned int read_forward(const unsigned char* data, unsigned int size, Index& at,
                              unsigned int n, unsigned int& last) const override
    {
        pass();
        return Latin1Codec::read_forward(data, size, at, n, last);
    }

    unsigned int write_forward(unsigned char* data, unsigned int size, Index& at,
                               unsigned int c) const override
    {
        pass();
        return Latin1Codec::write_forward(data, size, at, c);
    }

    unsigned int encoded_bytes(unsigned int c) const override
    {
        pass();
        return Latin1Codec::encoded_bytes(c);
    }

private:
    void pass() const
    {
        if (m_callsLeft > 0 && --m_callsLeft == 0) throw Interruption();
    }

    mutable int m_callsLeft = 0;
};

/// Runs `operation` with its first call of `codec` interrupted, then with its second one, and so on
/// until it runs to its end. `check` is called after each interruption. Returns how many there
/// were.
template <typename Operation, typename Check>
int interruptions(ThrowingCodec& codec, const Operation& operation, const Check& check)
{
    for (int call = 1;; ++call) {
        codec.throwAt(call);
        try {
            operation();
            codec.throwAt(0);
            return call - 1;
        } catch (const Interruption&) {
            codec.throwAt(0);
            check();
        }
    }
}

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_THROWINGCODEC_H
