// SPDX-License-Identifier: Apache-2.0
//
// What searches through a long text cost, where what is sought stands at its end: forward ones pass
// the whole text, backward ones hardly anything. We tell the place by characters and by bytes;
// peers tell it by units.

#include <cstring>
#include <string>

#include <unicode/uniset.h>

#include <zelcommon.h>

#include <support/Cases.h>

#include "IcuText.h"

namespace {

using bench::icuText;
using std::unicode::String;

const std::string NEEDLE = "needle";
const std::string SET = "#;<>";

icu::UnicodeSet icuSet()
{
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeSet set(icuText("[" + SET + "]"), status);
    set.freeze();
    return set;
}

/// Calls `search` with our text of `bytes` and what is sought, again and again.
template <typename Search>
void searchOurs(benchmark::State& state, const std::string& bytes, const String& sought,
                Search search)
{
    const String text(bytes);
    for (auto _ : state)
        benchmark::DoNotOptimize(search(text, sought).position);
}

// A word.

void findOurs(benchmark::State& state, const std::string& bytes)
{
    searchOurs(state, bytes, NEEDLE,
               [](const String& text, const String& needle) { return text.find(needle); });
}

void findAcrossOurs(benchmark::State& state, const std::string& bytes)
{
    searchOurs(state, bytes, String(std::unicode::UTF16LE, NEEDLE),
               [](const String& text, const String& needle) { return text.find(needle); });
}

void rfindOurs(benchmark::State& state, const std::string& bytes)
{
    searchOurs(state, bytes, NEEDLE,
               [](const String& text, const String& needle) { return text.rfind(needle); });
}

std::size_t charactersOf(const char* first, const char* last)
{
    std::size_t count = 0;
    for (; first != last; ++first)
        count += (static_cast<unsigned char>(*first) & 0xC0) != 0x80 ? 1U : 0U;
    return count;
}

void findMemmem(benchmark::State& state, const std::string& text)
{
    for (auto _ : state) {
        const void* const hit = memmem(text.data(), text.size(), NEEDLE.data(), NEEDLE.size());
        benchmark::DoNotOptimize(charactersOf(text.data(), static_cast<const char*>(hit)));
    }
}

void findIcu(benchmark::State& state, const std::string& bytes)
{
    const icu::UnicodeString text = icuText(bytes);
    const icu::UnicodeString needle = icuText(NEEDLE);
    for (auto _ : state)
        benchmark::DoNotOptimize(text.indexOf(needle));
}

void findAcrossIcu(benchmark::State& state, const std::string& bytes)
{
    const icu::UnicodeString text = icuText(bytes);
    for (auto _ : state)
        benchmark::DoNotOptimize(text.indexOf(icuText(NEEDLE)));
}

void findStd(benchmark::State& state, const std::string& text)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(text.find(NEEDLE));
}

void rfindIcu(benchmark::State& state, const std::string& bytes)
{
    const icu::UnicodeString text = icuText(bytes);
    const icu::UnicodeString needle = icuText(NEEDLE);
    for (auto _ : state)
        benchmark::DoNotOptimize(text.lastIndexOf(needle));
}

void rfindStd(benchmark::State& state, const std::string& text)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(text.rfind(NEEDLE));
}

// A character out of a set of four, or out of none.

void findFirstOfOurs(benchmark::State& state, const std::string& bytes)
{
    searchOurs(state, bytes, SET,
               [](const String& text, const String& set) { return text.find_first_of(set); });
}

void findLastOfOurs(benchmark::State& state, const std::string& bytes)
{
    searchOurs(state, bytes, SET,
               [](const String& text, const String& set) { return text.find_last_of(set); });
}

void findFirstNotOfOurs(benchmark::State& state, const std::string& bytes)
{
    searchOurs(state, bytes, SET,
               [](const String& text, const String& set) { return text.find_first_not_of(set); });
}

void findLastNotOfOurs(benchmark::State& state, const std::string& bytes)
{
    searchOurs(state, bytes, SET,
               [](const String& text, const String& set) { return text.find_last_not_of(set); });
}

void findFirstOfStd(benchmark::State& state, const std::string& text)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(text.find_first_of(SET));
}

void findFirstNotOfStd(benchmark::State& state, const std::string& text)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(text.find_first_not_of(SET));
}

template <USetSpanCondition condition>
void spanIcu(benchmark::State& state, const std::string& bytes)
{
    const icu::UnicodeString text = icuText(bytes);
    const icu::UnicodeSet set = icuSet();
    for (auto _ : state)
        benchmark::DoNotOptimize(set.span(text.getBuffer(), text.length(), condition));
}

