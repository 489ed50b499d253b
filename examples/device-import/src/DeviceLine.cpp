// SPDX-License-Identifier: Apache-2.0

#include "DeviceLine.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include <common/error/ErrorStorage.h>
#include <zel/report.h>

#include "FieldChecks.h"
#include "ImportErrors.h"

namespace deviceimport {

namespace {

using std::unicode::String;

constexpr const char* SEPARATOR = ";";
constexpr std::size_t FIELDS = 4;
/// The level may be missing, with its separator.
constexpr std::size_t REQUIRED_FIELDS = FIELDS - 1;

using Check = bool (*)(const String&);

bool checkLineEnd(const String& line)
{
    if (line.empty() || line.at(line.size() - 1) != '\r') return true;
    ZEL_RAISE(RepairableError, REPAIR_CARRIAGE_RETURN);
    return false;
}

String trimmed(const String& text)
{
    const String::Iterator first = text.find_first_not_of(BLANKS);
    if (first.atEnd()) return {};
    String::Iterator last = text.find_last_not_of(BLANKS);
    return text.substr(first, ++last);
}

char toLower(char digit)
{
    return digit >= 'A' && digit <= 'F' ? static_cast<char>(digit - 'A' + 'a') : digit;
}

String withSmallDigits(const String& uuid)
{
    std::string digits = uuid.toUtf8();
    std::transform(digits.begin(), digits.end(), digits.begin(), toLower);
    return digits;
}

/// Sets right what row `id` of RepairableError found wrong with `text`.
void repair(int id, String& text)
{
    switch (id) {
    case REPAIR_CARRIAGE_RETURN: text = text.substr(0, -1); break;
    case REPAIR_OUTER_BLANKS: text = trimmed(text); break;
    case REPAIR_UUID_BRACES: text = text.substr(1, -1); break;
    case REPAIR_UUID_CAPITALS: text = withSmallDigits(text); break;
    case REPAIR_LEVEL_MISSING: text = std::to_string(DEFAULT_LEVEL); break;
    default: ZEL_ASSERT_MSG(false, "no repair for error %d", id); break;
    }
}

/// Repairs `text` until it passes the check; each repair undoes one fault for good, so that this
/// ends. Returns false if it cannot pass, with the error pending.
bool accept(Check check, String& text, int& repairs)
{
    while (!check(text)) {
        if (!std::ErrorStorage::isA(RepairableError)) return false;
        std::ErrorStorage::ack();
        repair(std::ErrorStorage::id(), text);
        ++repairs;
    }
    return true;
}

std::vector<String> split(const String& line)
{
    std::vector<String> fields;
    for (const String& field : line.split(SEPARATOR))
        fields.push_back(field);
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

bool isSkippedLine(const String& line)
{
    const String::Iterator first = line.find_first_not_of(" \t\r");
    return first.atEnd() || *first == '#';
}

bool parseDeviceLine(const String& line, Device& device, int& repairs)
{
    repairs = 0;
    String text = line;
    if (!accept(checkLineEnd, text, repairs)) return false;

    std::vector<String> fields = split(text);
    if (!checkFieldCount(fields.size())) return false;
    fields.resize(FIELDS);

    constexpr Check CHECKS[FIELDS] = {checkUuid, checkName, checkLocation, checkLevel};
    for (std::size_t index = 0; index < FIELDS; ++index) {
        if (!accept(CHECKS[index], fields[index], repairs)) return false;
    }

    bool isNumber = false;
    device = {std::UUID(fields[0].toUtf8()), fields[1], fields[2], parseLevel(fields[3], isNumber)};
    return true;
}

} // namespace deviceimport
