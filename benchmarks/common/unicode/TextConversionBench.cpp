// SPDX-License-Identifier: Apache-2.0
//
// What the conversion of well-formed texts among the encodings costs. Everybody converts bytes that
// are there into a block of memory of its own, which is released again.

#include <cstdlib>
#include <cstring>
#include <string>

#include <glib.h>
#include <iconv.h>
#include <unicode/ustring.h>
#include <unistr.h>
#include <utf8.h>

#include <zelcommon.h>

#include <support/Cases.h>

namespace {

using bench::Input;
using std::unicode::Codec;

/// A block out of `malloc`, which the receiver releases.
struct Block
{
    void* data;
    std::size_t bytes;
};

template <typename Unit>
Unit* allocate(std::size_t count)
{
    return static_cast<Unit*>(std::malloc(count * sizeof(Unit)));
}

template <typename Unit>
const Unit* units(const std::string& text)
{
    return static_cast<const Unit*>(static_cast<const void*>(text.data()));
}

template <typename Unit>
int32_t unitCount(const std::string& text)
{
    return static_cast<int32_t>(text.size() / sizeof(Unit));
}

template <typename Unit, typename Count>
Block blockOf(Unit* data, Count count)
{
    return {data, static_cast<std::size_t>(count) * sizeof(Unit)};
}

// ICU has no way from UTF-8 to UCS-4 but by UTF-16.

Block icuFromUtf8(const std::string& text)
{
    const int32_t size = unitCount<char>(text);
    auto* const data = allocate<UChar>(text.size());
    int32_t count = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8(data, size, &count, text.data(), size, &status);
    return blockOf(data, count);
}

Block icuToUtf8(const UChar* text, int32_t size)
{
    auto* const data = allocate<char>(3 * static_cast<std::size_t>(size));
    int32_t count = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8(data, 3 * size, &count, text, size, &status);
    return blockOf(data, count);
}

Block icuUtf16ToUtf8(const std::string& text)
{
    return icuToUtf8(units<UChar>(text), unitCount<UChar>(text));
}

Block icuUtf8ToUcs4(const std::string& text)
{
    const Block between = icuFromUtf8(text);
    const auto size = static_cast<int32_t>(between.bytes / sizeof(UChar));
    auto* const data = allocate<UChar32>(static_cast<std::size_t>(size));
    int32_t count = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF32(data, size, &count, static_cast<const UChar*>(between.data), size, &status);
    std::free(between.data);
    return blockOf(data, count);
}

Block icuUcs4ToUtf8(const std::string& text)
{
    const int32_t size = unitCount<UChar32>(text);
    auto* const between = allocate<UChar>(2 * static_cast<std::size_t>(size));
    int32_t count = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF32(between, 2 * size, &count, units<UChar32>(text), size, &status);
    const Block block = icuToUtf8(between, count);
    std::free(between);
    return block;
}

Block glibUtf8ToUtf16(const std::string& text)
{
    glong count = 0;
    gunichar2* const data =
        g_utf8_to_utf16(text.data(), unitCount<char>(text), nullptr, &count, nullptr);
    return blockOf(data, count);
}

Block glibUtf16ToUtf8(const std::string& text)
{
    glong count = 0;
    char* const data = g_utf16_to_utf8(units<gunichar2>(text), unitCount<gunichar2>(text), nullptr,
                                       &count, nullptr);
    return blockOf(data, count);
}

Block glibUtf8ToUcs4(const std::string& text)
{
    glong count = 0;
    gunichar* const data =
        g_utf8_to_ucs4(text.data(), unitCount<char>(text), nullptr, &count, nullptr);
    return blockOf(data, count);
}

Block glibUcs4ToUtf8(const std::string& text)
{
    glong count = 0;
    char* const data =
        g_ucs4_to_utf8(units<gunichar>(text), unitCount<gunichar>(text), nullptr, &count, nullptr);
    return blockOf(data, count);
}

Block unistringUtf8ToUtf16(const std::string& text)
{
    std::size_t count = 0;
    uint16_t* const data = u8_to_u16(units<uint8_t>(text), text.size(), nullptr, &count);
    return blockOf(data, count);
}

Block unistringUtf16ToUtf8(const std::string& text)
{
    std::size_t count = 0;
    uint8_t* const data =
        u16_to_u8(units<uint16_t>(text), text.size() / sizeof(uint16_t), nullptr, &count);
    return blockOf(data, count);
}

Block unistringUtf8ToUcs4(const std::string& text)
{
    std::size_t count = 0;
    uint32_t* const data = u8_to_u32(units<uint8_t>(text), text.size(), nullptr, &count);
    return blockOf(data, count);
}

Block unistringUcs4ToUtf8(const std::string& text)
{
    std::size_t count = 0;
    uint8_t* const data =
        u32_to_u8(units<uint32_t>(text), text.size() / sizeof(uint32_t), nullptr, &count);
    return blockOf(data, count);
}

// What iconv calls the encodings, in the machine's byte order.
constexpr char UTF8_NAME[] = "UTF-8";
constexpr char UTF16_NAME[] = "UTF-16LE";
constexpr char UCS4_NAME[] = "UTF-32LE";

/// `growth`: bytes at most for each byte of the source.
template <const char* from, const char* to, std::size_t growth>
Block iconvConvert(const std::string& text)
{
    static const iconv_t s_converter = iconv_open(to, from);
    auto* const data = allocate<char>(growth * text.size());
    char* source = const_cast<char*>(text.data()); // iconv does not write there
    char* target = data;
    std::size_t left = text.size();
    std::size_t room = growth * text.size();
    iconv(s_converter, &source, &left, &target, &room);
    return blockOf(data, target - data);
}

std::u16string utfcppUtf8ToUtf16(const std::string& text)
{
    return utf8::utf8to16(text);
}

template <Block (*convert)(const std::string&)>
void run(benchmark::State& state, const std::string& text)
{
    for (auto _ : state) {
        const Block block = convert(text);
        benchmark::DoNotOptimize(block.data);
        std::free(block.data);
    }
}

void runUtfcpp(benchmark::State& state, const std::string& text)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(utfcppUtf8ToUtf16(text).data());
}

