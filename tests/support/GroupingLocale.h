// SPDX-License-Identifier: Apache-2.0
//
// A process-wide locale in which streams write 12345 as 12'345.

#ifndef ZELCOMMON_TESTS_SUPPORT_GROUPINGLOCALE_H
#define ZELCOMMON_TESTS_SUPPORT_GROUPINGLOCALE_H

#include <locale>
#include <string>

namespace support {

class Grouping : public std::numpunct<char>
{
protected:
    char do_thousands_sep() const override { return '\''; }
    std::string do_grouping() const override { return "\3"; }
};

/// Makes it the locale of all streams built from now on.
inline void setGroupingLocale()
{
    std::locale::global(std::locale(std::locale::classic(), new Grouping));
}

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_GROUPINGLOCALE_H
