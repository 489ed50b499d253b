// SPDX-License-Identifier: Apache-2.0
//
// The order of UUIDs, their digits, and the library against a slow reader and printer that go
// character by character, on texts at random, the same on every machine.

#include <common/UUID.h>

#include <cctype>
#include <cstring>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <type_traits>
#include <unordered_set>
#include <vector>

#include <gtest/gtest.h>

#include "support/OpenStorage.h"
#include "support/Random.h"
#include "support/SlowUuid.h"

namespace {

using std::UUID;
using std::UUIDSort;
using std::UUIDValue;
using support::OpenStorage;
namespace slow = support::slow;

static_assert(std::is_same_v<decltype(&UUIDSort::operator()),
                             bool (UUIDSort::*)(const UUID* const&, const UUID* const&) const>);
static_assert(std::is_same_v<decltype(std::hash<UUID>()(UUID())), std::size_t>);

/// A text and a greater one. Each field and each byte decides alone, as an unsigned number, before
/// all that follow.
constexpr const char* ASCENDING[][2] = {
    {"00000000-0000-0000-0000-000000000000", "00000001-0000-0000-0000-000000000000"},
    {"00000000-0000-0000-0000-000000000000", "00000000-0001-0000-0000-000000000000"},
    {"00000000-0000-0000-0000-000000000000", "00000000-0000-0001-0000-000000000000"},
    {"00000000-0000-0000-0000-000000000000", "00000000-0000-0000-0001-000000000000"},
    {"00000000-0000-0000-0000-000000000000", "00000000-0000-0000-0000-010000000000"},
    {"00000000-0000-0000-0000-000000000000", "00000000-0000-0000-0000-000100000000"},
    {"00000000-0000-0000-0000-000000000000", "00000000-0000-0000-0000-000001000000"},
    {"00000000-0000-0000-0000-000000000000", "00000000-0000-0000-0000-000000010000"},
    {"00000000-0000-0000-0000-000000000000", "00000000-0000-0000-0000-000000000100"},
    {"00000000-0000-0000-0000-000000000000", "00000000-0000-0000-0000-000000000001"},
    {"7fffffff-ffff-ffff-ffff-ffffffffffff", "80000000-0000-0000-0000-000000000000"},
    {"000000ff-ffff-ffff-ffff-ffffffffffff", "00000100-0000-0000-0000-000000000000"},
    {"11111111-7fff-ffff-ffff-ffffffffffff", "11111111-8000-0000-0000-000000000000"},
    {"11111111-00ff-ffff-ffff-ffffffffffff", "11111111-0100-0000-0000-000000000000"},
    {"11111111-2222-7fff-ffff-ffffffffffff", "11111111-2222-8000-0000-000000000000"},
    {"11111111-2222-00ff-ffff-ffffffffffff", "11111111-2222-0100-0000-000000000000"},
    {"11111111-2222-3333-7fff-ffffffffffff", "11111111-2222-3333-8000-000000000000"},
    {"11111111-2222-3333-00ff-ffffffffffff", "11111111-2222-3333-0100-000000000000"},
    {"11111111-2222-3333-4444-7fffffffffff", "11111111-2222-3333-4444-800000000000"},
    {"11111111-2222-3333-4444-557fffffffff", "11111111-2222-3333-4444-558000000000"},
    {"11111111-2222-3333-4444-55667fffffff", "11111111-2222-3333-4444-556680000000"},
    {"11111111-2222-3333-4444-5566777fffff", "11111111-2222-3333-4444-556677800000"},
    {"11111111-2222-3333-4444-556677887fff", "11111111-2222-3333-4444-556677888000"},
    {"11111111-2222-3333-4444-55667788997f", "11111111-2222-3333-4444-556677889980"},
    {"00000000-0000-0000-0000-000000000000", "ffffffff-ffff-ffff-ffff-ffffffffffff"},
};

TEST(UUIDOrder, Compare_FirstDifferenceDecides)
{
    for (const auto& [less, more] : ASCENDING) {
        SCOPED_TRACE(more);
        EXPECT_EQ(-1, UUID(less).compare(UUID(more)));
        EXPECT_EQ(1, UUID(more).compare(UUID(less)));
        EXPECT_EQ(0, UUID(more).compare(UUID(more)));
    }
}

TEST(UUIDOrder, Operators_OfALesserAndAGreaterOne)
{
    for (const auto& [less, more] : ASCENDING) {
        SCOPED_TRACE(more);
        const UUID a(less);
        const UUID b(more);
        EXPECT_TRUE(a < b && a <= b && a != b && b > a && b >= a && b != a);
        EXPECT_FALSE(a > b || a >= b || a == b || b < a || b <= a || b == a);
    }
}

TEST(UUIDOrder, Operators_OfEqualOnes)
{
    const UUID a("11111111-2222-3333-4444-556677889900");
    const UUID b(a);
    EXPECT_TRUE(a == b && a <= b && a >= b);
    EXPECT_FALSE(a != b || a < b || a > b);
    EXPECT_EQ(0, a.compare(a));
}

TEST(UUIDOrder, FlagTakesNoPart)
{
    const OpenStorage errors;
    const UUID invalid("1");
    ASSERT_TRUE(invalid.isInvalid());
    EXPECT_EQ(0, invalid.compare(UUID()));
    EXPECT_TRUE(invalid == UUID::nil());
    EXPECT_EQ(std::hash<UUID>()(UUID()), std::hash<UUID>()(invalid));
    EXPECT_EQ(UUID().hash(), std::hash<UUID>()(invalid));
}

TEST(UUIDOrder, Sort_OfPointers)
{
    const UUID first("11111111-2222-3333-4444-556677889900");
    const UUID second("11111111-2222-3333-4444-556677889980");
    const UUID third("80000000-0000-0000-0000-000000000000");
    const UUID again(second);
    const std::set<const UUID*, UUIDSort> ids = {&third, &second, &again, &first};
    EXPECT_EQ((std::vector<const UUID*>{&first, &second, &third}),
              std::vector<const UUID*>(ids.begin(), ids.end()));
    EXPECT_EQ(&second, *ids.find(&again));
    EXPECT_TRUE(UUIDSort()(&first, &second));
    EXPECT_FALSE(UUIDSort()(&second, &first));
    EXPECT_FALSE(UUIDSort()(&second, &again));
}

TEST(UUIDOrder, Hash_KeyOfAnUnorderedSet)
{
    std::unordered_set<UUID> ids;
    for (const auto& [less, more] : ASCENDING)
        ids.insert({UUID(less), UUID(more)});
    EXPECT_EQ(40u, ids.size());
    EXPECT_EQ(1u, ids.count(UUID("11111111-2222-3333-4444-55667788997F")));
    EXPECT_EQ(0u, ids.count(UUID("11111111-2222-3333-4444-556677889981")));
}

TEST(UUIDOrder, Hash_EveryBitCounts)
{
    for (unsigned int bit = 0; bit < 128; ++bit) {
        char bytes[16] = {};
        bytes[bit / 8] = static_cast<char>(1u << bit % 8);
        UUID id;
        id.copyFrom(bytes);
        EXPECT_NE(UUID().hash(), id.hash()) << bit;
    }
}

TEST(UUIDDigits, AppendHex_DigitsOfTheWholeWidthInLowerCase)
{
    std::string text = "x";
    UUID::appendHex(text, static_cast<unsigned char>(0x0A));
    EXPECT_EQ("x0a", text);
    UUID::appendHex(text, static_cast<unsigned short>(0x0BCD));
    EXPECT_EQ("x0a0bcd", text);
    UUID::appendHex(text, 0x00E0F123u);
    EXPECT_EQ("x0a0bcd00e0f123", text);
}

TEST(UUIDDigits, AppendHex_Limits)
{
    std::string text;
    UUID::appendHex(text, static_cast<unsigned char>(0));
    UUID::appendHex(text, static_cast<unsigned char>(0xFF));
    UUID::appendHex(text, static_cast<unsigned short>(0));
    UUID::appendHex(text, static_cast<unsigned short>(0xFFFF));
    UUID::appendHex(text, 0u);
    UUID::appendHex(text, 0xFFFFFFFFu);
    UUID::appendHex(text, 0x89ABCDEFu);
    EXPECT_EQ("00ff0000ffff00000000ffffffff89abcdef", text);
}

TEST(UUIDDigits, Nibble_OfAll256Characters)
{
    std::string values;
    for (int c = 0; c < 256; ++c)
        values += static_cast<char>('a' + UUID::nibble(static_cast<char>(c)));
    std::string expected(256, 'a');
    expected.replace('0', 10, "abcdefghij");
    expected.replace('A', 6, "klmnop");
    expected.replace('a', 6, "klmnop");
    EXPECT_EQ(expected, values);
    static_assert(std::is_same_v<decltype(UUID::nibble('0')), unsigned char>);
}

/// Texts and values at random.
class RandomUuid : public support::Random
{
public:
    using Random::Random;

