// SPDX-License-Identifier: Apache-2.0
//
// What the command line asks for.

#ifndef ZEL_ICONV_OPTIONS_H
#define ZEL_ICONV_OPTIONS_H

#include <string>
#include <vector>

#include "Encoding.h"

namespace zeliconv {

extern const char* const HELP;

/// The name of standard input among the files.
constexpr const char* STANDARD_INPUT = "-";

struct Options
{
    /// Null: the byte order mark of each input says it.
    const Encoding* from = nullptr;
    const Encoding* to = findEncoding("UTF-8");
    /// Empty: standard output.
    std::string output;
    std::vector<std::string> files;
    bool replaces = false;
    bool help = false;
};

/// Reads the command line. Returns false, with TCLAP::Error raised, if it cannot be understood.
bool parseOptions(int argc, char* argv[], Options& options);

} // namespace zeliconv

#endif // ZEL_ICONV_OPTIONS_H
