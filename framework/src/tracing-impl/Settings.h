// SPDX-License-Identifier: Apache-2.0
//
// What the environment says about tracing. Every byte of it is hostile: what cannot be understood
// is left out and told.
//
//     Settings settings;
//     for (const std::string& line : readSettings(settings)) printLine(line);

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_SETTINGS_H
#define TRACINGIMPL_SRC_TRACINGIMPL_SETTINGS_H

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tracing {
namespace impl {

/// Names of the variables.
constexpr const char* LEVELS_VARIABLE = "ZEL_TRACE";
constexpr const char* SINKS_VARIABLE = "ZEL_TRACE_SINKS";
constexpr const char* QUEUE_VARIABLE = "ZEL_TRACE_QUEUE";
constexpr const char* CONTROL_VARIABLE = "ZEL_TRACE_CONTROL";

/// The levels of `ZEL_TRACE`: "warning,net=info,net_tcp=trace".
struct LevelSettings
{
    /// That of the root, if it has one.
    std::optional<short> root;
    /// Those of channels and of what is below them, by the path.
    std::map<std::string, short, std::less<>> paths;
};

/// One sink of `ZEL_TRACE_SINKS`: "stderr,file:/var/log/x.log:1M:3,syslog,dlt".
struct SinkSettings
{
    enum Kind {
        STDERR,
        FILE,
        SYSLOG,
        DLT,
    };

    Kind kind;
    /// As it was written.
    std::string text;
    /// For a file: its name, the bytes after which the next one is begun, and how many there are.
    std::string fileName;
    std::size_t maxSize;
    std::size_t maxFiles;
};

/// Bounds and what holds where nothing is said.
constexpr std::size_t KILOBYTE = 1024;
constexpr std::size_t MEGABYTE = 1024 * KILOBYTE;
constexpr std::size_t MIN_FILE_SIZE = KILOBYTE;
constexpr std::size_t MAX_FILE_SIZE = 1024 * MEGABYTE;
constexpr std::size_t DEFAULT_FILE_SIZE = MEGABYTE;
constexpr std::size_t MAX_FILES = 100;
constexpr std::size_t DEFAULT_FILES = 3;
constexpr std::size_t MAX_QUEUE = std::size_t(1024) * 1024;
constexpr std::size_t DEFAULT_QUEUE = 1024;

struct Settings
{
    LevelSettings levels;
    /// Standard error if there is no variable or it names none that is known.
    std::vector<SinkSettings> sinks;
    /// Messages that the queue holds; 0 is no queue.
    std::size_t queueLength = DEFAULT_QUEUE;
    /// The control socket; empty for none.
    std::string controlPath;
};

/// What was ignored, a line without its end for each.
using Ignored = std::vector<std::string>;

/// Returns the level of a name out of `Levels::NAMES`, or nothing.
std::optional<short> levelOf(std::string_view name);

/// Returns the line that says that a part of `variable` is ignored, without its end.
std::string ignoredLine(const char* variable, std::string_view what, std::string_view why);

/// Read one variable each into what `settings` has; append what they ignore.
void readLevels(std::string_view text, LevelSettings& settings, Ignored& ignored);
void readSinks(std::string_view text, std::vector<SinkSettings>& sinks, Ignored& ignored);
void readQueue(std::string_view text, std::size_t& length, Ignored& ignored);

/// Reads all variables of the process. Returns what was ignored.
Ignored readSettings(Settings& settings);

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_SETTINGS_H