template <USetSpanCondition condition>
void spanIcuUtf8(benchmark::State& state, const std::string& text)
{
    const icu::UnicodeSet set = icuSet();
    const auto size = static_cast<int32_t>(text.size());
    for (auto _ : state)
        benchmark::DoNotOptimize(set.spanUTF8(text.data(), size, condition));
}

template <USetSpanCondition condition>
void spanBackIcu(benchmark::State& state, const std::string& bytes)
{
    const icu::UnicodeString text = icuText(bytes);
    const icu::UnicodeSet set = icuSet();
    for (auto _ : state)
        benchmark::DoNotOptimize(set.spanBack(text.getBuffer(), text.length(), condition));
}

/// Returns 64 KB of each kind, ended by `end`.
std::vector<bench::Input> textsEndingIn(const std::string& end)
{
    std::vector<bench::Input> texts = bench::inputs({64 * bench::KB});
    for (bench::Input& input : texts)
        input.text += end;
    return texts;
}

/// Returns 64 KB of nothing but the set's characters, ended by one that is not in it.
std::vector<bench::Input> members()
{
    std::string text;
    while (text.size() < 64 * bench::KB)
        text += SET;
    return {{"members/64K", text + "x"}};
}

void checkWords(const std::vector<bench::Input>& texts)
{
    for (const bench::Input& input : texts) {
        const String text(input.text);
        const auto end = static_cast<unsigned int>(input.text.rfind(NEEDLE));
        bench::require(text.find(NEEDLE).position.bytes == end, "find, " + input.name);
        bench::require(text.rfind(NEEDLE).position.bytes == end, "rfind, " + input.name);
        bench::require(text.find(String(std::unicode::UTF16LE, NEEDLE)).position.bytes == end,
                       "find across encodings, " + input.name);
        bench::require(charactersOf(input.text.data(), input.text.data() + end) ==
                           text.find(NEEDLE).position.chars,
                       "count before the hit, " + input.name);
    }
}

void checkSets(const std::vector<bench::Input>& texts)
{
    for (const bench::Input& input : texts) {
        const String text(input.text);
        const auto end = static_cast<unsigned int>(input.text.find_first_of(SET));
        bench::require(text.find_first_of(SET).position.bytes == end, "first, " + input.name);
        bench::require(text.find_last_of(SET).position.bytes == end, "last, " + input.name);
        bench::require(icuSet().spanUTF8(input.text.data(), static_cast<int32_t>(input.text.size()),
                                         USET_SPAN_NOT_CONTAINED) == static_cast<int32_t>(end),
                       "span of ICU, " + input.name);
    }
}

} // namespace

void bench::registerCases()
{
    const std::vector<Input> words = textsEndingIn(NEEDLE);
    const std::vector<Input> separated = textsEndingIn(";");
    checkWords(words);
    checkSets(separated);
    add("find",
        {{"ours", findOurs},
         {"floor:memmem+count", findMemmem},
         {"ICU", findIcu},
         {"std", findStd}},
        words);
    add("findAcross",
        {{"ours", findAcrossOurs}, {"one-encoding", findOurs}, {"ICU", findAcrossIcu}}, words);
    add("rfind", {{"ours", rfindOurs}, {"forward", findOurs}, {"ICU", rfindIcu}, {"std", rfindStd}},
        words);
    add("findFirstOf",
        {{"ours", findFirstOfOurs},
         {"ICU", spanIcu<USET_SPAN_NOT_CONTAINED>},
         {"ICU:spanUTF8", spanIcuUtf8<USET_SPAN_NOT_CONTAINED>},
         {"std", findFirstOfStd}},
        separated);
    add("findLastOf",
        {{"ours", findLastOfOurs},
         {"forward", findFirstOfOurs},
         {"ICU", spanBackIcu<USET_SPAN_NOT_CONTAINED>}},
        separated);
    add("findFirstNotOf",
        {{"ours", findFirstNotOfOurs},
         {"ICU", spanIcu<USET_SPAN_CONTAINED>},
         {"ICU:spanUTF8", spanIcuUtf8<USET_SPAN_CONTAINED>},
         {"std", findFirstNotOfStd}},
        members());
    add("findLastNotOf",
        {{"ours", findLastNotOfOurs},
         {"forward", findFirstNotOfOurs},
         {"ICU", spanBackIcu<USET_SPAN_CONTAINED>}},
        members());
}
