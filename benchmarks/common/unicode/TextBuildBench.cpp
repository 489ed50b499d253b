// SPDX-License-Identifier: Apache-2.0
//
// What it costs to take UTF-8 over into a text and to know its number of characters. Whoever counts
// looks at every byte for being well-formed, as we do; who cannot count malformed bytes is left out
// there.

#include <cstdlib>
#include <cstring>
#include <string>

#include <glib.h>
#include <unistr.h>
#include <utf8.h>

#include <zelcommon.h>

#include <support/Cases.h>

#include "IcuText.h"

namespace {

using std::unicode::String;

unsigned int countOurs(const std::string& text)
{
    const String built(text);
    return built.size();
}

unsigned int countIcu(const std::string& text)
{
    const icu::UnicodeString built = bench::icuText(text);
    return static_cast<unsigned int>(built.countChar32());
}

/// The bytes that `text` is copied to.
class Copy
{
public:
    explicit Copy(const std::string& text)
        : m_bytes(static_cast<char*>(std::malloc(text.size()))), m_size(text.size())
    {
        std::memcpy(m_bytes, text.data(), m_size);
    }
    ~Copy() { std::free(m_bytes); }
    Copy(const Copy&) = delete;
    Copy& operator=(const Copy&) = delete;

    const char* data() const { return m_bytes; }
    std::size_t size() const { return m_size; }
    const uint8_t* units() const
    {
        return static_cast<const uint8_t*>(static_cast<void*>(m_bytes));
    }

private:
    char* const m_bytes;
    const std::size_t m_size;
};

unsigned int countGlib(const std::string& text)
{
    const Copy built(text);
    if (g_utf8_validate_len(built.data(), built.size(), nullptr) == FALSE) return 0;
    return static_cast<unsigned int>(
        g_utf8_strlen(built.data(), static_cast<gssize>(built.size())));
}

unsigned int countRepairedGlib(const std::string& text)
{
    char* const built = g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()));
    const auto count = static_cast<unsigned int>(g_utf8_strlen(built, -1));
    g_free(built);
    return count;
}

unsigned int countUtfcpp(const std::string& text)
{
    const std::string built(text);
    return static_cast<unsigned int>(utf8::distance(built.begin(), built.end()));
}

unsigned int countUnistring(const std::string& text)
{
    const Copy built(text);
    if (u8_check(built.units(), built.size()) != nullptr) return 0;
    return static_cast<unsigned int>(u8_mbsnlen(built.units(), built.size()));
}

template <unsigned int (*count)(const std::string&)>
void build(benchmark::State& state, const std::string& text)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(count(text));
}

void buildBytes(benchmark::State& state, const std::string& text)
{
    for (auto _ : state) {
        const Copy built(text);
        benchmark::DoNotOptimize(built.data());
    }
}

void checkCounts(const std::vector<bench::Input>& texts)
{
    for (const bench::Input& input : texts) {
        const unsigned int count = countOurs(input.text);
        bench::require(count != 0 && count == countIcu(input.text), "count of ICU, " + input.name);
        bench::require(count == countGlib(input.text), "count of glib, " + input.name);
        bench::require(count == countUtfcpp(input.text), "count of utfcpp, " + input.name);
        bench::require(count == countUnistring(input.text), "count of libunistring, " + input.name);
    }
}

#ifdef BENCH_PORTABLE
constexpr bool IS_PORTABLE = true;
#else
constexpr bool IS_PORTABLE = false;
#endif

void addPortable()
{
    const std::vector<bench::Input> texts = bench::inputs({64 * bench::KB});
    checkCounts(texts);
    bench::add("buildPortable", {{"ours", build<countOurs>}, {"ICU", build<countIcu>}}, texts);
}

void addWellFormed()
{
    const std::vector<bench::Input> texts = bench::inputs({64, 64 * bench::KB});
    checkCounts(texts);
    bench::add("build",
               {{"ours", build<countOurs>},
                {"floor:malloc+memcpy", buildBytes},
                {"ICU", build<countIcu>},
                {"glib", build<countGlib>},
                {"utfcpp", build<countUtfcpp>},
                {"unistring", build<countUnistring>}},
               texts);
}

void addIllFormed()
{
    bench::add("build",
               {{"ours", build<countOurs>},
                {"floor:malloc+memcpy", buildBytes},
                {"ICU", build<countIcu>},
                {"glib", build<countRepairedGlib>}},
               bench::inputs({bench::MALFORMED, bench::DAMAGED}, {64, 64 * bench::KB}));
}

} // namespace

void bench::registerCases()
{
    if (IS_PORTABLE) {
        addPortable();
        return;
    }
    addWellFormed();
    addIllFormed();
}
