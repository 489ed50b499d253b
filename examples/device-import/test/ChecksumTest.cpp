// SPDX-License-Identifier: Apache-2.0

#include "../src/Checksum.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using deviceimport::Checksum;

TEST(Checksum, IsZero_OfNothing)
{
    Checksum checksum;
    checksum.add(nullptr, 0);
    EXPECT_EQ(0U, checksum.value());
}

TEST(Checksum, HasTheKnownValues)
{
    Checksum digits;
    digits.add("123456789", 9);
    EXPECT_EQ(0xCBF43926U, digits.value());
    Checksum zero;
    zero.add("\0", 1);
    EXPECT_EQ(0xD202EF8DU, zero.value());
    Checksum ones;
    ones.add("\xFF\xFF\xFF\xFF", 4);
    EXPECT_EQ(0xFFFFFFFFU, ones.value());
}

TEST(Checksum, GoesOn_AfterEachPiece)
{
    Checksum checksum;
    checksum.add("1234", 4);
    EXPECT_EQ(0x9BE3E0A3U, checksum.value());
    checksum.add("56789", 5);
    EXPECT_EQ(0xCBF43926U, checksum.value());
}

} // namespace
