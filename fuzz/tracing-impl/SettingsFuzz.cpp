// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as the texts of the environment: levels, sinks, the queue's length and the control
// socket, with a line end between them, each by itself and all as variables. What is taken, and
// what is told of the rest, must be what a slow reader finds.

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

/// Of settings, as the slow reader writes them down.
Texts takenOf(const LevelSettings& settings)
{
    Texts taken;
    if (settings.root) taken.push_back("=" + std::to_string(*settings.root));
    for (const auto& path : settings.paths)
        taken.push_back(path.first + "=" + std::to_string(path.second));
    return taken;
}

Texts takenOf(const std::vector<SinkSettings>& sinks)
{
    Texts taken;
    for (const SinkSettings& sink : sinks)
        taken.push_back(sink.text + " " + std::to_string(sink.kind) + " " + sink.fileName + " " +
                        std::to_string(sink.maxSize) + " " + std::to_string(sink.maxFiles));
    return taken;
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
    SlowSettings expected;
    expected.readLevels(text);
    check(expected, takenOf(settings), ignored);
}

void checkSinks(const std::string& text)
{
    std::vector<SinkSettings> sinks;
    Ignored ignored;
    readSinks(text, sinks, ignored);
    SlowSettings expected;
    expected.readSinks(text);
    check(expected, takenOf(sinks), ignored);
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

/// A variable of the environment for as long as this object lives.
class Variable
{
public:
    Variable(const char* name, const std::string& value) : m_name(name), m_text(name)
    {
        m_text.append("=").append(value);
        fuzz::require(putenv(m_text.data()) == 0); // without a copy that is never freed
    }
    ~Variable() { unsetenv(m_name); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    const char* m_name;
    std::string m_text;
};

void append(Texts& to, const Texts& from)
{
    to.insert(to.end(), from.begin(), from.end());
}

/// What the variables come to together, with what holds where they say nothing.
SlowSettings expectedOf(const std::string (&values)[4])
{
    SlowSettings levels;
    SlowSettings sinks;
    SlowSettings queue;
    levels.readLevels(values[0]);
    sinks.readSinks(values[1]);
    queue.readQueue(values[2]);
    if (sinks.taken.empty()) sinks.taken.emplace_back("stderr 0  0 0");
    if (queue.taken.empty()) queue.taken.emplace_back("1024");
    for (const SlowSettings& more : {sinks, queue}) {
        append(levels.taken, more.taken);
        append(levels.ignored, more.ignored);
    }
    return levels;
}

/// All variables at once. A value ends before the first zero.
void checkEnvironment(std::string text)
{
    std::string values[4];
    for (std::string& value : values)
        value = takeLine(text).c_str();
    const Variable levels("ZEL_TRACE", values[0]);
    const Variable sinks("ZEL_TRACE_SINKS", values[1]);
    const Variable queue("ZEL_TRACE_QUEUE", values[2]);
    const Variable control("ZEL_TRACE_CONTROL", values[3]);
    Settings settings;
    const Ignored ignored = readSettings(settings);
    Texts taken = takenOf(settings.levels);
    append(taken, takenOf(settings.sinks));
    taken.push_back(std::to_string(settings.queueLength));
    check(expectedOf(values), taken, ignored);
    requireSame(values[3], settings.controlPath);
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
    checkEnvironment(whole);
    return 0;
}
