// SPDX-License-Identifier: Apache-2.0

#include "Options.h"

#include <unistd.h>
#include <zel/report.h>

namespace zeliconv {

namespace {

bool fail(const std::string& message)
{
    ZEL_RAISE(TCLAP::Error, 0, message.c_str());
    return false;
}

bool choose(const char* name, const Encoding*& encoding)
{
    encoding = findEncoding(name);
    return encoding != nullptr || fail(std::string("there is no encoding '") + name + "'");
}

bool takeOption(int option, Options& options)
{
    switch (option) {
    case 'c': return options.replaces = true;
    case 'f': return choose(optarg, options.from);
    case 'h': return options.help = true;
    case 'o': options.output = optarg; return *optarg != '\0' || fail("-o needs an argument");
    case 't': return choose(optarg, options.to);
    case ':': return fail(std::string("-") + static_cast<char>(optopt) + " needs an argument");
    default: return fail(std::string("there is no option -") + static_cast<char>(optopt));
    }
}

} // namespace

const char* const HELP =
    "Usage: zel-iconv [-c] [-f FROM] [-t TO] [-o FILE] [FILE...]\n"
    "Converts texts and writes them one behind the other.\n"
    "\n"
    "  -f FROM  the encoding of the input; without it the byte order mark of each file\n"
    "           says it and is left out, and a file without one is in UTF-8\n"
    "  -t TO    the encoding of the output, which gets no byte order mark; UTF-8 without it\n"
    "  -o FILE  where to write; standard output without it\n"
    "  -c       goes on behind what is malformed, and writes U+FFFD for it\n"
    "  -h       prints this\n"
    "\n"
    "Encodings: UTF-8, UTF-16LE, UTF-16BE, UCS-4LE, UCS-4BE. Standard input is '-', or no FILE.\n"
    "Characters above U+FFFF that end in D800 to DFFF cannot be converted, as malformed ones.\n"
    "\n"
    "Exit status: 0 all is converted, 1 the input was malformed somewhere, 2 all else failed.\n";

bool parseOptions(int argc, char* argv[], Options& options)
{
    opterr = 0;
    for (int option; (option = getopt(argc, argv, ":cf:ho:t:")) != -1;)
        if (!takeOption(option, options)) return false;
    options.files.assign(argv + optind, argv + argc);
    if (options.files.empty()) options.files.emplace_back(STANDARD_INPUT);
    return true;
}

} // namespace zeliconv
