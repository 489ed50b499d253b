// SPDX-License-Identifier: Apache-2.0

#include "FieldChecks.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <climits>
#include <cstddef>
#include <iterator>
#include <string>

#include <zel/report.h>

#include "ImportErrors.h"

namespace deviceimport {

namespace {

using std::unicode::String;

constexpr unsigned int UUID_SIZE = 8 + 1 + 4 + 1 + 4 + 1 + 4 + 1 + 12; // groups and dashes
constexpr unsigned int DASHES[] = {8, 13, 18, 23};
static_assert(UUID_SIZE == 36);

constexpr unsigned int MAX_FLOOR = 3;

/// Characters of a field that a message quotes.
constexpr int MAX_QUOTED = 40;

constexpr const char* HEX_DIGITS = "0123456789abcdefABCDEF";
constexpr const char* CAPITAL_HEX_DIGITS = "ABCDEF";
constexpr const char* FLOOR_CHARACTERS = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";

bool isControl(unsigned int character)
{
    return character < 0x20 || (character >= 0x7F && character < 0xA0);
}

/// Returns the beginning of `text` in a form that no terminal stumbles over.
std::string quotable(const String& text)
{
    const String beginning = text.substr(0, MAX_QUOTED);
    std::wstring quoted = beginning.toWide();
    const auto isOdd = [](wchar_t c) { return isControl(static_cast<unsigned int>(c)); };
    std::replace_if(quoted.begin(), quoted.end(), isOdd, L'?');
    return String(quoted).toUtf8() + (beginning.size() < text.size() ? "..." : "");
}

bool checkOuterBlanks(const char* field, const String& text)
{
    if (text.empty()) return true;
    const unsigned int lastBlank = text.find_last_of(BLANKS).position.chars;
    if (text.find_first_of(BLANKS) != text.begin() && lastBlank != text.size() - 1) return true;
    ZEL_RAISE(RepairableError, REPAIR_OUTER_BLANKS, field);
    return false;
}

bool checkPresence(const char* field, const String& text)
{
    if (!text.empty()) return true;
    ZEL_RAISE(FieldError, FIELD_EMPTY, field);
    return false;
}

bool checkSize(const char* field, const String& text, std::size_t limit)
{
    const std::size_t size = text.toUtf8().size();
    if (size <= limit) return true;
    ZEL_RAISE(FieldError, FIELD_TOO_LONG, field, static_cast<int>(size), static_cast<int>(limit));
    return false;
}

bool checkCharacters(const char* field, const String& text)
{
    const auto found = std::find_if(text.begin(), text.end(), isControl);
    if (found.atEnd()) return true;
    ZEL_RAISE(FieldError, FIELD_CONTROL_CHARACTER, field, static_cast<int>(*found));
    return false;
}

/// What holds for every text that people read.
bool checkText(const char* field, const String& text, std::size_t limit)
{
    return checkOuterBlanks(field, text) && checkPresence(field, text) &&
           checkSize(field, text, limit) && checkCharacters(field, text);
}

bool checkUuidBraces(const String& text)
{
    if (text.size() < 2 || text.at(0) != '{' || text.at(text.size() - 1) != '}') return true;
    ZEL_RAISE(RepairableError, REPAIR_UUID_BRACES);
    return false;
}

bool checkUuidLength(const String& text)
{
    if (text.size() == UUID_SIZE) return true;
    ZEL_RAISE(FieldError, UUID_LENGTH, static_cast<int>(text.size()), static_cast<int>(UUID_SIZE));
    return false;
}

bool checkUuidDashes(const String& text)
{
    for (const unsigned int dash : DASHES) {
        if (text.at(dash) == '-') continue;
        ZEL_RAISE(FieldError, UUID_DASH, quotable(text).c_str(), static_cast<int>(dash) + 1);
        return false;
    }
    return true;
}

bool isDashPlace(unsigned int place)
{
    return std::find(std::begin(DASHES), std::end(DASHES), place) != std::end(DASHES);
}

bool checkUuidDigits(const String& text)
{
    String::Iterator found = text.find_first_not_of(HEX_DIGITS);
    while (isDashPlace(found.position.chars))
        found = text.find_first_not_of(HEX_DIGITS, ++found);
    if (found.atEnd()) return true;
    ZEL_RAISE(FieldError, UUID_DIGIT, quotable(text).c_str(),
              static_cast<int>(found.position.chars) + 1);
    return false;
}

bool checkUuidCapitals(const String& text)
{
    if (text.find_first_of(CAPITAL_HEX_DIGITS).atEnd()) return true;
    ZEL_RAISE(RepairableError, REPAIR_UUID_CAPITALS);
    return false;
}

bool checkUuidValue(const String& text)
{
    if (!text.find_first_not_of("0-").atEnd()) return true;
    ZEL_RAISE(FieldError, UUID_NIL);
    return false;
}

bool isFloor(const String& text)
{
    return !text.empty() && text.size() <= MAX_FLOOR &&
           text.find_first_not_of(FLOOR_CHARACTERS).atEnd();
}

} // namespace

bool checkUuid(const String& text)
{
    return checkOuterBlanks("uuid", text) && checkPresence("uuid", text) && checkUuidBraces(text) &&
           checkUuidLength(text) && checkUuidDashes(text) && checkUuidDigits(text) &&
           checkUuidCapitals(text) && checkUuidValue(text);
}

bool checkName(const String& text)
{
    return checkText("name", text, MAX_NAME);
}

bool checkLocation(const String& text)
{
    if (!checkText("location", text, MAX_LOCATION)) return false;

    const String::Iterator slash = text.find("/");
    if (slash.atEnd() || slash != text.rfind("/") || slash.position.chars + 1 == text.size()) {
        ZEL_RAISE(FieldError, LOCATION_SHAPE, quotable(text).c_str());
        return false;
    }
    const String floor = text.substr(text.begin(), slash);
    if (isFloor(floor)) return true;
    ZEL_RAISE(FieldError, LOCATION_FLOOR, quotable(floor).c_str());
    return false;
}

bool checkLevel(const String& text)
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
    return checkLevelRange(level, text);
}

bool checkLevelRange(int level, const String& text)
{
    if (level >= MIN_LEVEL && level <= MAX_LEVEL) return true;
    ZEL_RAISE(std::CommonError, 2, MIN_LEVEL, MAX_LEVEL, level);
    ZEL_RAISE_ON(FieldError, LEVEL_RANGE, quotable(text).c_str());
    return false;
}

int parseLevel(const String& text, bool& isNumber)
{
    int level = 0;
    const std::string digits = text.toUtf8();
    const char* const end = digits.data() + digits.size();
    const std::from_chars_result result = std::from_chars(digits.data(), end, level);
    isNumber = result.ptr == end && result.ec != std::errc::invalid_argument;
    if (!isNumber) return 0;
    if (result.ec != std::errc::result_out_of_range) return level;
    return digits.front() == '-' ? INT_MIN : INT_MAX;
}

} // namespace deviceimport
