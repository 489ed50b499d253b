// SPDX-License-Identifier: Apache-2.0
//
// Any bytes from one encoding into another, through the codecs and through the strings' own ways.

#include <string>

#include <Input.h>
#include <support/LibraryText.h>

namespace {

using fuzz::require;
using std::unicode::String;
using support::codecOf;
namespace slow = support::slow;

constexpr unsigned int PAIRS = 16; // of encodings

void checkCodecs(slow::Encoding from, slow::Encoding to, const slow::Bytes& data, unsigned int most)
{
    const support::ExactBytes exact(data);
    const support::HeldBlock result(
        codecOf(from).to(codecOf(to), exact.data(), exact.size(), most));
    require(slow::convert(from, to, data, most) == result.bytes());
    require(result.block().offset == std::SharedBuf::HEADER_SIZE);
}

void checkStrings(slow::Encoding from, slow::Encoding to, const slow::Bytes& data)
{
    const support::HeldBlock block(data);
    const String text(block.block(), codecOf(from));
    const slow::Text model = slow::textOf(from, data);
    require(support::shown(model) == support::shown(text));
    const std::string expected = support::shown(slow::textOf(to, model));
    require(expected == support::shown(String(codecOf(to), text)));
    require(expected == support::shown(String(codecOf(to), block.block(), codecOf(from))));

    const slow::Bytes utf8 = slow::convert(from, slow::UTF8, data);
    require(std::string(utf8.begin(), utf8.end()) == text.toUtf8());
    const slow::Bytes ucs4 = slow::convert(from, slow::UCS4, data);
    const std::wstring wide = text.toWide();
    const auto* bytes = reinterpret_cast<const unsigned char*>(wide.data());
    require(ucs4 == slow::Bytes(bytes, bytes + wide.size() * sizeof(wchar_t)));
}

void checkLiterals(slow::Encoding to, const slow::Bytes& data)
{
    const std::string narrow(data.begin(), data.end());
    require(support::shown(slow::textOf(slow::UTF8, data)) == support::shown(String(narrow)));
    require(support::shown(slow::convertedText(to, data, slow::UTF8)) ==
            support::shown(String(codecOf(to), narrow)));
    const slow::Bytes first(data.begin(), std::find(data.begin(), data.end(), 0));
    require(support::shown(slow::convertedText(to, first, slow::UTF8)) ==
            support::shown(String(codecOf(to), narrow.c_str())));
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input(data, size);
    const auto from = static_cast<slow::Encoding>(input.below(4));
    const auto to = static_cast<slow::Encoding>(input.below(4));
    const unsigned int most = input.byte();
    const slow::Bytes bytes = input.rest();
    checkCodecs(from, to, bytes, slow::UNLIMITED);
    for (unsigned int i = 0; i < PAIRS; ++i)
        checkCodecs(static_cast<slow::Encoding>(i % 4), static_cast<slow::Encoding>(i / 4), bytes,
                    most);
    checkStrings(from, to, bytes);
    checkLiterals(to, bytes);
    return 0;
}
