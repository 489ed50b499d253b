// SPDX-License-Identifier: Apache-2.0

#include "Options.h"

#include <charconv>
#include <cstddef>
#include <cstring>
#include <system_error>

#include <getopt.h>
#include <zel/report.h>

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
    OPTION_STORAGE,
    OPTION_PROVOKE,
    OPTION_TIME,
    OPTION_TIMEOUT,
};

constexpr option LONG_OPTIONS[] = {
    {"help", no_argument, nullptr, OPTION_HELP},
    {"storage", required_argument, nullptr, OPTION_STORAGE},
    {"provoke", required_argument, nullptr, OPTION_PROVOKE},
    {"time", no_argument, nullptr, OPTION_TIME},
    {"timeout", required_argument, nullptr, OPTION_TIMEOUT},
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
    case OPTION_STORAGE: return choose("storage", STORAGES, optarg, options.storage);
    case OPTION_PROVOKE: return choose("provocation", PROVOCATIONS, optarg, options.provocation);
    case OPTION_TIME: options.time = true; return true;
    case OPTION_TIMEOUT: return chooseTimeout(optarg, options.timeout);
    case ':': return fail("option '" + currentOption(argv) + "' needs an argument");
    default: return fail("wrong option '" + currentOption(argv) + "'");
    }
}

} // namespace

const char* const HELP =
    "Usage: device-import [OPTION...] FILE...\n"
    "Reads lists of devices, checks every line and prints what is wrong with it,\n"
    "then a summary for each FILE. A line reads UUID;NAME;LOCATION;LEVEL; blank\n"
    "lines and lines that begin with '#' are skipped.\n"
    "\n"
    "  --storage=KIND   acknowledge no error of a broken line, and leave it to an\n"
    "                   error storage of KIND 'stdout', 'abort' or 'trace'\n"
    "  --provoke=KIND   first bring about a report of KIND 'assert', 'warning',\n"
    "                   'abort' or 'memory'; FILE may be left out then\n"
    "  --timeout=MS     give up when no FILE came to its end for MS milliseconds,\n"
    "                   60000 without this option\n"
    "  --time           print how many lines were read in which time, after all else\n"
    "  -h, --help       print this help and exit\n"
    "\n"
    "The exit status is 0 if every line was imported, 1 if a line was rejected or a\n"
    "FILE could not be read, and 2 if the program was used in a wrong way.\n";

bool parseOptions(int argc, char* argv[], Options& options)
{
    for (;;) {
        const int found = getopt_long(argc, argv, SHORT_OPTIONS, LONG_OPTIONS, nullptr);
        if (found == -1) break;
        if (!takeOption(found, argv, options)) return false;
        if (options.help) return true;
    }
    options.files.assign(argv + optind, argv + argc);
    if (options.files.empty() && options.provocation == Provocation::NONE)
        return fail("no FILE given");
    return true;
}

} // namespace deviceimport
