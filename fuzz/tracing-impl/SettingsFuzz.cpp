// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as the texts of the environment: levels, sinks and the queue's length, with a line end
// between them. What is taken, and what is told of the rest, must be what a slow reader finds.

#include <algorithm>
#include <string>
#include <vector>

#include <Input.h>
#include <tracing-impl/Settings.h>

#include "SlowSettings.h"

namespace {

using fuzz::requireSame;
using fuzz::slow::SlowSettings;
using fuzz::slow::Texts;
using namespace tracing::impl;

/// Returns what stands before the first line end, and takes it from `text`.
std::string takeLine(std::string& text)
{
    const std::size_t end = text.find('\n');
    const std::string line = text.substr(0, end);
    text.erase(0, end == text.npos ? text.size() : end + 1);
    return line;
}

std::string joined(const Texts& lines)
{
    std::string text;
    for (const std::string& line : lines)
        text += line + "\n";
    return text;
}

bool isPlain(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return (byte >= 0x20 && byte != 0x7F) || c == '\t';
}

void check(SlowSettings expected, Texts taken, const Ignored& ignored)
{
    std::sort(expected.taken.begin(), expected.taken.end());
    std::sort(taken.begin(), taken.end());
    requireSame(joined(expected.taken), joined(taken));
    requireSame(joined(expected.ignored), joined(ignored));
    for (const std::string& line : ignored)
        fuzz::require(std::all_of(line.begin(), line.end(), isPlain));
}

void checkLevels(const std::string& text)
{
    LevelSettings settings;
    Ignored ignored;
    readLevels(text, settings, ignored);
    Texts taken;
    if (settings.root) taken.push_back("=" + std::to_string(*settings.root));
    for (const auto& path : settings.paths)
        taken.push_back(path.first + "=" + std::to_string(path.second));
    SlowSettings expected;
    expected.readLevels(text);
    check(expected, taken, ignored);
}

void checkSinks(const std::string& text)
{
    std::vector<SinkSettings> sinks;
    Ignored ignored;
    readSinks(text, sinks, ignored);
    Texts taken;
    for (const SinkSettings& sink : sinks)
        taken.push_back(sink.text + " " + std::to_string(sink.kind) + " " + sink.fileName + " " +
                        std::to_string(sink.maxSize) + " " + std::to_string(sink.maxFiles));
    SlowSettings expected;
    expected.readSinks(text);
    check(expected, taken, ignored);
}

void checkQueue(const std::string& text)
{
    constexpr std::size_t UNTOUCHED = 4000000;
    std::size_t length = UNTOUCHED;
    Ignored ignored;
    readQueue(text, length, ignored);
    Texts taken;
    if (length != UNTOUCHED) taken.push_back(std::to_string(length));
    SlowSettings expected;
    expected.readQueue(text);
    check(expected, taken, ignored);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::string text(data, data + size);
    checkLevels(takeLine(text));
    checkSinks(takeLine(text));
    checkQueue(takeLine(text));
    // A variable may hold line ends itself.
    const std::string whole(data, data + size);
    checkLevels(whole);
    checkSinks(whole);
    checkQueue(whole);
    return 0;
}
