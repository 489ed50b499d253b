// SPDX-License-Identifier: Apache-2.0
//
// What it costs to take texts of many pieces apart, to put them together and to replace in them.

#include <string>
#include <vector>

#include <absl/strings/str_join.h>
#include <absl/strings/str_replace.h>
#include <absl/strings/str_split.h>
#include <absl/strings/string_view.h>

#include <zelcommon.h>

#include <support/Cases.h>

namespace {

using std::unicode::String;

std::string textOf(std::size_t pieces)
{
    std::string text;
    for (std::size_t piece = 0; piece < pieces; ++piece)
        text += (piece == 0 ? "piece " : ";piece ") + std::to_string(piece);
    return text;
}

std::vector<std::string> piecesOf(std::size_t count)
{
    return absl::StrSplit(textOf(count), ';');
}

std::vector<String> ourPiecesOf(std::size_t count)
{
    const std::vector<std::string> pieces = piecesOf(count);
    return std::vector<String>(pieces.begin(), pieces.end());
}

void splitOurs(benchmark::State& state, std::size_t pieces)
{
    const String text(textOf(pieces));
    const String separator(";");
    for (auto _ : state)
        for (const String& piece : text.split(separator))
            benchmark::DoNotOptimize(piece.data());
}

void splitAbsl(benchmark::State& state, std::size_t pieces)
{
    const std::string text = textOf(pieces);
    for (auto _ : state)
        for (const std::string& piece : std::vector<std::string>(absl::StrSplit(text, ';')))
            benchmark::DoNotOptimize(piece.data());
}

void splitAbslViews(benchmark::State& state, std::size_t pieces)
{
    const std::string text = textOf(pieces);
    for (auto _ : state)
        for (const absl::string_view piece : absl::StrSplit(text, ';'))
            benchmark::DoNotOptimize(piece.data());
}

void joinOurs(benchmark::State& state, std::size_t pieces)
{
    const std::vector<String> texts = ourPiecesOf(pieces);
    const String glue(", ");
    for (auto _ : state)
        benchmark::DoNotOptimize(glue.join(texts.begin(), texts.end()).data());
}

void joinAbsl(benchmark::State& state, std::size_t pieces)
{
    const std::vector<std::string> texts = piecesOf(pieces);
    for (auto _ : state)
        benchmark::DoNotOptimize(absl::StrJoin(texts, ", ").data());
}

void replaceOurs(benchmark::State& state, std::size_t pieces)
{
    const String text(textOf(pieces));
    const String what(";");
    const String with(", ");
    for (auto _ : state)
        benchmark::DoNotOptimize(text.replace(what, with).data());
}

void replaceAbsl(benchmark::State& state, std::size_t pieces)
{
    const std::string text = textOf(pieces);
    for (auto _ : state)
        benchmark::DoNotOptimize(absl::StrReplaceAll(text, {{";", ", "}}).data());
}

void checkTexts()
{
    const std::vector<String> pieces = ourPiecesOf(1000);
    const std::string expected = absl::StrJoin(piecesOf(1000), ", ");
    bench::require(String(", ").join(pieces.begin(), pieces.end()).toUtf8() == expected, "join");
    bench::require(String(textOf(1000)).replace(";", ", ").toUtf8() == expected, "replace");
    bench::require(absl::StrReplaceAll(textOf(1000), {{";", ", "}}) == expected, "StrReplaceAll");
    std::size_t count = 0;
    for (const String& piece : String(textOf(1000)).split(";"))
        count += piece.empty() ? 0U : 1U;
    bench::require(count == 1000, "split");
}

} // namespace

void bench::registerCases()
{
    checkTexts();
    const auto counts = {std::size_t{1000}, std::size_t{10000}, std::size_t{100000}};
    add("join", {{"ours", joinOurs}, {"absl", joinAbsl}}, counts);
    add("replace", {{"ours", replaceOurs}, {"absl", replaceAbsl}}, counts);
    add("split", {{"ours", splitOurs}, {"absl", splitAbsl}, {"absl:views", splitAbslViews}},
        counts);
}
