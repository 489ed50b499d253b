// SPDX-License-Identifier: Apache-2.0
//
// How many units of ASCII are passed at once. Where it is fewer the result is the same, only
// slower.

#include <common/unicode/AsciiBlock.h>

#include <array>
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

namespace {

/// Units of one width with the values of `text`, of which the one at `place` is `c`.
template <typename Unit>
std::string units(const std::string& text, unsigned int place, unsigned int c)
{
    std::string bytes;
    for (unsigned int i = 0; i < text.size(); ++i) {
        const auto unit = static_cast<Unit>(i == place ? c : static_cast<unsigned char>(text[i]));
        bytes.append(reinterpret_cast<const char*>(&unit), sizeof unit);
    }
    return bytes;
}

const unsigned char* at(const std::string& bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.data());
}

const std::string TEXT = "0123456789ABCDEF";
constexpr unsigned int NOWHERE = 16;

template <typename From, typename To>
void expectCopied()
{
    std::array<unsigned char, 64> to{};
    for (unsigned int place = 0; place < 8; ++place)
        EXPECT_EQ(place,
                  (textcore::copyAscii<From, To>(at(units<From>(TEXT, place, 0x80)), to.data())));
    EXPECT_EQ(8U, (textcore::copyAscii<From, To>(at(units<From>(TEXT, 8, 0x80)), to.data())));
    EXPECT_EQ(units<To>("01234567", NOWHERE, 0),
              std::string(to.begin(), to.begin() + 8 * sizeof(To)));
    for (unsigned int place = 0; place < 16; ++place)
        EXPECT_FALSE(
            (textcore::copyAsciiBlock<From, To>(at(units<From>(TEXT, place, 0x80)), to.data())));
    EXPECT_TRUE((textcore::copyAsciiBlock<From, To>(at(units<From>(TEXT, 15, 0x7F)), to.data())));
    EXPECT_EQ(units<To>(TEXT, 15, 0x7F), std::string(to.begin(), to.begin() + 16 * sizeof(To)));
}

template <typename From, typename To>
void expectCompared()
{
    const std::string from = units<From>(TEXT, NOWHERE, 0);
    EXPECT_EQ(8U, (textcore::equalAsciiLength<From, To>(at(from), at(units<To>(TEXT, 8, 'x')))));
    EXPECT_TRUE((textcore::equalAsciiBlock<From, To>(at(from), at(units<To>(TEXT, NOWHERE, 0)))));
    for (unsigned int place = 0; place < 16; ++place) {
        const std::string other = units<To>(TEXT, place, 'x');
        EXPECT_EQ(place < 8 ? place : 8,
                  (textcore::equalAsciiLength<From, To>(at(from), at(other))));
        EXPECT_FALSE((textcore::equalAsciiBlock<From, To>(at(from), at(other))));
        const std::string wide = units<From>(TEXT, place, 0x80);
        const std::string same = units<To>(TEXT, place, 0x80);
        EXPECT_EQ(place < 8 ? place : 8,
                  (textcore::equalAsciiLength<From, To>(at(wide), at(same))));
        EXPECT_FALSE((textcore::equalAsciiBlock<From, To>(at(wide), at(same))));
    }
}

TEST(AsciiBlock, Copy_StopsAtTheFirstOtherUnit)
{
    expectCopied<std::uint8_t, std::uint8_t>();
    expectCopied<std::uint8_t, std::uint16_t>();
    expectCopied<std::uint8_t, std::uint32_t>();
    expectCopied<std::uint16_t, std::uint8_t>();
    expectCopied<std::uint32_t, std::uint8_t>();
}

TEST(AsciiBlock, Equal_StopsAtTheFirstDifferenceAndAtOthers)
{
    expectCompared<std::uint8_t, std::uint8_t>();
    expectCompared<std::uint8_t, std::uint16_t>();
    expectCompared<std::uint8_t, std::uint32_t>();
}

} // namespace
