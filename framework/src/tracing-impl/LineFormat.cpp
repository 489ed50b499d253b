// SPDX-License-Identifier: Apache-2.0

#include "LineFormat.h"

#include <algorithm>
#include <cstdio>

#include <common/UUID.h>
#include <common/tracing/Levels.h>

#include "LocalTime.h"
#include "Printable.h"

namespace tracing {
namespace impl {

namespace {

constexpr unsigned int NANOSECONDS_OF_A_MICROSECOND = 1000;

void appendBytes(std::string& out, std::string_view bytes)
{
    for (const char c : bytes.substr(0, MAX_SHOWN_BYTES)) {
        out += ' ';
        std::UUID::appendHex(out, static_cast<unsigned char>(c));
    }
    if (bytes.size() > MAX_SHOWN_BYTES) out += " ...";
}

// What a terminal takes for the beginning and the end of a colour (ECMA-48, 8.3.117).
constexpr const char* COLOURS[] = {
    "\x1b[37m",        // trace: white
    "\x1b[36m",        // debug: cyan
    "\x1b[32m",        // info: green
    "\x1b[33m\x1b[1m", // warning: yellow, bold
    "\x1b[31m\x1b[1m", // error: red, bold
    "\x1b[1m\x1b[41m", // fatal: bold on red
};
constexpr const char* COLOUR_END = "\x1b[m";

std::string colourOf(short level)
{
    return COLOURS[std::clamp(level, short(Levels::LevelTRACE), short(Levels::LevelFATAL))];
}

std::string lineOf(const Message& message, const TimeZones& zones, const std::string& level)
{
    std::string line;
    appendTime(line, message, zones);
    line += ' ' + level + ' ';
    appendRest(line, message);
    line += '\n';
    return line;
}

} // namespace

std::string levelName(short level)
{
    if (level < Levels::LevelTRACE || level > Levels::LevelDEFAULT) return std::to_string(level);
    return Levels::NAMES[level];
}

void appendTime(std::string& out, const Message& message, const TimeZones& zones)
{
    const long long seconds = localSeconds(message.time.tv_sec);
    const auto nanoseconds = static_cast<unsigned int>(message.time.tv_nsec);
    const unsigned int microseconds = nanoseconds / NANOSECONDS_OF_A_MICROSECOND % 1000000;
    char fraction[sizeof ".000000"];
    std::snprintf(fraction, sizeof fraction, ".%06u", microseconds);
    appendDate(out, seconds);
    out += ' ';
    appendClock(out, seconds);
    out += fraction;
    zones.append(out, seconds);
}

void appendThread(std::string& out, const Message& message)
{
    out += '[' + std::to_string(message.threadId);
    if (!message.threadName.empty()) {
        out += ' ';
        appendPrintable(out, message.threadName);
    }
    out += ']';
}

void appendBody(std::string& out, const Message& message)
{
    if (message.hasStamp) out += "@" + std::to_string(message.stamp) + " ";
    const std::string size = std::to_string(message.payload.size());
    if (message.isRaw) out += "type " + std::to_string(message.messageType) + ", ";
    if ((message.modifiers & Modifiers::OBFUSCATE) != 0) {
        out += size + " bytes, obfuscated";
    } else if (message.isRaw) {
        out += size + " bytes:";
        appendBytes(out, message.payload);
    } else {
        appendPrintable(out, message.payload);
    }
}

void appendRest(std::string& out, const Message& message)
{
    appendPrintable(out, message.path);
    out += ' ';
    appendThread(out, message);
    out += ' ';
    appendBody(out, message);
}

std::string lineOf(const Message& message, const TimeZones& zones)
{
    return lineOf(message, zones, levelName(message.level));
}

std::string colouredLineOf(const Message& message, const TimeZones& zones)
{
    return lineOf(message, zones, colourOf(message.level) + levelName(message.level) + COLOUR_END);
}

} // namespace impl
} // namespace tracing
