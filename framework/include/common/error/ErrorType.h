// SPDX-License-Identifier: Apache-2.0
//
// An error is named by its type, a category such as the common errors, and an id within that type.
// std::ErrorType holds the category's table of messages and an optional parent category. Types are
// global, constant-initialised and compared by address.
//
//     const std::ErrorID TABLE[] = {{0, "Pump %d is dry", 1}, {1, "No pump", 0}};
//     std::ErrorType PumpError(TABLE, 2, DeviceError);

#ifndef ZELCOMMON_COMMON_ERROR_ERRORTYPE_H
#define ZELCOMMON_COMMON_ERROR_ERRORTYPE_H

#include <zel/attributes.h>

namespace std {

class ErrorOutput;

/// One row of an error table, in static read-only data.
struct ErrorID
{
    /// The error's number within its type, not negative; by convention the index of its row.
    int id;
    /// printf format of the message, of static lifetime.
    const char* message;
    /// Number of values that `message` consumes. 0: the message is used as it stands, unformatted.
    int argCount;
};

/// A category of errors. Immutable, so any thread may use it; lives as long as the process.
class ZEL_EXPORT ErrorType
{
public:
    /// A root category over `table[0..count)`, which is not copied and must outlive the type. A
    /// null table has no rows, and each look-up asserts.
    constexpr ErrorType(const ErrorID* table, unsigned int count)
        : m_idtable(table), m_parent(nullptr), m_count(count)
    {}

    /// A category derived from `parent`, of which only the address is kept. `parent` may be
    /// constructed later, as long as that is before the first look-up. Requires that no type is its
    /// own ancestor.
    constexpr ErrorType(const ErrorID* table, unsigned int count, const ErrorType& parent)
        : m_idtable(table), m_parent(&parent), m_count(count)
    {}

    ErrorType(const ErrorType&) = delete;
    ErrorType& operator=(const ErrorType&) = delete;

    /// Returns true if `other` is this type or one of its ancestors.
    bool isA(const ErrorType& other) const
    {
        for (const ErrorType* type = this; type != nullptr; type = type->m_parent)
            if (type == &other) return true;
        return false;
    }

    /// Returns the message of row `id`, null if that is what the row holds, or "" if there is no
    /// row. Asserts that there is a table ("m_idtable"), then goes on with "".
    const char* getMessageString(int id) const;

    /// Returns the number of values that the message of row `id` consumes, or 0 if there is no row.
    /// Asserts that there is a table ("m_idtable"), then goes on with 0.
    int getArgumentCount(int id) const;

private:
    friend class ErrorOutput;

    /// Returns row `id`, or null if there is none. A row at its own index wins over an earlier row
    /// with the same id.
    const ErrorID* find(int id) const
    {
        // A negative id is more than any number of rows.
        const bool isInside = m_idtable != nullptr && static_cast<unsigned int>(id) < m_count;
        return isInside && m_idtable[id].id == id ? &m_idtable[id] : search(id);
    }
    ZEL_COLD ZEL_LOCAL const ErrorID* search(int id) const;
    ZEL_LOCAL static void checkLayout();

    const ErrorID* m_idtable;
    const ErrorType* m_parent;
    unsigned int m_count;
};

/// Errors that any module may raise.
/// 0: "Out of heap memory"
/// 1: "Invalid usage/logic detected: %s"
/// 2: "Integer parameter out of range. Min = %d, Max = %d, Found = %d"
/// 3: "Parameter out of range: %s"
/// 4: "Invalid path specified: %s"
/// 5: "Invalid parameter: %s"
/// 6: "Function not supported: %s"
/// 7: "Overflow of item count occured: %s"
ZEL_EXPORT extern ErrorType CommonError;

/// Errors after which the raising module cannot go on.
/// 0: "Critical error %s"
ZEL_EXPORT extern ErrorType CommonCriticalError;

} // namespace std

namespace TCLAP {

/// Errors of command-line parsing.
/// 0, 1, 2: "%s"
ZEL_EXPORT extern std::ErrorType Error;

} // namespace TCLAP

#endif // ZELCOMMON_COMMON_ERROR_ERRORTYPE_H
