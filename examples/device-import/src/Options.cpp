// SPDX-License-Identifier: Apache-2.0

#include "Options.h"

#include <charconv>
#include <cstddef>
#include <cstring>
#include <optional>
#include <system_error>

#include <getopt.h>
#include <zel/report.h>

#include "FileEncoding.h"

namespace deviceimport {

namespace {

template <typename Kind>
struct Choice
{
    const char* name;
    Kind kind;
};

constexpr Choice<StorageKind> STORAGES[] = {
    {"stdout", StorageKind::STDOUT},
    {"abort", StorageKind::ABORT},
    {"trace", StorageKind::TRACE},
};

constexpr Choice<Provocation> PROVOCATIONS[] = {
    {"assert", Provocation::ASSERT},
    {"warning", Provocation::WARNING},
    {"abort", Provocation::ABORT},
    {"memory", Provocation::MEMORY},
};

/// Long options, beyond all characters.
enum {
    OPTION_HELP = 0x100,
    OPTION_FIND,
    OPTION_STORAGE,
    OPTION_PROVOKE,
    OPTION_TIME,
    OPTION_TIMEOUT,
    OPTION_OUTPUT,
    OPTION_DUMP,
};

constexpr option LONG_OPTIONS[] = {
    {"help", no_argument, nullptr, OPTION_HELP},
    {"find", required_argument, nullptr, OPTION_FIND},
    {"storage", required_argument, nullptr, OPTION_STORAGE},
    {"provoke", required_argument, nullptr, OPTION_PROVOKE},
    {"time", no_argument, nullptr, OPTION_TIME},
    {"timeout", required_argument, nullptr, OPTION_TIMEOUT},
    {"output", required_argument, nullptr, OPTION_OUTPUT},
    {"dump", required_argument, nullptr, OPTION_DUMP},
    {nullptr, 0, nullptr, 0},
};

/// The colon tells a missing argument from an unknown option, and silences `getopt_long`.
constexpr const char* SHORT_OPTIONS = ":h";

bool fail(const std::string& message)
{
    ZEL_RAISE(TCLAP::Error, 0, message.c_str());
    return false;
}

template <typename Kind, std::size_t COUNT>
bool choose(const char* what, const Choice<Kind> (&choices)[COUNT], const char* name, Kind& kind)
{
    for (const Choice<Kind>& choice : choices) {
        if (std::strcmp(choice.name, name) != 0) continue;
        kind = choice.kind;
        return true;
    }
    return fail(std::string("there is no ") + what + " '" + name + "'");
}

bool chooseName(const std::unicode::String& name, std::optional<std::unicode::String>& find)
{
    if (!isDecodable(name)) return fail("the name to find is not in UTF-8");
    find = name;
    return true;
}

bool chooseFile(const char* option, const std::string& name, std::string& file)
{
    if (name.empty())
        return fail(std::string("option '--") + option + "' needs the name of a file");
    file = name;
    return true;
}

bool chooseTimeout(const std::string& text, zelbase::Duration& timeout)
{
    int milliseconds = 0;
    const char* const end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, milliseconds);
    if (result.ec != std::errc() || result.ptr != end || milliseconds < 1)
        return fail("'" + text + "' is not a number of milliseconds from 1 to 2147483647");
    timeout = zelbase::Duration(milliseconds);
    return true;
}

/// Names the option that `getopt_long` stumbled over, a short one inside a group included.
std::string currentOption(char* const argv[])
{
    if (optopt > 0 && optopt < OPTION_HELP) return std::string("-") + static_cast<char>(optopt);
    return argv[optind - 1];
}

bool takeOption(int found, char* const argv[], Options& options)
{
    switch (found) {
    case 'h':
    case OPTION_HELP: options.help = true; return true;
    case OPTION_FIND: return chooseName(optarg, options.settings.find);
    case OPTION_STORAGE: return choose("storage", STORAGES, optarg, options.settings.storage);
    case OPTION_PROVOKE: return choose("provocation", PROVOCATIONS, optarg, options.provocation);
    case OPTION_TIME: options.time = true; return true;
    case OPTION_TIMEOUT: return chooseTimeout(optarg, options.timeout);
    case OPTION_OUTPUT: return chooseFile("output", optarg, options.output);
    case OPTION_DUMP: return chooseFile("dump", optarg, options.dump);
    case ':': return fail("option '" + currentOption(argv) + "' needs an argument");
    default: return fail("wrong option '" + currentOption(argv) + "'");
    }
}

bool checkFiles(const Options& options)
{
    if (!options.dump.empty()) {
        if (!options.files.empty()) return fail("option '--dump' goes without FILE");
        return options.output.empty() || fail("options '--dump' and '--output' do not go together");
    }
    if (!options.files.empty()) return true;
    if (options.provocation != Provocation::NONE && options.output.empty()) return true;
    return fail("no FILE given");
}

} // namespace

bool parseOptions(int argc, char* argv[], Options& options)
{
    for (;;) {
        const int found = getopt_long(argc, argv, SHORT_OPTIONS, LONG_OPTIONS, nullptr);
        if (found == -1) break;
        if (!takeOption(found, argv, options)) return false;
        if (options.help) return true;
    }
    options.files.assign(argv + optind, argv + argc);
    options.settings.keepDevices = !options.output.empty();
    return checkFiles(options);
}

} // namespace deviceimport
