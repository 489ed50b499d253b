// SPDX-License-Identifier: Apache-2.0

#include "Options.h"

namespace deviceimport {

const char* const HELP =
    "Usage: device-import [OPTION...] FILE...\n"
    "   or: device-import [OPTION...] --dump=REGISTRY\n"
    "Reads lists of devices, checks every line and prints what is wrong with it,\n"
    "then a summary for each FILE. A line reads UUID;NAME;LOCATION;LEVEL; blank\n"
    "lines and lines that begin with '#' are skipped. FILE is in UTF-8, or with a\n"
    "byte order mark in UTF-8, UTF-16 of either order or little-endian UCS-4.\n"
    "\n"
    "  --find=NAME      list the devices whose name contains NAME, which is given in\n"
    "                   UTF-8 whatever the encoding of FILE; an empty NAME lists all\n"
    "  --output=REGISTRY\n"
    "                   write the devices of all FILEs to the file REGISTRY, in the order\n"
    "                   of their uuids, and print them. A device whose uuid an earlier\n"
    "                   FILE has is left out. An older REGISTRY stays until the new one\n"
    "                   is complete, and if that fails\n"
    "  --dump=REGISTRY  print the devices of such a file, if it is not damaged\n"
    "  --storage=KIND   acknowledge no error of a broken line, and leave it to an\n"
    "                   error storage of KIND 'stdout', 'abort' or 'trace'\n"
    "  --provoke=KIND   first bring about a report of KIND 'assert', 'warning',\n"
    "                   'abort' or 'memory'; FILE may be left out then\n"
    "  --timeout=MS     give up when no FILE came to its end for MS milliseconds,\n"
    "                   60000 without this option\n"
    "  --time           print how many lines were read in which time, after all else\n"
    "  --trace=CHANNEL=LEVEL[,...]\n"
    "                   trace to standard error: set the level of each CHANNEL, and of\n"
    "                   those below it, to 'trace', 'debug', 'info', 'warning',\n"
    "                   'error', 'fatal' or 'off', or to the one above it by 'none';\n"
    "                   'disabled' and 'default' are as 'off'. CHANNEL is 'import',\n"
    "                   'import_queue' or 'list'; others have no effect. A channel\n"
    "                   without a LEVEL has that of the one above, at first 'warning'\n"
    "  -h, --help       print this help and exit\n"
    "\n"
    "While a long import goes on, a terminal as standard error shows how many lines\n"
    "were read.\n"
    "\n"
    "The exit status is 0 if every line was imported, 1 if a line was rejected, a\n"
    "FILE could not be read, a device was left out or REGISTRY could not be written\n"
    "or is damaged, and 2 if the program was used in a wrong way.\n";

} // namespace deviceimport