    UUIDValue value()
    {
        UUIDValue value;
        std::memcpy(&value, bytes(sizeof value).data(), sizeof value);
        return value;
    }

    /// A text form in mixed case.
    std::string valid()
    {
        std::string text = slow::printUuid(value());
        for (char& c : text)
            if (below(2) == 0) c = static_cast<char>(std::toupper(c));
        return text;
    }

    /// A text form with up to three changes.
    std::string mutation()
    {
        std::string text = valid();
        for (unsigned int changes = below(4); changes > 0; --changes)
            change(text);
        return text;
    }

    /// Up to 40 characters, of any kind or of those that matter.
    std::string anything()
    {
        std::string text;
        const bool chosen = below(2) == 0;
        for (unsigned int length = below(41); length > 0; --length)
            text += chosen ? "0189afAF-g \0"[below(12)] : byte();
        return text;
    }

private:
    void change(std::string& text)
    {
        const std::size_t position = below(static_cast<unsigned int>(text.size() + 1));
        const unsigned int kind = below(4);
        if (kind == 0) text.resize(position);
        if (kind == 1) text.insert(position, 1, byte());
        if (position >= text.size()) return;
        if (kind == 2) text.erase(position, 1);
        if (kind == 3) text[position] = byte();
    }
};

/// Reads `text` in each way, over an old value, and compares with the slow reader. Returns whether
/// it is a text form.
bool sameAsSlow(const std::string& text, const UUIDValue& old)
{
    const OpenStorage errors;
    UUIDValue expected = old;
    const bool taken = slow::parseUuid(text, expected);
    const bool refused = !taken && !text.empty();
    UUID parsed(old);
    parsed.parse(text);
    EXPECT_EQ(slow::printUuid(expected), slow::printUuid(parsed));
    EXPECT_EQ(slow::printUuid(expected), parsed.toString());
    EXPECT_EQ(refused, parsed.isInvalid());
    EXPECT_EQ(refused ? 1 : 0, errors.m_count);
    const std::unique_ptr<char[]> block(new char[text.size()]);
    text.copy(block.get(), text.size());
    UUID out(old);
    EXPECT_EQ(taken, UUID::fromChars(block.get(), text.size(), out));
    EXPECT_EQ(slow::printUuid(expected), slow::printUuid(out));
    EXPECT_EQ(refused ? 1 : 0, errors.m_count);
    return taken;
}

TEST(UUIDModel, Parse_MutationsOfTextForms)
{
    RandomUuid random(4122);
    int taken = 0;
    for (int i = 0; i < 8000 && !HasFailure(); ++i) {
        const std::string text = random.mutation();
        SCOPED_TRACE(testing::PrintToString(text));
        taken += sameAsSlow(text, random.value()) ? 1 : 0;
    }
    EXPECT_LT(1000, taken);
    EXPECT_GT(7000, taken);
}

TEST(UUIDModel, Parse_AnyTextOfUpTo40Characters)
{
    RandomUuid random(36);
    for (int i = 0; i < 8000 && !HasFailure(); ++i) {
        const std::string text = random.anything();
        SCOPED_TRACE(testing::PrintToString(text));
        sameAsSlow(text, random.value());
    }
}

TEST(UUIDModel, Print_AndReadAgain)
{
    RandomUuid random(128);
    for (int i = 0; i < 4000 && !HasFailure(); ++i) {
        const UUIDValue value = random.value();
        const UUID id(value);
        EXPECT_EQ(slow::printUuid(value), id.toString());
        EXPECT_EQ(id, UUID(id.toString()));
    }
}

TEST(UUIDModel, Compare_AsTheTextsDo)
{
    RandomUuid random(16);
    for (int i = 0; i < 4000 && !HasFailure(); ++i) {
        const std::string left = slow::printUuid(random.value());
        std::string right = slow::printUuid(random.value());
        const std::size_t same = random.below(37);
        right.replace(0, same, left, 0, same);
        const int order = left.compare(right);
        EXPECT_EQ((order > 0) - (order < 0), UUID(left).compare(UUID(right))) << left << right;
    }
}

} // namespace
