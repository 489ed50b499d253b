// SPDX-License-Identifier: Apache-2.0
//
// A type of errors as a category of std::error_code, for code that passes those on: the pending
// error as a code, and a code raised as an error. The value of a code is the id plus 1, as 0 is a
// row of a table but no error as a code.
//
//     inline const zel::ErrorCategory PumpCategory(PumpError, "pump");  // beside the type
//     if (!pump.start()) return zel::errorCode(PumpCategory);
//     ZEL_RAISE_CODE(PumpCategory, code);

#ifndef ZELCOMMON_ZELCOMMON_ERROR_CODE_H
#define ZELCOMMON_ZELCOMMON_ERROR_CODE_H

#include <limits>
#include <string>
#include <system_error>

#include <common/error/Error.h>
#include <common/error/ErrorStorage.h>
#include <common/error/ErrorType.h>
#include <common/error/GlobalErrorHandler.h>

namespace zel {

/// The category of the codes of one type. Categories are compared by address: define one for each
/// type, beside it, for the whole program. Constant-initialised and immutable, so any thread may
/// use it, up to the end of the program's static objects. No code is equivalent to a value of
/// `std::errc`; a derived category may say otherwise.
class ErrorCategory : public std::error_category
{
public:
    /// `type` and `name` are not copied and of static lifetime; the name is not null.
    constexpr ErrorCategory(const std::ErrorType& type, const char* name) noexcept
        : m_type(type), m_name(name)
    {}

    /// Returns the name that the category was made with.
    const char* name() const noexcept override { return m_name; }

    /// Returns the message of the row of `value` as it stands in the table, with its "%d" unfilled.
    /// Returns "Success" for 0, "<unknown>" if there is no row or its message is empty, and
    /// "<no message>" if it is null. Throws `bad_alloc` without memory for the text.
    /// Asserts that the type has a table ("m_idtable"), then goes on with "<unknown>".
    std::string message(int value) const override
    {
        if (value == 0) return "Success";
        const char* const text = m_type.getMessageString(idOf(value));
        if (text == nullptr) return "<no message>";
        return *text != '\0' ? text : "<unknown>";
    }

    /// Returns the type whose codes these are.
    const std::ErrorType& type() const { return m_type; }

    /// Returns the value for an id, never 0: the id plus 1; what is no row's id, a negative one or
    /// the greatest, as it is.
    static constexpr int valueOf(int id)
    {
        return id < 0 || id == std::numeric_limits<int>::max() ? id : id + 1;
    }

    /// Returns the id for a value that is not 0.
    static constexpr int idOf(int value) { return value > 0 ? value - 1 : value; }

private:
    const std::ErrorType& m_type;
    const char* const m_name;
};

/// Returns the code of the calling thread's pending error, which stays pending, or no error if
/// nothing is pending or the error is not of the category's very type.
inline std::error_code errorCode(const ErrorCategory& category)
{
    if (!std::ErrorStorage::isError(true)) return {};
    const std::ErrorObject& error = *std::ErrorStorage::get();
    if (error.m_type != &category.type()) return {};
    return {ErrorCategory::valueOf(error.id()), category};
}

/// Raises the error of `code` from one place of the source, which ZEL_RAISE_CODE fills in. `raise`
/// as for `std::ErrorOutput`. The reason is the row's message as it stands, as a code has no
/// values for it; empty where there is no row. Does nothing for a code that is no error. Allocates
/// nothing.
///
/// On a thread without a storage the error is recorded in the fallback storage, silently.
/// Asserts that the code is of that category ("code.category()==category"), then goes on without
/// raising anything.
inline void raise(const ErrorCategory& category, const std::error_code& code, const char* file,
                  int line, bool raise)
{
    if (!code) return;
    if (code.category() != category)
        return std::GlobalErrorHandler::doAssert(false, "code.category()==category", file, line,
                                                 "raise", nullptr);
    const int id = ErrorCategory::idOf(code.value());
    const char* const text = category.type().getMessageString(id);
    bool noStorage = false;
    std::ErrorStorage::add(raise, category.type(), id, file, line,
                           text != nullptr ? text : "<no message>", noStorage);
}

} // namespace zel

/// ZEL_RAISE_CODE(category, code): raises the error of `code` as the start of a new chain.
#define ZEL_RAISE_CODE(category, code) ::zel::raise((category), (code), __FILE__, __LINE__, true)

/// ZEL_RAISE_CODE_ON(category, code): raises it on top of the current chain, with the pending error
/// as its cause.
#define ZEL_RAISE_CODE_ON(category, code)                                                          \
    ::zel::raise((category), (code), __FILE__, __LINE__, false)

#endif // ZELCOMMON_ZELCOMMON_ERROR_CODE_H