std::SharedBuf convertOurs(const Codec& source, const Codec& target, const std::string& text)
{
    return source.to(target, units<unsigned char>(text), static_cast<unsigned int>(text.size()),
                     0xFFFFFFFF);
}

template <const auto& source, const auto& target>
void runOurs(benchmark::State& state, const std::string& text)
{
    for (auto _ : state) {
        const std::SharedBuf block = convertOurs(source, target, text);
        benchmark::DoNotOptimize(block.payload());
        block.unref();
    }
}

/// Returns the texts in the encoding `codec`.
std::vector<Input> encoded(const Codec& codec)
{
    std::vector<Input> texts = bench::inputs({bench::KB, 64 * bench::KB});
    for (Input& input : texts) {
        const std::SharedBuf block = convertOurs(std::unicode::UTF8, codec, input.text);
        input.text.assign(static_cast<const char*>(static_cast<const void*>(block.payload())),
                          block.length());
        block.unref();
    }
    return texts;
}

using Convert = Block (*)(const std::string&);

/// All of `others` make the same bytes as we do.
void check(const Codec& source, const Codec& target, std::initializer_list<Convert> others)
{
    for (const Input& input : encoded(source)) {
        const std::SharedBuf ours = convertOurs(source, target, input.text);
        for (const Convert convert : others) {
            const Block theirs = convert(input.text);
            bench::require(theirs.data != nullptr && theirs.bytes == ours.length() &&
                               std::memcmp(theirs.data, ours.payload(), theirs.bytes) == 0,
                           "conversion of " + input.name);
            std::free(theirs.data);
        }
        ours.unref();
    }
}

constexpr Convert ICONV_8_TO_16 = iconvConvert<UTF8_NAME, UTF16_NAME, 2>;
constexpr Convert ICONV_16_TO_8 = iconvConvert<UTF16_NAME, UTF8_NAME, 2>;
constexpr Convert ICONV_8_TO_4 = iconvConvert<UTF8_NAME, UCS4_NAME, 4>;
constexpr Convert ICONV_4_TO_8 = iconvConvert<UCS4_NAME, UTF8_NAME, 1>;

void addUtf8ToUtf16()
{
    using namespace std::unicode;
    check(UTF8, UTF16LE, {icuFromUtf8, glibUtf8ToUtf16, ICONV_8_TO_16, unistringUtf8ToUtf16});
    bench::add("utf8ToUtf16",
               {{"ours", runOurs<UTF8, UTF16LE>},
                {"ICU", run<icuFromUtf8>},
                {"glib", run<glibUtf8ToUtf16>},
                {"iconv", run<ICONV_8_TO_16>},
                {"unistring", run<unistringUtf8ToUtf16>},
                {"utfcpp", runUtfcpp}},
               encoded(UTF8));
}

void addUtf16ToUtf8()
{
    using namespace std::unicode;
    check(UTF16LE, UTF8, {icuUtf16ToUtf8, glibUtf16ToUtf8, ICONV_16_TO_8, unistringUtf16ToUtf8});
    bench::add("utf16ToUtf8",
               {{"ours", runOurs<UTF16LE, UTF8>},
                {"ICU", run<icuUtf16ToUtf8>},
                {"glib", run<glibUtf16ToUtf8>},
                {"iconv", run<ICONV_16_TO_8>},
                {"unistring", run<unistringUtf16ToUtf8>}},
               encoded(UTF16LE));
}

void addUtf8ToUcs4()
{
    using namespace std::unicode;
    check(UTF8, UCS4, {icuUtf8ToUcs4, glibUtf8ToUcs4, ICONV_8_TO_4, unistringUtf8ToUcs4});
    bench::add("utf8ToUcs4",
               {{"ours", runOurs<UTF8, UCS4>},
                {"ICU", run<icuUtf8ToUcs4>},
                {"glib", run<glibUtf8ToUcs4>},
                {"iconv", run<ICONV_8_TO_4>},
                {"unistring", run<unistringUtf8ToUcs4>}},
               encoded(UTF8));
}

void addUcs4ToUtf8()
{
    using namespace std::unicode;
    check(UCS4, UTF8, {icuUcs4ToUtf8, glibUcs4ToUtf8, ICONV_4_TO_8, unistringUcs4ToUtf8});
    bench::add("ucs4ToUtf8",
               {{"ours", runOurs<UCS4, UTF8>},
                {"ICU", run<icuUcs4ToUtf8>},
                {"glib", run<glibUcs4ToUtf8>},
                {"iconv", run<ICONV_4_TO_8>},
                {"unistring", run<unistringUcs4ToUtf8>}},
               encoded(UCS4));
}

} // namespace

void bench::registerCases()
{
    addUtf8ToUtf16();
    addUtf16ToUtf8();
    addUtf8ToUcs4();
    addUcs4ToUtf8();
}
