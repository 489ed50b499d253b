// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as the texts of the environment: levels, sinks and the queue's length, with a line end
// between them. What is taken is within its bounds, and what is not is told on one line each.

#include <algorithm>
#include <string>
#include <vector>

#include <Input.h>
#include <tracing-impl/Settings.h>

namespace {

using fuzz::require;
using namespace tracing::impl;

/// Returns what stands before the first line end, and takes it from `text`.
std::string takeLine(std::string& text)
{
    const std::size_t end = text.find('\n');
    const std::string line = text.substr(0, end);
    text.erase(0, end == text.npos ? text.size() : end + 1);
    return line;
}

bool isPlain(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return (byte >= 0x20 && byte != 0x7F) || c == '\t';
}

/// Each line names the variable, and stays on its line.
void checkTold(const Ignored& ignored, const std::string& variable)
{
    for (const std::string& line : ignored) {
        require(line.rfind(variable + ": '", 0) == 0);
        require(line.find("' is ignored: ") != line.npos);
        require(std::all_of(line.begin(), line.end(), isPlain));
    }
}

std::size_t piecesOf(const std::string& text)
{
    std::size_t count = 0;
    for (std::size_t i = 0; i < text.size(); ++i)
        count += text[i] != ',' && (i == 0 || text[i - 1] == ',') ? 1 : 0;
    return count;
}

bool isLevel(short level)
{
    return level >= 0 && level <= 9;
}

void checkLevels(const std::string& text)
{
    LevelSettings settings;
    Ignored ignored;
    readLevels(text, settings, ignored);
    checkTold(ignored, LEVELS_VARIABLE);
    require(!settings.root || isLevel(*settings.root));
    for (const auto& path : settings.paths) {
        require(isLevel(path.second) && !path.first.empty());
        require(path.first.find(',') == std::string::npos);
        require(path.first.find('=') == std::string::npos);
    }
    // Pieces of the same path take the place of each other, all others are taken or told.
    const std::size_t taken = settings.paths.size() + (settings.root ? 1 : 0);
    require(taken + ignored.size() <= piecesOf(text));
    require(piecesOf(text) == 0 || taken + ignored.size() > 0);
}

void checkSink(const SinkSettings& sink, const std::string& text)
{
    require(!sink.text.empty() && text.find(sink.text) != std::string::npos);
    if (sink.kind != SinkSettings::FILE) {
        require(sink.fileName.empty() && sink.maxSize == 0 && sink.maxFiles == 0);
        return;
    }
    require(sink.text.rfind("file:" + sink.fileName, 0) == 0 && !sink.fileName.empty());
    require(sink.maxSize >= 1024 && sink.maxSize <= 1073741824);
    require(sink.maxFiles >= 1 && sink.maxFiles <= 100);
}

void checkSinks(const std::string& text)
{
    std::vector<SinkSettings> sinks;
    Ignored ignored;
    readSinks(text, sinks, ignored);
    checkTold(ignored, SINKS_VARIABLE);
    for (const SinkSettings& sink : sinks)
        checkSink(sink, text);
    require(sinks.size() + ignored.size() == piecesOf(text));
}

void checkQueue(const std::string& text)
{
    constexpr std::size_t UNTOUCHED = 4000000;
    std::size_t length = UNTOUCHED;
    Ignored ignored;
    readQueue(text, length, ignored);
    checkTold(ignored, QUEUE_VARIABLE);
    require(ignored.size() <= 1);
    const bool isTaken = ignored.empty() && !text.empty();
    require(isTaken ? length <= 1048576 : length == UNTOUCHED);
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
