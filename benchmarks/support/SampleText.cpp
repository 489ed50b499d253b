// SPDX-License-Identifier: Apache-2.0

#include "SampleText.h"

namespace bench {

namespace {

constexpr std::size_t DAMAGE_DISTANCE = 500;

const char* const ASCII_PIECE = "The quick brown fox jumps over the lazy dog. ";
const char* const LATIN_PIECE = "F\u00FCnf gro\u00DFe Jungf\u00FCchse jagen m\u00FCde B\u00E4ren. ";
const char* const CJK_PIECE = "\u654F\u6377\u7684\u68D5\u8272\u72D0\u72F8";
const char* const EMOJI_PIECE = "\U0001F98A\U0001F415\U0001F333";
const char* const MALFORMED_PIECE = "ab\xC3\x41\xFF\xE2\x82\xED\xA0\x80xyz";

const char* nameOf(Kind kind)
{
    static const char* const NAMES[] = {"ASCII", "Latin",     "CJK",    "emoji",
                                        "mixed", "malformed", "damaged"};
    return NAMES[kind];
}

std::string pieceOf(Kind kind)
{
    switch (kind) {
    case LATIN: return LATIN_PIECE;
    case CJK: return CJK_PIECE;
    case EMOJI: return EMOJI_PIECE;
    case MIXED: return std::string(ASCII_PIECE) + LATIN_PIECE + CJK_PIECE + EMOJI_PIECE;
    case MALFORMED: return MALFORMED_PIECE;
    default: return ASCII_PIECE;
    }
}

bool isContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

std::string nameOf(std::size_t size)
{
    return size < KB ? std::to_string(size) : std::to_string(size / KB) + "K";
}

} // namespace

std::string sampleText(Kind kind, std::size_t size)
{
    const std::string piece = pieceOf(kind);
    std::string text;
    while (text.size() <= size)
        text += piece;
    std::size_t end = size;
    while (kind != MALFORMED && isContinuation(text[end]))
        --end;
    text.resize(end);
    if (kind == DAMAGED)
        for (std::size_t at = DAMAGE_DISTANCE / 10; at < end; at += DAMAGE_DISTANCE)
            text[at] = '\xFF';
    return text;
}

std::vector<Input> inputs(std::initializer_list<Kind> kinds,
                          std::initializer_list<std::size_t> sizes)
{
    std::vector<Input> result;
    for (const Kind kind : kinds)
        for (const std::size_t size : sizes)
            result.push_back(
                {std::string(nameOf(kind)) + "/" + nameOf(size), sampleText(kind, size)});
    return result;
}

std::vector<Input> inputs(std::initializer_list<std::size_t> sizes)
{
    return inputs({ASCII, LATIN, CJK, EMOJI}, sizes);
}

} // namespace bench
