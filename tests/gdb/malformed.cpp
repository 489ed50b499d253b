// SPDX-License-Identifier: Apache-2.0
//
// Prints texts that are malformed in any way: encoding, bytes, characters in UTF-8, their number.

#include <cstdio>
#include <cstring>
#include <iterator>
#include <random>
#include <string>

#include <zelcommon.h>

namespace {

constexpr int TEXTS = 20000;
constexpr unsigned int MOST_BYTES = 14;

struct Encoding
{
    const char* name;
    const std::unicode::Codec* codec;
};
const Encoding ENCODINGS[] = {{"UTF-8", &std::unicode::UTF8},
                              {"UTF-16LE", &std::unicode::UTF16LE},
                              {"UTF-16BE", &std::unicode::UTF16BE},
                              {"UCS-4", &std::unicode::UCS4}};

/// Bytes that mean something in one encoding or another.
const unsigned char BYTES[] = {0x00, 0x01, 0x10, 0x22, 0x41, 0x80, 0x82, 0x88, 0x98,
                               0x9F, 0xA0, 0xAC, 0xBF, 0xC3, 0xD8, 0xDC, 0xDF, 0xE2,
                               0xED, 0xF0, 0xF8, 0xFC, 0xFD, 0xFE, 0xFF};

template <typename Bytes>
void printHex(const Bytes& bytes)
{
    for (const auto byte : bytes)
        std::printf("%02x", static_cast<unsigned int>(byte) & 0xFF);
}

} // namespace

int main()
{
    std::mt19937 random(1);
    for (int number = 0; number < TEXTS; ++number) {
        const Encoding& encoding = ENCODINGS[random() % std::size(ENCODINGS)];
        std::string bytes(random() % MOST_BYTES, '\0');
        for (char& byte : bytes)
            byte = static_cast<char>(BYTES[random() % std::size(BYTES)]);
        std::SharedBuf block(static_cast<unsigned int>(bytes.size()));
        std::memcpy(block.payload(), bytes.data(), bytes.size());
        const std::unicode::String text(block, *encoding.codec);
        block.unref();
        std::printf("%s,", encoding.name);
        printHex(bytes);
        std::putchar(',');
        printHex(text.toUtf8());
        std::printf(",%u\n", text.size());
    }
}
