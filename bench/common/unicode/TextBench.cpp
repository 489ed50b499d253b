// SPDX-License-Identifier: Apache-2.0
//
// What texts cost, beside ICU, glib and the standard library where they do the same work. The
// arguments are the kind of text (see SampleText.h) and its size in bytes.

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <absl/strings/str_join.h>
#include <absl/strings/str_replace.h>
#include <absl/strings/str_split.h>
#include <benchmark/benchmark.h>
#include <glib.h>
#include <unicode/uniset.h>
#include <unicode/unistr.h>

#include <zelcommon.h>

#include "SampleText.h"

namespace {

using std::unicode::Codec;
using std::unicode::String;

std::string sample(const benchmark::State& state)
{
    return bench::sampleText(static_cast<bench::Kind>(state.range(0)),
                             static_cast<std::size_t>(state.range(1)));
}

icu::UnicodeString icuText(const std::string& text)
{
    return icu::UnicodeString::fromUTF8(text);
}

// Building a text and its count.

void buildOurs(benchmark::State& state)
{
    const std::string text = sample(state);
    for (auto _ : state) {
        const String built(text);
        benchmark::DoNotOptimize(built.size());
    }
}

void buildIcu(benchmark::State& state)
{
    const std::string text = sample(state);
    for (auto _ : state) {
        const icu::UnicodeString built = icuText(text);
        benchmark::DoNotOptimize(built.countChar32());
    }
}

void buildGlib(benchmark::State& state)
{
    const std::string text = sample(state);
    for (auto _ : state) {
        char* const copy = g_strndup(text.data(), text.size());
        benchmark::DoNotOptimize(g_utf8_strlen(copy, static_cast<gssize>(text.size())));
        g_free(copy);
    }
}

void buildStdString(benchmark::State& state)
{
    const std::string text = sample(state);
    for (auto _ : state) {
        std::string built(text);
        benchmark::DoNotOptimize(built.data());
    }
}

// Conversion.

void convertOurs(benchmark::State& state, const Codec& source, const Codec& target)
{
    const String text(source, sample(state));
    for (auto _ : state) {
        const std::SharedBuf block = source.to(target, text.data(), text.byteLength(), 0xFFFFFFFF);
        benchmark::DoNotOptimize(block.payload());
        block.unref();
    }
}

void utf8ToUtf16Ours(benchmark::State& state)
{
    convertOurs(state, std::unicode::UTF8, std::unicode::UTF16LE);
}

void utf16ToUtf8Ours(benchmark::State& state)
{
    convertOurs(state, std::unicode::UTF16LE, std::unicode::UTF8);
}

void utf8ToUcs4Ours(benchmark::State& state)
{
    convertOurs(state, std::unicode::UTF8, std::unicode::UCS4);
}

void ucs4ToUtf8Ours(benchmark::State& state)
{
    convertOurs(state, std::unicode::UCS4, std::unicode::UTF8);
}

void utf8ToUtf16Icu(benchmark::State& state)
{
    const std::string text = sample(state);
    for (auto _ : state) {
        const icu::UnicodeString converted = icuText(text);
        benchmark::DoNotOptimize(converted.getBuffer());
    }
}

void utf16ToUtf8Icu(benchmark::State& state)
{
    const icu::UnicodeString text = icuText(sample(state));
    for (auto _ : state) {
        std::string converted;
        text.toUTF8String(converted);
        benchmark::DoNotOptimize(converted.data());
    }
}

void utf8ToUtf16Glib(benchmark::State& state)
{
    const std::string text = sample(state);
    for (auto _ : state) {
        gunichar2* const converted = g_utf8_to_utf16(text.data(), static_cast<glong>(text.size()),
                                                     nullptr, nullptr, nullptr);
        benchmark::DoNotOptimize(converted);
        g_free(converted);
    }
}

void utf8ToUcs4Glib(benchmark::State& state)
{
    const std::string text = sample(state);
    for (auto _ : state) {
        gunichar* const converted =
            g_utf8_to_ucs4(text.data(), static_cast<glong>(text.size()), nullptr, nullptr, nullptr);
        benchmark::DoNotOptimize(converted);
        g_free(converted);
    }
}

// Copies and comparison.

void copyOurs(benchmark::State& state)
{
    const String text("a text that is shared");
    for (auto _ : state) {
        const String copy(text);
        benchmark::DoNotOptimize(copy.data());
    }
}

void copySharedPtr(benchmark::State& state)
{
    const auto text = std::make_shared<std::string>("a text that is shared");
    for (auto _ : state) {
        const std::shared_ptr<std::string> copy(text);
        benchmark::DoNotOptimize(copy.get());
    }
}

void equalOurs(benchmark::State& state)
{
    const String first(sample(state));
    const String second(sample(state));
    for (auto _ : state)
        benchmark::DoNotOptimize(first == second);
}

void equalMemcmp(benchmark::State& state)
{
    const std::string first = sample(state);
    const std::string second = sample(state);
    for (auto _ : state)
        benchmark::DoNotOptimize(std::memcmp(first.data(), second.data(), first.size()));
}

void equalAcrossOurs(benchmark::State& state)
{
    const String first(sample(state));
    const String second(std::unicode::UTF16LE, sample(state));
    for (auto _ : state)
        benchmark::DoNotOptimize(first == second);
}

void equalAcrossIcu(benchmark::State& state)
{
    const std::string first = sample(state);
    const icu::UnicodeString second = icuText(first);
    for (auto _ : state)
        benchmark::DoNotOptimize(icuText(first) == second);
}

void lessOurs(benchmark::State& state)
{
    const String first(sample(state));
    const String second(sample(state));
    for (auto _ : state)
        benchmark::DoNotOptimize(first < second);
}

// Search: what is sought stands at the end.

void findOurs(benchmark::State& state)
{
    const String text(sample(state) + "needle");
    const String needle("needle");
    for (auto _ : state)
        benchmark::DoNotOptimize(text.find(needle).position);
}

void findMemmem(benchmark::State& state)
{
    const std::string text = sample(state) + "needle";
    for (auto _ : state)
        benchmark::DoNotOptimize(memmem(text.data(), text.size(), "needle", 6));
}

void findIcu(benchmark::State& state)
{
    const icu::UnicodeString text = icuText(sample(state) + "needle");
    const icu::UnicodeString needle = icuText("needle");
    for (auto _ : state)
        benchmark::DoNotOptimize(text.indexOf(needle));
}

void findAcrossOurs(benchmark::State& state)
{
    const String text(sample(state) + "needle");
    const String needle(std::unicode::UTF16LE, "needle");
    for (auto _ : state)
        benchmark::DoNotOptimize(text.find(needle).position);
}

void findFirstOfOurs(benchmark::State& state)
{
    const String text(sample(state) + ";");
    const String set("#;<>");
    for (auto _ : state)
        benchmark::DoNotOptimize(text.find_first_of(set).position);
}

void findFirstOfStdString(benchmark::State& state)
{
    const std::string text = sample(state) + ";";
    for (auto _ : state)
        benchmark::DoNotOptimize(text.find_first_of("#;<>"));
}

void findFirstOfIcu(benchmark::State& state)
{
    const icu::UnicodeString text = icuText(sample(state) + ";");
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeSet set(icuText("[#;<>]"), status);
    set.freeze();
    for (auto _ : state)
        benchmark::DoNotOptimize(
            set.span(text.getBuffer(), text.length(), USET_SPAN_NOT_CONTAINED));
}

void rfindOurs(benchmark::State& state)
{
    const String text(sample(state) + "needle");
    const String needle("needle");
    for (auto _ : state)
        benchmark::DoNotOptimize(text.rfind(needle).position);
}

void findLastOfOurs(benchmark::State& state)
{
    const String text(sample(state) + ";");
    const String set("#;<>");
    for (auto _ : state)
        benchmark::DoNotOptimize(text.find_last_of(set).position);
}

// Places.

void atTheMiddleOurs(benchmark::State& state)
{
    const String text(sample(state));
    for (auto _ : state)
        benchmark::DoNotOptimize(text.at(text.size() / 2));
}

void atTheMiddleIcu(benchmark::State& state)
{
    const icu::UnicodeString text = icuText(sample(state));
    const int middle = text.countChar32() / 2;
    for (auto _ : state)
        benchmark::DoNotOptimize(text.char32At(text.moveIndex32(0, middle)));
}

// A thousand pieces.

std::string thousandPieces()
{
    std::string text;
    for (int piece = 0; piece < 1000; ++piece)
        text += (piece == 0 ? "piece " : ";piece ") + std::to_string(piece);
    return text;
}

void splitOurs(benchmark::State& state)
{
    const String text(thousandPieces());
    for (auto _ : state)
        for (const String& piece : text.split(";"))
            benchmark::DoNotOptimize(piece.size());
}

void splitAbsl(benchmark::State& state)
{
    const std::string text = thousandPieces();
    for (auto _ : state)
        for (const std::string& piece : std::vector<std::string>(absl::StrSplit(text, ';')))
            benchmark::DoNotOptimize(piece.size());
}

void joinOurs(benchmark::State& state)
{
    const auto pieces = String(thousandPieces()).split(";");
    const std::vector<String> texts(pieces.begin(), pieces.end());
    const String glue(", ");
    for (auto _ : state)
        benchmark::DoNotOptimize(glue.join(texts.begin(), texts.end()).data());
}

void joinAbsl(benchmark::State& state)
{
    const std::vector<std::string> texts = absl::StrSplit(thousandPieces(), ';');
    for (auto _ : state)
        benchmark::DoNotOptimize(absl::StrJoin(texts, ", ").data());
}

void replaceOurs(benchmark::State& state)
{
    const String text(thousandPieces());
    const String what(";");
    const String with(", ");
    for (auto _ : state)
        benchmark::DoNotOptimize(text.replace(what, with).data());
}

void replaceAbsl(benchmark::State& state)
{
    const std::string text = thousandPieces();
    for (auto _ : state)
        benchmark::DoNotOptimize(absl::StrReplaceAll(text, {{";", ", "}}).data());
}

void everyKindAndSize(benchmark::internal::Benchmark* bench)
{
    bench->ArgsProduct({{bench::ASCII, bench::LATIN, bench::CJK, bench::EMOJI, bench::MALFORMED},
                        {64, 1024, 65536}});
}

void wellFormedKinds(benchmark::internal::Benchmark* bench)
{
    bench->ArgsProduct({{bench::ASCII, bench::LATIN, bench::CJK, bench::EMOJI}, {1024, 65536}});
}

void kilobyte(benchmark::internal::Benchmark* bench)
{
    bench->ArgsProduct({{bench::ASCII, bench::LATIN}, {1024}});
}

void longText(benchmark::internal::Benchmark* bench)
{
    bench->ArgsProduct({{bench::ASCII, bench::LATIN}, {65536}});
}

BENCHMARK(buildOurs)->Apply(everyKindAndSize);
BENCHMARK(buildIcu)->Apply(everyKindAndSize);
BENCHMARK(buildGlib)->Apply(everyKindAndSize);
BENCHMARK(buildStdString)->Apply(everyKindAndSize);
BENCHMARK(utf8ToUtf16Ours)->Apply(wellFormedKinds);
BENCHMARK(utf8ToUtf16Icu)->Apply(wellFormedKinds);
BENCHMARK(utf8ToUtf16Glib)->Apply(wellFormedKinds);
BENCHMARK(utf16ToUtf8Ours)->Apply(wellFormedKinds);
BENCHMARK(utf16ToUtf8Icu)->Apply(wellFormedKinds);
BENCHMARK(utf8ToUcs4Ours)->Apply(wellFormedKinds);
BENCHMARK(utf8ToUcs4Glib)->Apply(wellFormedKinds);
BENCHMARK(ucs4ToUtf8Ours)->Apply(wellFormedKinds);
BENCHMARK(copyOurs);
BENCHMARK(copySharedPtr);
BENCHMARK(equalOurs)->Apply(kilobyte);
BENCHMARK(equalMemcmp)->Apply(kilobyte);
BENCHMARK(equalAcrossOurs)->Apply(kilobyte);
BENCHMARK(equalAcrossIcu)->Apply(kilobyte);
BENCHMARK(lessOurs)->Apply(kilobyte);
BENCHMARK(findOurs)->Apply(longText);
BENCHMARK(findMemmem)->Apply(longText);
BENCHMARK(findIcu)->Apply(longText);
BENCHMARK(findAcrossOurs)->Apply(longText);
BENCHMARK(findFirstOfOurs)->Apply(longText);
BENCHMARK(findFirstOfStdString)->Apply(longText);
BENCHMARK(findFirstOfIcu)->Apply(longText);
BENCHMARK(rfindOurs)->Apply(longText);
BENCHMARK(findLastOfOurs)->Apply(longText);
BENCHMARK(atTheMiddleOurs)->Apply(longText);
BENCHMARK(atTheMiddleIcu)->Apply(longText);
BENCHMARK(splitOurs);
BENCHMARK(splitAbsl);
BENCHMARK(joinOurs);
BENCHMARK(joinAbsl);
BENCHMARK(replaceOurs);
BENCHMARK(replaceAbsl);

} // namespace
