// SPDX-License-Identifier: Apache-2.0

#include <vector>

#include <zelcommon.h>

#include "Bracket.h"
#include "Cases.h"
#include "SampleText.h"

using std::unicode::Codec;
using std::unicode::String;

namespace {

struct Conversion
{
    const char* name;
    const Codec& source;
    const Codec& target;
};

const Conversion CONVERSIONS[] = {
    {"utf8-utf16", std::unicode::UTF8, std::unicode::UTF16LE},
    {"utf16-utf8", std::unicode::UTF16LE, std::unicode::UTF8},
    {"utf8-ucs4", std::unicode::UTF8, std::unicode::UCS4},
    {"ucs4-utf8", std::unicode::UCS4, std::unicode::UTF8},
};

/// Building a text of `size` bytes, with its count.
void build(const counts::Kind& kind, std::size_t size, const char* sizeName, unsigned int units)
{
    const std::string text = counts::sampleText(kind, size);
    counts::measure(std::string("text/build/") + kind.name + sizeName, units,
                    [&] { counts::keep(String(text)); });
}

/// Per KB of the text in UTF-8, in either direction.
void convert(const Conversion& conversion, const counts::Kind& kind)
{
    constexpr unsigned int UNCUT = 0xFFFFFFFF;
    const String text(conversion.source, counts::sampleText(kind, counts::LONG));
    const std::string name = std::string("text/convert/") + conversion.name + "/" + kind.name;
    counts::measure(name + "/64K", counts::LONG_UNITS, [&] {
        const std::SharedBuf block =
            conversion.source.to(conversion.target, text.data(), text.byteLength(), UNCUT);
        counts::keep(block);
        block.unref();
    });
}

void compareAcross(const counts::Kind& kind)
{
    const std::string text = counts::sampleText(kind, counts::KILOBYTE);
    const String first(text);
    const String second(std::unicode::UTF16LE, text);
    counts::measure(std::string("text/equal/across/") + kind.name + "/1K", 1,
                    [&] { counts::keep(first == second); });
}

std::string thousandPieces()
{
    std::string text = "piece 0";
    for (int piece = 1; piece < 1000; ++piece)
        text += ";piece " + std::to_string(piece);
    return text;
}

} // namespace

void counts::textBuilding()
{
    for (const Kind& kind : WELL_FORMED)
        build(kind, LONG, "/64K", LONG_UNITS);
    build(MALFORMED, LONG, "/64K", LONG_UNITS);
    for (const Kind& kind : WELL_FORMED)
        build(kind, 64, "/64", 1);
}

void counts::textConversion()
{
    for (const Conversion& conversion : CONVERSIONS)
        for (const Kind& kind : WELL_FORMED)
            convert(conversion, kind);
}

void counts::textComparison()
{
    const String first(sampleText(MIXED, KILOBYTE));
    const String second(sampleText(MIXED, KILOBYTE));
    measure("text/copy", 1, [&] { keep(String(first)); });
    measure("text/equal/mixed/1K", 1, [&] { keep(first == second); });
    measure("text/less/mixed/1K", 1, [&] { keep(first < second); });
    compareAcross(ASCII);
    compareAcross(MIXED);
}

void counts::textComposition()
{
    const String whole(thousandPieces());
    const String separator(";");
    const String glue(", ");
    const auto pieces = whole.split(separator);
    const std::vector<String> texts(pieces.begin(), pieces.end());
    const auto units = static_cast<unsigned int>(texts.size());
    measure("text/join/1000", units, [&] { keep(glue.join(texts.begin(), texts.end())); });
    measure("text/replace/1000", units, [&] { keep(whole.replace(separator, glue)); });
}
