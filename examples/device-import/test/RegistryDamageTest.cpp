// SPDX-License-Identifier: Apache-2.0
//
// Registries of which any byte may be wrong.

#include <string>

#include <common/error/ErrorStorage.h>
#include <gtest/gtest.h>
#include <zel/report.h>

#include "RegistryBytes.h"
#include "support/OpenStorage.h"

namespace {

using registrytest::bytes;
using registrytest::soundBytes;
using registrytest::summed;
using registrytest::verdict;

/// The sound registry, right up to its checksum, with `with` in place of what is at byte `place`.
std::string changed(unsigned int place, const std::string& with)
{
    std::string text = soundBytes();
    text.replace(place, with.size(), with);
    text.resize(text.size() - 4);
    return summed(text);
}

class RegistryDamage : public testing::Test
{
protected:
    support::OpenStorage m_errors;
};

TEST_F(RegistryDamage, IsFound_InTheHeader)
{
    EXPECT_EQ("header at byte 0 <- the file does not begin with DREG", verdict(changed(3, "g")));
    EXPECT_EQ("header at byte 0 <- version is 2, expected 1", verdict(changed(5, "\x02")));
    EXPECT_EQ("header at byte 0 <- version is 256, expected 1",
              verdict(changed(4, bytes("\x01\x00"))));
    EXPECT_EQ("header at byte 0 <- reserved field is 32768, expected 0",
              verdict(changed(6, "\x80")));
}

TEST_F(RegistryDamage, IsFound_WhenTheCountDoesNotFit)
{
    EXPECT_EQ("header at byte 0 <- 4294967295 records do not fit into a file of 81 bytes",
              verdict(changed(8, "\xFF\xFF\xFF\xFF")));
    EXPECT_EQ("header at byte 0 <- 4 records do not fit into a file of 81 bytes",
              verdict(changed(11, "\x04")));
}

TEST_F(RegistryDamage, IsFound_WhenTheCountIsWrong)
{
    EXPECT_EQ("record 3 at byte 77 <- record runs past the end", verdict(changed(11, "\x03")));
    EXPECT_EQ("record 3 at byte 77 <- record runs past the end",
              verdict(changed(8, "\xFF\xFF\xFF\xFF"), false));
    EXPECT_EQ("checksum at byte 45 <- checksum is 123E4567, expected 8DCCDF08",
              verdict(changed(11, "\x01")));
}

TEST_F(RegistryDamage, IsFound_InAUuid)
{
    const std::string nil(16, '\0');
    EXPECT_EQ("record 1 at byte 12 <- uuid is nil", verdict(changed(12, nil)));
    EXPECT_EQ("record 2 at byte 45 <- uuid is nil", verdict(changed(45, nil)));
    EXPECT_EQ("record 2 at byte 45 <- uuid '123e4567-e89b-12d3-a456-426614174000' is not greater "
              "than the one before",
              verdict(changed(60, bytes("\x00"))));
    EXPECT_EQ("record 2 at byte 45 <- uuid '023e4567-e89b-12d3-a456-426614174001' is not greater "
              "than the one before",
              verdict(changed(45, "\x02")));
}

TEST_F(RegistryDamage, IsFound_InALevel)
{
    EXPECT_EQ("record 1 at byte 12 <- level '101' is not allowed <- "
              "Integer parameter out of range. Min = 0, Max = 100, Found = 101",
              verdict(changed(28, "\x65")));
    EXPECT_EQ("record 2 at byte 45 <- level '255' is not allowed <- "
              "Integer parameter out of range. Min = 0, Max = 100, Found = 255",
              verdict(changed(61, "\xFF")));
}

TEST_F(RegistryDamage, IsFound_InALength)
{
    EXPECT_EQ("record 1 at byte 12 <- name is empty", verdict(changed(29, bytes("\x00"))));
    EXPECT_EQ("record 1 at byte 12 <- name runs past the end", verdict(changed(29, "\x33")));
    EXPECT_EQ("record 1 at byte 12 <- location is empty", verdict(changed(30, bytes("\x00"))));
    EXPECT_EQ("record 2 at byte 45 <- location runs past the end", verdict(changed(63, "\xFF")));
    EXPECT_EQ("record 2 at byte 45 <- location has 33 bytes, at most 32 are allowed",
              verdict(changed(63, "\x21").replace(77, 4, 25, 'x')));
}

TEST_F(RegistryDamage, IsFound_InAName)
{
    EXPECT_EQ("record 1 at byte 12 <- name is not in UTF-8 <- column 2 is undecodable: FF in UTF-8",
              verdict(changed(32, "\xFF")));
    EXPECT_EQ("record 1 at byte 12 <- name is not in UTF-8 <- "
              "column 1 is undecodable: C0 80 in UTF-8",
              verdict(changed(31, "\xC0\x80")));
    EXPECT_EQ("record 1 at byte 12 <- name holds the control character 0x0A",
              verdict(changed(32, "\n")));
    EXPECT_EQ("record 1 at byte 12 <- name holds the control character 0x00",
              verdict(changed(38, bytes("\x00"))));
    EXPECT_EQ("record 1 at byte 12 <- name is surrounded by blanks", verdict(changed(31, " ")));
}

TEST_F(RegistryDamage, IsFound_InALocation)
{
    EXPECT_EQ("record 1 at byte 12 <- location '1F-101' is not of the form FLOOR/ROOM",
              verdict(changed(41, "-")));
    EXPECT_EQ("record 1 at byte 12 <- "
              "floor '1f' is not made of one to three capital letters and digits",
              verdict(changed(40, "f")));
    EXPECT_EQ("record 2 at byte 45 <- location is not in UTF-8 <- "
              "column 6 is undecodable: C3 in UTF-8",
              verdict(changed(75, "a\xC3")));
}

TEST_F(RegistryDamage, IsFound_AtTheEnd)
{
    EXPECT_EQ("checksum at byte 77 <- the file goes on behind the checksum",
              verdict(soundBytes() + bytes("\x00")));
    EXPECT_EQ("checksum at byte 77 <- checksum is A43284FA, expected A43284FB",
              verdict(soundBytes().replace(80, 1, "\xFA")));
    EXPECT_EQ("checksum at byte 77 <- checksum runs past the end",
              verdict(soundBytes().substr(0, 80)));
}

TEST_F(RegistryDamage, IsFound_WhereverTheFileEnds)
{
    const std::string sound = soundBytes();
    for (unsigned int size = 0; size < 81; ++size) {
        EXPECT_NE("sound", verdict(sound.substr(0, size))) << size << " bytes";
        EXPECT_NE("sound", verdict(sound.substr(0, size), false)) << size << " bytes";
    }
}

TEST_F(RegistryDamage, IsFound_WhicheverBitIsWrong)
{
    for (unsigned int bit = 0; bit < 81 * 8; ++bit) {
        std::string text = soundBytes();
        text[bit / 8] = static_cast<char>(text[bit / 8] ^ 1 << bit % 8);
        EXPECT_NE("sound", verdict(text)) << "bit " << bit;
        EXPECT_NE("sound", verdict(text, false)) << "bit " << bit;
    }
}

TEST_F(RegistryDamage, IsFound_InEachByteOfAnyValue)
{
    for (unsigned int place = 0; place < 77; ++place) {
        for (int value = 0; value < 256; ++value) {
            std::string text = soundBytes();
            if (text[place] == static_cast<char>(value)) continue;
            text[place] = static_cast<char>(value);
            EXPECT_NE("sound", verdict(text)) << "byte " << place << " is " << value;
        }
    }
}

/// A stream that fails.
class BrokenStream : public std::IBinInputStream
{
public:
    BrokenStream() : IBinInputStream(true, 0) {}

protected:
    bool performRead(void* /*data*/, unsigned int /*size*/, unsigned int& /*got*/) override
    {
        ZEL_RAISE(StreamError, 0);
        return true;
    }
};

TEST_F(RegistryDamage, IsAFailureOfTheStream)
{
    BrokenStream input;
    std::vector<deviceimport::Device> devices;
    EXPECT_FALSE(deviceimport::RegistryReader(input, {}).read(devices));
    EXPECT_EQ("header at byte 0 <- the binary i/o stream is broken", registrytest::takeChain());
}

} // namespace
