// SPDX-License-Identifier: Apache-2.0
//
// The cases of golden.txt, one a line: an operation, its arguments, and after " = " what it
// answers. Texts are noted as support/TextNotation.h says. Numbers of bytes, characters and steps
// are decimal, bytes and code points hexadecimal.

#include <fstream>
#include <map>
#include <string>
#include <vector>

#include <common/unicode/String.h>
#include <gtest/gtest.h>
#include <support/LibraryText.h>

namespace {

using std::unicode::Codec;
using std::unicode::String;
using support::bytesText;
using support::ExactBytes;
using support::hexText;
using support::hexValue;
using support::shown;
using Words = std::vector<std::string>;

unsigned int number(const std::string& word)
{
    return static_cast<unsigned int>(std::stoul(word));
}

const Codec& codecNamed(const std::string& name)
{
    return support::codecOf(support::encodingNamed(name));
}

String textNamed(const std::string& word)
{
    const Words parts = support::parts(word, '+');
    const support::NotedPart noted(parts.at(0));
    String text = support::stringOf(noted.encoding, noted.data);
    for (std::size_t i = 1; i < parts.size(); ++i)
        text = text + textNamed(parts[i]);
    return text;
}

/// Bytes in memory of exactly their size, and how to read them.
struct Source
{
    explicit Source(const std::string& word)
        : codec(codecNamed(support::parts(word, ':').at(0))), data(support::NotedPart(word).data)
    {}

    const Codec& codec;
    ExactBytes data;
};

std::string forward(const Words& w)
{
    const Source source(w[1]);
    Codec::Index at = {0, number(w[2])};
    unsigned int last = 0xEEEEEEEE;
    const unsigned int result =
        source.codec.read_forward(source.data.data(), source.data.size(), at, number(w[3]), last);
    return std::to_string(result) + " " + shown(at) + " " + hexText(last);
}

std::string write(const Words& w)
{
    const ExactBytes room(support::slow::Bytes(number(w[2]), 0xEE));
    Codec::Index at = {0, number(w[3])};
    const unsigned int result =
        codecNamed(w[1]).write_forward(room.data(), room.size(), at, hexValue(w[4]));
    return std::to_string(result) + " " + shown(at) + " " + bytesText(room.copy());
}

std::string convert(const Words& w)
{
    const Source source(w[1]);
    const support::HeldBlock result(
        source.codec.to(codecNamed(w[2]), source.data.data(), source.data.size(), number(w[3])));
    return bytesText(result.bytes());
}

std::string compare(const Words& w)
{
    const String a = textNamed(w[1]);
    const String b = textNamed(w[2]);
    return std::string(a == b ? "=" : "") + (a < b ? "<" : "") + (a > b ? ">" : "");
}

template <String::Iterator (String::*Search)(const String&, const String::Iterator&) const>
std::string search(const Words& w)
{
    const String text = textNamed(w[1]);
    String::Iterator from = text.begin();
    for (unsigned int i = number(w[3]); i > 0; --i)
        ++from;
    return shown((text.*Search)(textNamed(w[2]), from));
}

std::string split(const Words& w)
{
    std::string pieces;
    for (const String& piece : textNamed(w[1]).split(textNamed(w[2])))
        pieces += (pieces.empty() ? "" : " ") + shown(piece);
    return pieces.empty() ? "none" : pieces;
}

std::string join(const Words& w)
{
    std::vector<String> pieces;
    for (std::size_t i = 2; i < w.size(); ++i)
        pieces.push_back(textNamed(w[i]));
    return shown(textNamed(w[1]).join(pieces.begin(), pieces.end()));
}

using Answer = std::string (*)(const Words&);

const std::map<std::string, Answer> ANSWERS = {
    {"type",
     [](const Words& w) {
         return std::to_string(
             std::unicode::Utf8::type(static_cast<unsigned char>(hexValue(w[1]))));
     }},
    {"read",
     [](const Words& w) {
         const Source source(w[1]);
         return hexText(
             source.codec.read(source.data.data(), source.data.size(), {0, number(w[2])}));
     }},
    {"forward", forward},
    {"write", write},
    {"bytes",
     [](const Words& w) { return std::to_string(codecNamed(w[1]).encoded_bytes(hexValue(w[2]))); }},
    {"place",
     [](const Words& w) {
         const Source source(w[1]);
         return shown(source.codec.at(source.data.data(), source.data.size(), number(w[2])));
     }},
    {"convert", convert},
    {"value", [](const Words& w) { return shown(String(hexValue(w[1]))); }},
    {"char", [](const Words& w) { return shown(String(codecNamed(w[1]), hexValue(w[2]))); }},
    {"text", [](const Words& w) { return shown(String(codecNamed(w[1]), textNamed(w[2]))); }},
    {"count",
     [](const Words& w) {
         const String text = textNamed(w[1]);
         return std::to_string(text.count()) + " of " + std::to_string(text.size());
     }},
    {"at", [](const Words& w) { return hexText(textNamed(w[1]).at(number(w[2]))); }},
    {"compare", compare},
    {"find", search<&String::find>},
    {"rfind", search<&String::rfind>},
    {"find_first_of", search<&String::find_first_of>},
    {"find_first_not_of", search<&String::find_first_not_of>},
    {"find_last_of", search<&String::find_last_of>},
    {"find_last_not_of", search<&String::find_last_not_of>},
    {"substr",
     [](const Words& w) {
         return shown(textNamed(w[1]).substr(std::stoi(w[2]), std::stoi(w[3])));
     }},
    {"plus", [](const Words& w) { return shown(textNamed(w[1]) + textNamed(w[2])); }},
    {"times", [](const Words& w) { return shown(textNamed(w[1]) * number(w[2])); }},
    {"split", split},
    {"join", join},
    {"replace", [](const Words& w) {
         return shown(textNamed(w[1]).replace(textNamed(w[2]), textNamed(w[3])));
     }}};

struct GoldenCase
{
    std::string call;
    std::string answer;
};

/// The cases of `operation`.
std::vector<GoldenCase> casesOf(const std::string& operation)
{
    std::vector<GoldenCase> cases;
    std::ifstream file(GOLDEN_FILE);
    for (std::string line; std::getline(file, line);) {
        const std::size_t equals = line.find(" = ");
        if (line.compare(0, operation.size() + 1, operation + " ") != 0) continue;
        cases.push_back({line.substr(0, equals), line.substr(equals + 3)});
    }
    return cases;
}

class Golden : public testing::TestWithParam<std::string>
{};

TEST_P(Golden, AnswersAsWritten)
{
    const Answer answer = ANSWERS.at(GetParam());
    const std::vector<GoldenCase> cases = casesOf(GetParam());
    EXPECT_GE(cases.size(), 40u);
    for (const GoldenCase& golden : cases)
        EXPECT_EQ(golden.answer, answer(support::parts(golden.call, ' '))) << golden.call;
}

std::vector<std::string> operations()
{
    std::vector<std::string> names;
    for (const auto& entry : ANSWERS)
        names.push_back(entry.first);
    return names;
}

INSTANTIATE_TEST_SUITE_P(Operations, Golden, testing::ValuesIn(operations()),
                         [](const auto& test) { return test.param; });

TEST(GoldenFile, HoldsOnlyKnownOperations)
{
    std::ifstream file(GOLDEN_FILE);
    int lines = 0;
    for (std::string line; std::getline(file, line); ++lines)
        EXPECT_EQ(1u, ANSWERS.count(line.substr(0, line.find(' ')))) << line;
    EXPECT_GE(lines, 2000);
}

} // namespace
