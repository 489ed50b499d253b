// SPDX-License-Identifier: Apache-2.0

#include <common/error/ErrorType.h>

#include <cstddef>
#include <iterator>

#include "../../zelbase/constantInit.h"
#include "Site.h"

static_assert(sizeof(int) == 4, "ids and counts are 32 bits wide");
static_assert(offsetof(std::ErrorID, message) == sizeof(void*));
static_assert(offsetof(std::ErrorID, argCount) == 2 * sizeof(void*));

namespace {

constexpr const char* FILE_NAME = "framework/src/common/error/ErrorType";
constexpr errorcore::Site MESSAGE_SITE{FILE_NAME, 46, "getMessageString"};
constexpr errorcore::Site COUNT_SITE{FILE_NAME, 64, "getArgumentCount"};

// "occured" is kept: tools match the text.
constexpr std::ErrorID COMMON_TABLE[] = {
    {0, "Out of heap memory", 0},
    {1, "Invalid usage/logic detected: %s", 1},
    {2, "Integer parameter out of range. Min = %d, Max = %d, Found = %d", 3},
    {3, "Parameter out of range: %s", 1},
    {4, "Invalid path specified: %s", 1},
    {5, "Invalid parameter: %s", 1},
    {6, "Function not supported: %s", 1},
    {7, "Overflow of item count occured: %s", 1},
};

constexpr std::ErrorID COMMON_CRITICAL_TABLE[] = {
    {0, "Critical error %s", 1},
};

constexpr std::ErrorID COMMAND_LINE_TABLE[] = {
    {0, "%s", 1},
    {1, "%s", 1},
    {2, "%s", 1},
};

} // namespace

namespace std {

ZELCOMMON_CONSTANT_INIT ErrorType CommonError(COMMON_TABLE, std::size(COMMON_TABLE));
ZELCOMMON_CONSTANT_INIT ErrorType CommonCriticalError(COMMON_CRITICAL_TABLE,
                                                      std::size(COMMON_CRITICAL_TABLE));

const char* ErrorType::getMessageString(int id) const
{
    errorcore::assertAt(MESSAGE_SITE, m_idtable != nullptr, "m_idtable");
    const ErrorID* const row = find(id);
    return row != nullptr ? row->message : "";
}

int ErrorType::getArgumentCount(int id) const
{
    errorcore::assertAt(COUNT_SITE, m_idtable != nullptr, "m_idtable");
    const ErrorID* const row = find(id);
    return row != nullptr ? row->argCount : 0;
}

void ErrorType::checkLayout()
{
    static_assert(offsetof(ErrorType, m_idtable) == 0);
    static_assert(offsetof(ErrorType, m_parent) == sizeof(void*));
    static_assert(offsetof(ErrorType, m_count) == 2 * sizeof(void*));
}

/// Returns the first row with that id, or null if there is none.
const ErrorID* ErrorType::search(int id) const
{
    if (m_idtable == nullptr || id < 0) return nullptr;
    for (unsigned int row = 0; row < m_count; ++row)
        if (m_idtable[row].id == id) return &m_idtable[row];
    return nullptr;
}

} // namespace std

ZELCOMMON_CONSTANT_INIT std::ErrorType TCLAP::Error(COMMAND_LINE_TABLE,
                                                    std::size(COMMAND_LINE_TABLE));
