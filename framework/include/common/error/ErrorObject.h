// SPDX-License-Identifier: Apache-2.0
//
// std::ErrorObject is one recorded error: what, where, in which process and thread, why, and the
// error that caused it. Objects live in the ring of an ErrorStorage; a copy stands alone and owns
// its reason.
//
//     const std::ErrorObject saved = *std::ErrorStorage::get();
//     if (saved.isA(std::CommonError)) retry(saved.id());

#ifndef ZELCOMMON_COMMON_ERROR_ERROROBJECT_H
#define ZELCOMMON_COMMON_ERROR_ERROROBJECT_H

#include <cstddef>
#include <pthread.h>

#include <common/error/ErrorType.h>
#include <zel/attributes.h>

namespace std {

/// One recorded error. A plain record: whoever holds one may read and write its fields.
struct ZEL_EXPORT ErrorObject
{
    /// Bytes of `m_buffer`.
    static constexpr size_t REASON_SIZE = 256;

    /// An empty object: all fields zero or null, the reason "".
    constexpr ErrorObject()
        : m_type(nullptr), m_id(0), m_file(nullptr), m_line(0), m_reason(m_buffer), m_buffer(),
          m_thread(), m_process(0), m_cause(nullptr)
    {}

    /// A copy without a cause. Its reason is its own: the first 255 characters of the source's.
    ErrorObject(const ErrorObject& other);
    /// As the copy constructor; assigning an object to itself changes nothing.
    ErrorObject& operator=(const ErrorObject& other);

    /// Returns the id within the type.
    int id() const { return m_id; }

    /// Returns the reason. It is not terminated if 256 characters or more were recorded from
    /// another object: then it ends with `m_buffer`.
    const char* reason() const { return m_reason; }

    /// Returns true if the error's type is `type` or derived from it.
    /// Asserts that there is a type ("m_type"), then goes on with false.
    bool isA(const ErrorType& type) const;

    /// Returns true if the error's type is `type` itself.
    /// Asserts that there is a type ("m_type"), then goes on with false.
    bool equals(const ErrorType& type) const;

    /// The category, of static lifetime; null in an empty object.
    const ErrorType* m_type;
    /// The id within `m_type`.
    int m_id;
    /// Source file of the raising code: a compile-time name of static lifetime.
    const char* m_file;
    /// Source line of the raising code.
    int m_line;
    /// The reason: `m_buffer`, or a text of static lifetime (a table's message).
    const char* m_reason;
    /// Room for a formatted reason.
    char m_buffer[REASON_SIZE];
    /// The thread that recorded the error.
    pthread_t m_thread;
    /// The process that recorded the error.
    int m_process;
    /// The error that caused this one, in the ring of the same storage; null if there is none.
    const ErrorObject* m_cause;
};

} // namespace std

#endif // ZELCOMMON_COMMON_ERROR_ERROROBJECT_H
