// SPDX-License-Identifier: Apache-2.0
//
// What it costs to reach a character by its number in texts whose characters have different widths.

#include <string>

#include <unicode/utf8.h>

#include <zelcommon.h>

#include <support/Cases.h>

#include "IcuText.h"

namespace {

using bench::icuText;
using std::unicode::String;

const uint8_t* bytesOf(const std::string& text)
{
    return static_cast<const uint8_t*>(static_cast<const void*>(text.data()));
}

// The character in the middle.

void atOurs(benchmark::State& state, const std::string& bytes)
{
    const String text(bytes);
    const unsigned int middle = text.size() / 2;
    for (auto _ : state)
        benchmark::DoNotOptimize(text.at(middle));
}

void atIcu(benchmark::State& state, const std::string& bytes)
{
    const icu::UnicodeString text = icuText(bytes);
    const int32_t middle = text.countChar32() / 2;
    for (auto _ : state)
        benchmark::DoNotOptimize(text.char32At(text.moveIndex32(0, middle)));
}

UChar32 atInUtf8(const std::string& text, int32_t number)
{
    const uint8_t* const bytes = bytesOf(text);
    const auto size = static_cast<int32_t>(text.size());
    int32_t at = 0;
    U8_FWD_N(bytes, at, size, number);
    UChar32 c = 0;
    U8_NEXT(bytes, at, size, c);
    return c;
}

void atIcuUtf8(benchmark::State& state, const std::string& bytes)
{
    const auto middle = static_cast<int32_t>(String(bytes).size() / 2);
    for (auto _ : state)
        benchmark::DoNotOptimize(atInUtf8(bytes, middle));
}

// The middle third.

void substrOurs(benchmark::State& state, const std::string& bytes)
{
    const String text(bytes);
    const auto third = static_cast<int>(text.size() / 3);
    for (auto _ : state)
        benchmark::DoNotOptimize(text.substr(third, 2 * third).byteLength());
}

void substrIcu(benchmark::State& state, const std::string& bytes)
{
    const icu::UnicodeString text = icuText(bytes);
    const int32_t third = text.countChar32() / 3;
    for (auto _ : state) {
        const int32_t from = text.moveIndex32(0, third);
        const int32_t to = text.moveIndex32(from, third);
        benchmark::DoNotOptimize(text.tempSubStringBetween(from, to).length());
    }
}

void substrIcuUtf8(benchmark::State& state, const std::string& bytes)
{
    const auto third = static_cast<int32_t>(String(bytes).size() / 3);
    const auto size = static_cast<int32_t>(bytes.size());
    const uint8_t* const units = bytesOf(bytes);
    for (auto _ : state) {
        int32_t from = 0;
        U8_FWD_N(units, from, size, third);
        int32_t to = from;
        U8_FWD_N(units, to, size, third);
        benchmark::DoNotOptimize(bytes.data() + from);
        benchmark::DoNotOptimize(to - from);
    }
}

// All characters, one after another.

void walkOurs(benchmark::State& state, const std::string& bytes)
{
    const String text(bytes);
    for (auto _ : state) {
        unsigned int sum = 0;
        for (const unsigned int c : text)
            sum += c;
        benchmark::DoNotOptimize(sum);
    }
}

void walkIcuUtf8(benchmark::State& state, const std::string& bytes)
{
    const auto size = static_cast<int32_t>(bytes.size());
    const uint8_t* const units = bytesOf(bytes);
    for (auto _ : state) {
        UChar32 sum = 0;
        for (int32_t at = 0; at < size;) {
            UChar32 c = 0;
            U8_NEXT(units, at, size, c);
            sum += c;
        }
        benchmark::DoNotOptimize(sum);
    }
}

void checkPlaces(const std::vector<bench::Input>& texts)
{
    for (const bench::Input& input : texts) {
        const String ours(input.text);
        const icu::UnicodeString theirs = icuText(input.text);
        const auto count = static_cast<int32_t>(ours.size());
        const auto there =
            static_cast<unsigned int>(theirs.char32At(theirs.moveIndex32(0, count / 2)));
        bench::require(ours.at(ours.size() / 2) == there, "at of ICU, " + input.name);
        bench::require(static_cast<unsigned int>(atInUtf8(input.text, count / 2)) == there,
                       "at of U8_FWD_N, " + input.name);

        const int32_t from = theirs.moveIndex32(0, count / 3);
        const int32_t to = theirs.moveIndex32(from, count / 3);
        std::string part;
        theirs.tempSubStringBetween(from, to).toUTF8String(part);
        bench::require(ours.substr(count / 3, 2 * (count / 3)).toUtf8() == part,
                       "substr of ICU, " + input.name);
    }
}

} // namespace

void bench::registerCases()
{
    const std::vector<Input> texts = inputs({ASCII, LATIN, MIXED}, {KB, 64 * KB});
    checkPlaces(texts);
    add("at", {{"ours", atOurs}, {"ICU", atIcu}, {"ICU:U8_FWD_N", atIcuUtf8}}, texts);
    add("substr", {{"ours", substrOurs}, {"ICU", substrIcu}, {"ICU:U8_FWD_N", substrIcuUtf8}},
        texts);
    add("walk", {{"ours", walkOurs}, {"ICU:U8_NEXT", walkIcuUtf8}}, texts);
}
