// SPDX-License-Identifier: Apache-2.0

#include "FieldChecks.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <climits>
#include <cstddef>

#include <zel/report.h>

#include "ImportErrors.h"

namespace deviceimport {

namespace {

constexpr std::size_t UUID_SIZE = 8 + 1 + 4 + 1 + 4 + 1 + 4 + 1 + 12; // groups and dashes
constexpr std::size_t DASHES[] = {8, 13, 18, 23};
static_assert(UUID_SIZE == 36);

constexpr std::size_t MAX_NAME = 40;
constexpr std::size_t MAX_LOCATION = 32;
constexpr std::size_t MAX_FLOOR = 3;

/// Characters of a field that a message quotes.
constexpr std::size_t MAX_QUOTED = 40;

constexpr const char* HEX_DIGITS = "0123456789abcdefABCDEF";
constexpr const char* CAPITAL_HEX_DIGITS = "ABCDEF";
constexpr const char* FLOOR_CHARACTERS = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";

bool isControl(char character)
{
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7F;
}

/// Returns the beginning of `text` in a form that no terminal stumbles over.
std::string quotable(const std::string& text)
{
    std::string quoted = text.substr(0, MAX_QUOTED);
    const auto isOdd = [](char c) { return isControl(c) || static_cast<unsigned char>(c) > 0x7F; };
    std::replace_if(quoted.begin(), quoted.end(), isOdd, '?');
    return text.size() > MAX_QUOTED ? quoted + "..." : quoted;
}

bool checkOuterBlanks(const char* field, const std::string& text)
{
    if (text.empty()) return true;
    const std::size_t last = text.size() - 1;
    if (text.find_first_of(BLANKS) != 0 && text.find_last_of(BLANKS) != last) return true;
    ZEL_RAISE(RepairableError, REPAIR_OUTER_BLANKS, field);
    return false;
}

bool checkPresence(const char* field, const std::string& text)
{
    if (!text.empty()) return true;
    ZEL_RAISE(FieldError, FIELD_EMPTY, field);
    return false;
}

bool checkSize(const char* field, const std::string& text, std::size_t limit)
{
    if (text.size() <= limit) return true;
    ZEL_RAISE(FieldError, FIELD_TOO_LONG, field, static_cast<int>(text.size()),
              static_cast<int>(limit));
    return false;
}

bool checkCharacters(const char* field, const std::string& text)
{
    const auto found = std::find_if(text.begin(), text.end(), isControl);
    if (found == text.end()) return true;
    ZEL_RAISE(FieldError, FIELD_CONTROL_CHARACTER, field, static_cast<int>(*found));
    return false;
}

/// What holds for every text that people read.
bool checkText(const char* field, const std::string& text, std::size_t limit)
{
    return checkOuterBlanks(field, text) && checkPresence(field, text) &&
           checkSize(field, text, limit) && checkCharacters(field, text);
}

bool checkUuidBraces(const std::string& text)
{
    if (text.size() < 2 || text.front() != '{' || text.back() != '}') return true;
    ZEL_RAISE(RepairableError, REPAIR_UUID_BRACES);
    return false;
}

bool checkUuidLength(const std::string& text)
{
    if (text.size() == UUID_SIZE) return true;
    ZEL_RAISE(FieldError, UUID_LENGTH, static_cast<int>(text.size()), static_cast<int>(UUID_SIZE));
    return false;
}

bool checkUuidDashes(const std::string& text)
{
    for (const std::size_t dash : DASHES) {
        if (text[dash] == '-') continue;
        ZEL_RAISE(FieldError, UUID_DASH, quotable(text).c_str(), static_cast<int>(dash) + 1);
        return false;
    }
    return true;
}

bool checkUuidDigits(const std::string& text)
{
    std::string digits = text;
    for (const std::size_t dash : DASHES)
        digits[dash] = '0';
    const std::size_t found = digits.find_first_not_of(HEX_DIGITS);
    if (found == std::string::npos) return true;
    ZEL_RAISE(FieldError, UUID_DIGIT, quotable(text).c_str(), static_cast<int>(found) + 1);
    return false;
}

bool checkUuidCapitals(const std::string& text)
{
    if (text.find_first_of(CAPITAL_HEX_DIGITS) == std::string::npos) return true;
    ZEL_RAISE(RepairableError, REPAIR_UUID_CAPITALS);
    return false;
}

bool checkUuidValue(const std::string& text)
{
    if (text.find_first_not_of("0-") != std::string::npos) return true;
    ZEL_RAISE(FieldError, UUID_NIL);
    return false;
}

bool isFloor(const std::string& text)
{
    return !text.empty() && text.size() <= MAX_FLOOR &&
           text.find_first_not_of(FLOOR_CHARACTERS) == std::string::npos;
}

} // namespace

bool checkUuid(const std::string& text)
{
    return checkOuterBlanks("uuid", text) && checkPresence("uuid", text) && checkUuidBraces(text) &&
           checkUuidLength(text) && checkUuidDashes(text) && checkUuidDigits(text) &&
           checkUuidCapitals(text) && checkUuidValue(text);
}

bool checkName(const std::string& text)
{
    return checkText("name", text, MAX_NAME);
}

bool checkLocation(const std::string& text)
{
    if (!checkText("location", text, MAX_LOCATION)) return false;

    const std::size_t slash = text.find('/');
    if (slash == std::string::npos || slash != text.rfind('/') || slash + 1 == text.size()) {
        ZEL_RAISE(FieldError, LOCATION_SHAPE, quotable(text).c_str());
        return false;
    }
    const std::string floor = text.substr(0, slash);
    if (isFloor(floor)) return true;
    ZEL_RAISE(FieldError, LOCATION_FLOOR, quotable(floor).c_str());
    return false;
}

bool checkLevel(const std::string& text)
{
    if (!checkOuterBlanks("level", text)) return false;
    if (text.empty()) {
        ZEL_RAISE(RepairableError, REPAIR_LEVEL_MISSING, DEFAULT_LEVEL);
        return false;
    }
    bool isNumber = false;
    const int level = parseLevel(text, isNumber);
    if (!isNumber) {
        ZEL_RAISE(FieldError, LEVEL_NOT_A_NUMBER, quotable(text).c_str());
        return false;
    }
    if (level >= MIN_LEVEL && level <= MAX_LEVEL) return true;
    ZEL_RAISE(std::CommonError, 2, MIN_LEVEL, MAX_LEVEL, level);
    ZEL_RAISE_ON(FieldError, LEVEL_RANGE, quotable(text).c_str());
    return false;
}

int parseLevel(const std::string& text, bool& isNumber)
{
    int level = 0;
    const char* const end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, level);
    isNumber = result.ptr == end && result.ec != std::errc::invalid_argument;
    if (!isNumber) return 0;
    if (result.ec != std::errc::result_out_of_range) return level;
    return text.front() == '-' ? INT_MIN : INT_MAX;
}

} // namespace deviceimport
