// SPDX-License-Identifier: Apache-2.0

#include "DeviceLine.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include <common/error/ErrorStorage.h>
#include <zel/report.h>

#include "FieldChecks.h"
#include "ImportErrors.h"

namespace deviceimport {

namespace {

constexpr char SEPARATOR = ';';
constexpr std::size_t FIELDS = 4;
/// The level may be missing, with its separator.
constexpr std::size_t REQUIRED_FIELDS = FIELDS - 1;

using Check = bool (*)(const std::string&);

bool checkLineEnd(const std::string& line)
{
    if (line.empty() || line.back() != '\r') return true;
    ZEL_RAISE(RepairableError, REPAIR_CARRIAGE_RETURN);
    return false;
}

void trim(std::string& text)
{
    text.erase(0, text.find_first_not_of(BLANKS));
    text.erase(text.find_last_not_of(BLANKS) + 1);
}

char toLower(char digit)
{
    return digit >= 'A' && digit <= 'F' ? static_cast<char>(digit - 'A' + 'a') : digit;
}

/// Sets right what row `id` of RepairableError found wrong with `text`.
void repair(int id, std::string& text)
{
    switch (id) {
    case REPAIR_CARRIAGE_RETURN: text.pop_back(); break;
    case REPAIR_OUTER_BLANKS: trim(text); break;
    case REPAIR_UUID_BRACES: text = text.substr(1, text.size() - 2); break;
    case REPAIR_UUID_CAPITALS:
        std::transform(text.begin(), text.end(), text.begin(), toLower);
        break;
    case REPAIR_LEVEL_MISSING: text = std::to_string(DEFAULT_LEVEL); break;
    default: ZEL_ASSERT_MSG(false, "no repair for error %d", id); break;
    }
}

/// Repairs `text` until it passes the check; each repair undoes one fault for good, so that this
/// ends. Returns false if it cannot pass, with the error pending.
bool accept(Check check, std::string& text, int& repairs)
{
    while (!check(text)) {
        if (!std::ErrorStorage::isA(RepairableError)) return false;
        std::ErrorStorage::ack();
        repair(std::ErrorStorage::id(), text);
        ++repairs;
    }
    return true;
}

std::vector<std::string> split(const std::string& line)
{
    std::vector<std::string> fields;
    std::size_t begin = 0;
    for (std::size_t end = line.find(SEPARATOR); end != std::string::npos;
         end = line.find(SEPARATOR, begin)) {
        fields.push_back(line.substr(begin, end - begin));
        begin = end + 1;
    }
    fields.push_back(line.substr(begin));
    return fields;
}

bool checkFieldCount(std::size_t count)
{
    if (count < REQUIRED_FIELDS) {
        ZEL_RAISE(LineError, LINE_TOO_FEW_FIELDS, static_cast<int>(count),
                  static_cast<int>(REQUIRED_FIELDS));
        return false;
    }
    if (count > FIELDS) {
        ZEL_RAISE(LineError, LINE_TOO_MANY_FIELDS, static_cast<int>(count),
                  static_cast<int>(FIELDS));
        return false;
    }
    return true;
}

} // namespace

bool isSkippedLine(const std::string& line)
{
    const std::size_t first = line.find_first_not_of(" \t\r");
    return first == std::string::npos || line[first] == '#';
}

bool parseDeviceLine(const std::string& line, Device& device, int& repairs)
{
    repairs = 0;
    std::string text = line;
    if (!accept(checkLineEnd, text, repairs)) return false;

    std::vector<std::string> fields = split(text);
    if (!checkFieldCount(fields.size())) return false;
    fields.resize(FIELDS);

    constexpr Check CHECKS[FIELDS] = {checkUuid, checkName, checkLocation, checkLevel};
    for (std::size_t index = 0; index < FIELDS; ++index) {
        if (!accept(CHECKS[index], fields[index], repairs)) return false;
    }

    bool isNumber = false;
    device = {fields[0], fields[1], fields[2], parseLevel(fields[3], isNumber)};
    return true;
}

} // namespace deviceimport
