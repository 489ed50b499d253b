// SPDX-License-Identifier: Apache-2.0

#include "DltIds.h"

namespace tracing {
namespace impl {

namespace {

constexpr const char* WITHOUT_LETTERS = "NONE";
constexpr unsigned int MAX_NUMBER = 9999;

/// Returns the letter in capitals, or the digit; 0 for what is neither. Locales have no say in it.
char idCharacter(char c)
{
    if (c >= 'a' && c <= 'z') return static_cast<char>(c - 'a' + 'A');
    const bool isOne = (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    return isOne ? c : '\0';
}

std::string beginningOf(std::string_view name)
{
    std::string id;
    for (const char c : name) {
        if (id.size() == DltIds::LENGTH) break;
        if (idCharacter(c) != '\0') id += idCharacter(c);
    }
    return id.empty() ? WITHOUT_LETTERS : id;
}

} // namespace

std::string DltIds::take(std::string_view name)
{
    std::string beginning = beginningOf(name);
    if (m_taken.insert(beginning).second) return beginning;
    unsigned int& number = m_numbers[beginning];
    while (number < MAX_NUMBER) {
        const std::string digits = std::to_string(++number);
        std::string id = beginning.substr(0, LENGTH - digits.size()) + digits;
        if (m_taken.insert(id).second) return id;
    }
    return {};
}

} // namespace impl
} // namespace tracing
