// SPDX-License-Identifier: Apache-2.0
//
// The lines of the trace client, without what is another thing each time.

#ifndef ZELCOMMON_TESTS_SUPPORT_TRACELINES_H
#define ZELCOMMON_TESTS_SUPPORT_TRACELINES_H

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <string>

namespace support {

/// Returns whether `text` has a time at `place`.
inline bool hasTimeAt(const std::string& text, std::size_t place)
{
    constexpr const char* FORM = "0000-00-00 00:00:00.000000 ";
    for (std::size_t i = 0; FORM[i] != '\0'; ++i) {
        if (place + i >= text.size()) return false;
        const char c = text[place + i];
        const bool isDigit = std::isdigit(static_cast<unsigned char>(c)) != 0;
        if (FORM[i] == '0' ? !isDigit : c != FORM[i]) return false;
    }
    return true;
}

/// Returns `text` with "TIME " for each time at the beginning of a line, and "[T" for the first
/// thread's id, with its bracket, in such a line.
inline std::string bareLines(const std::string& text)
{
    constexpr std::size_t TIME_SIZE = sizeof "0000-00-00 00:00:00.000000 " - 1;
    std::string bare;
    for (std::size_t place = 0; place < text.size();) {
        const std::size_t end = std::min(text.find('\n', place), text.size() - 1) + 1;
        if (!hasTimeAt(text, place)) {
            bare += text.substr(place, end - place);
            place = end;
            continue;
        }
        const std::string line = text.substr(place + TIME_SIZE, end - place - TIME_SIZE);
        const std::size_t bracket = line.find('[');
        const std::size_t behind = line.find_first_not_of("0123456789", bracket + 1);
        const bool hasId = bracket != std::string::npos && behind != bracket + 1;
        bare += "TIME " + (hasId ? line.substr(0, bracket) + "[T" + line.substr(behind) : line);
        place = end;
    }
    return bare;
}

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_TRACELINES_H
