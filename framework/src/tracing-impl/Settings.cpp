// SPDX-License-Identifier: Apache-2.0

#include "Settings.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <iterator>
#include <system_error>

#include <common/tracing/Levels.h>

#include "Printable.h"

namespace tracing {
namespace impl {

namespace {

constexpr char SEPARATOR = ',';
constexpr char FIELD_SEPARATOR = ':';
constexpr std::string_view FILE_PREFIX = "file:";
constexpr std::string_view UNITS = "KMG"; // of bytes, each 1024 of the one before

void ignore(const char* variable, std::string_view what, const char* why, Ignored& ignored)
{
    ignored.push_back(ignoredLine(variable, what, why));
}

/// Calls `take` with each piece of `text` that is not empty.
template <typename Take>
void forEachPiece(std::string_view text, const Take& take)
{
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, text.find(SEPARATOR));
        if (!piece.empty()) take(piece);
        text.remove_prefix(std::min(text.size(), piece.size() + 1));
    }
}

/// Reads all of `text` as a number. Returns nothing if it is none, or below `least` or above
/// `most`.
std::optional<std::size_t> numberOf(std::string_view text, std::size_t least, std::size_t most)
{
    std::size_t number = 0;
    const char* const end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end) return {};
    if (number < least || number > most) return {};
    return number;
}

/// Reads a number of bytes, as "4096", "64K", "1M" or "1G".
std::optional<std::size_t> sizeOf(std::string_view text)
{
    std::size_t unit = 1;
    const std::size_t index = text.empty() ? UNITS.npos : UNITS.find(text.back());
    if (index != UNITS.npos) {
        unit = std::size_t(1024) << (10 * index);
        text.remove_suffix(1);
    }
    const std::optional<std::size_t> number = numberOf(text, 1, MAX_FILE_SIZE / unit);
    if (!number || *number * unit < MIN_FILE_SIZE) return {};
    return *number * unit;
}

/// Takes what stands behind the last colon of `text`. Returns nothing if there is none.
std::optional<std::string_view> takeLastField(std::string_view& text)
{
    const std::size_t colon = text.rfind(FIELD_SEPARATOR);
    if (colon == text.npos) return {};
    const std::string_view field = text.substr(colon + 1);
    text = text.substr(0, colon);
    return field;
}

/// Returns whether `text` is a number, with a unit or without, be it too large or not.
bool looksLikeNumber(std::string_view text)
{
    if (!text.empty() && UNITS.find(text.back()) != UNITS.npos) text.remove_suffix(1);
    return !text.empty() && text.find_first_not_of("0123456789") == text.npos;
}

/// Reads "NAME", "NAME:SIZE" or "NAME:SIZE:COUNT". A name may hold colons: what is no number there
/// is its part. Returns nothing without a name or with a number out of bounds.
std::optional<SinkSettings> fileOf(std::string_view name)
{
    std::vector<std::string_view> numbers;
    while (numbers.size() < 2) {
        std::string_view rest = name;
        const std::optional<std::string_view> last = takeLastField(rest);
        if (!last || !looksLikeNumber(*last)) break;
        numbers.insert(numbers.begin(), *last);
        name = rest;
    }
    std::optional<std::size_t> size = DEFAULT_FILE_SIZE;
    std::optional<std::size_t> count = DEFAULT_FILES;
    if (!numbers.empty()) size = sizeOf(numbers[0]);
    if (numbers.size() == 2) count = numberOf(numbers[1], 1, MAX_FILES);
    if (name.empty() || !size || !count) return {};
    return SinkSettings{SinkSettings::FILE, {}, std::string(name), *size, *count};
}

std::optional<SinkSettings> sinkOf(std::string_view text)
{
    if (text == "stderr") return SinkSettings{SinkSettings::STDERR, {}, {}, 0, 0};
    if (text == "syslog") return SinkSettings{SinkSettings::SYSLOG, {}, {}, 0, 0};
    if (text == "dlt") return SinkSettings{SinkSettings::DLT, {}, {}, 0, 0};
    if (text.substr(0, FILE_PREFIX.size()) != FILE_PREFIX) return {};
    return fileOf(text.substr(FILE_PREFIX.size()));
}

std::string_view valueOf(const char* variable)
{
    // A program with more rights than its caller has listens to nobody.
    const char* const value = secure_getenv(variable);
    return value == nullptr ? std::string_view() : std::string_view(value);
}

} // namespace

std::optional<short> levelOf(std::string_view name)
{
    const auto begin = std::begin(Levels::NAMES);
    const auto found = std::find(begin, std::end(Levels::NAMES), name);
    if (found == std::end(Levels::NAMES)) return {};
    return static_cast<short>(found - begin);
}

std::string ignoredLine(const char* variable, std::string_view what, std::string_view why)
{
    return std::string(variable) + ": '" + printable(what) + "' is ignored: " + printable(why);
}

void readLevels(std::string_view text, LevelSettings& settings, Ignored& ignored)
{
    forEachPiece(text, [&](std::string_view piece) {
        const std::size_t equals = piece.find('=');
        const bool isRoot = equals == piece.npos;
        const std::optional<short> level = levelOf(isRoot ? piece : piece.substr(equals + 1));
        if (!level)
            ignore(LEVELS_VARIABLE, piece, "no such level", ignored);
        else if (isRoot)
            settings.root = *level;
        else if (equals == 0)
            ignore(LEVELS_VARIABLE, piece, "no channel", ignored);
        else
            settings.paths[std::string(piece.substr(0, equals))] = *level;
    });
}

void readSinks(std::string_view text, std::vector<SinkSettings>& sinks, Ignored& ignored)
{
    forEachPiece(text, [&](std::string_view piece) {
        std::optional<SinkSettings> sink = sinkOf(piece);
        if (!sink) {
            ignore(SINKS_VARIABLE, piece, "no such sink", ignored);
            return;
        }
        sink->text = piece;
        sinks.push_back(std::move(*sink));
    });
}

void readQueue(std::string_view text, std::size_t& length, Ignored& ignored)
{
    if (text.empty()) return;
    const std::optional<std::size_t> number = numberOf(text, 0, MAX_QUEUE);
    if (number)
        length = *number;
    else
        ignore(QUEUE_VARIABLE, text, "no number of messages from 0 to 1048576", ignored);
}

Ignored readSettings(Settings& settings)
{
    Ignored ignored;
    readLevels(valueOf(LEVELS_VARIABLE), settings.levels, ignored);
    readSinks(valueOf(SINKS_VARIABLE), settings.sinks, ignored);
    readQueue(valueOf(QUEUE_VARIABLE), settings.queueLength, ignored);
    settings.controlPath = valueOf(CONTROL_VARIABLE);
    if (settings.sinks.empty())
        settings.sinks.push_back({SinkSettings::STDERR, "stderr", {}, 0, 0});
    return ignored;
}

} // namespace impl
} // namespace tracing
