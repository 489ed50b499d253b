// SPDX-License-Identifier: Apache-2.0
//
// One codec over any bytes, at any place and in any room, held against its slow model. The bytes
// lie in memory of exactly their size.

#ifndef ZELCOMMON_FUZZ_CODECCHECK_H
#define ZELCOMMON_FUZZ_CODECCHECK_H

#include <algorithm>
#include <optional>

#include <Input.h>
#include <support/LibraryText.h>

namespace fuzz {

namespace slow = support::slow;

class CodecCheck
{
public:
    CodecCheck(slow::Encoding encoding, const slow::Bytes& data)
        : m_encoding(encoding), m_codec(support::codecOf(encoding)), m_data(data), m_exact(data)
    {}

    void read(slow::Place at) const
    {
        require(slow::read(m_encoding, m_data, at) ==
                m_codec.read(m_exact.data(), m_exact.size(), indexOf(at)));
    }

    void forward(slow::Place at, unsigned int n) const
    {
        std::unicode::Codec::Index index = indexOf(at);
        unsigned int expected = UNTOUCHED;
        unsigned int last = UNTOUCHED;
        const unsigned int result = slow::readForward(m_encoding, m_data, at, n, expected);
        require(result == m_codec.read_forward(m_exact.data(), m_exact.size(), index, n, last));
        require(isSame(at, index) && expected == last);
    }

    void place(unsigned int i) const
    {
        require(isSame(slow::placeOf(m_encoding, m_data, i),
                       m_codec.at(m_exact.data(), m_exact.size(), i)));
    }

    /// Writes over a copy of the data.
    void write(slow::Place at, unsigned int c)
    {
        m_room = m_data;
        if (!m_exactRoom) m_exactRoom.emplace(m_data);
        std::copy(m_data.begin(), m_data.end(), m_exactRoom->data());
        std::unicode::Codec::Index index = indexOf(at);
        const unsigned int result = slow::writeForward(m_encoding, m_room, at, c);
        require(result ==
                m_codec.write_forward(m_exactRoom->data(), m_exactRoom->size(), index, c));
        require(isSame(at, index));
        require(std::equal(m_room.begin(), m_room.end(), m_exactRoom->data()));
        require(slow::encodedBytes(m_encoding, c) == m_codec.encoded_bytes(c));
    }

    /// All of the above, at places and with numbers from `input`, at every byte, and of prefixes.
    /// What goes over many characters begins at some bytes alone of a long input.
    static void run(slow::Encoding encoding, Input& input)
    {
        const slow::Place far = {input.number(), input.number()};
        const unsigned int n = input.number();
        const unsigned int c = input.number();
        CodecCheck check(encoding, input.rest());
        const unsigned int every = 1 + check.m_exact.size() / DENSE;
        for (unsigned int p = 0; p <= check.m_exact.size() + 4; ++p) {
            check.atByte({far.chars, p}, n, c);
            if (p % every == n % every) check.fromByte({far.chars, p}, n);
        }
        check.atByte(far, n, c);
        check.fromByte(far, n);
        check.place(n);
        check.prefixes(n);
    }

private:
    static constexpr unsigned int UNTOUCHED = 0xDEAD0001;
    static constexpr unsigned int MOST_PREFIXES = 32;
    static constexpr unsigned int LONGEST_CHARACTER = 6; // bytes
    static constexpr unsigned int DENSE = 24;            // bytes up to which an input is short

    /// The end of each prefix in memory of exactly its size; of a long input, the last ones.
    void prefixes(unsigned int n) const
    {
        const auto size = static_cast<unsigned int>(m_data.size());
        for (unsigned int end = size - std::min(size, MOST_PREFIXES); end < size; ++end) {
            const slow::Bytes data(m_data.data(), m_data.data() + end);
            const CodecCheck prefix(m_encoding, data);
            for (unsigned int left = 0; left <= std::min(end, LONGEST_CHARACTER); ++left) {
                prefix.read({0, end - left});
                prefix.forward({0, end - left}, 1);
                prefix.forward({0, end - left}, n);
            }
            prefix.place(n);
        }
    }

    static std::unicode::Codec::Index indexOf(slow::Place at) { return {at.chars, at.bytes}; }
    static bool isSame(slow::Place at, const std::unicode::Codec::Index& index)
    {
        return at.chars == index.chars && at.bytes == index.bytes;
    }

    void atByte(slow::Place at, unsigned int n, unsigned int c)
    {
        read(at);
        forward(at, 0);
        forward(at, 1);
        forward(at, n % 8);
        write(at, c);
        write(at, slow::read(m_encoding, m_data, at));
    }
    void fromByte(slow::Place at, unsigned int n) const
    {
        forward(at, n);
        place(at.bytes);
    }

    slow::Encoding m_encoding;
    const std::unicode::Codec& m_codec;
    slow::Bytes m_data;
    support::ExactBytes m_exact;
    // Kept between writes, as memory is slow to come by under a sanitizer.
    slow::Bytes m_room;
    std::optional<support::ExactBytes> m_exactRoom;
};

} // namespace fuzz

#endif // ZELCOMMON_FUZZ_CODECCHECK_H
