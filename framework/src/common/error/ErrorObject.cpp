// SPDX-License-Identifier: Apache-2.0

#include <common/error/ErrorObject.h>

#include <cstring>
#include <string_view>

#include "ErrorText.h"
#include "Site.h"

namespace {

constexpr const char* FILE_NAME = "framework/src/common/error/ErrorObject";
constexpr errorcore::Site IS_A_SITE{FILE_NAME, 67, "isA"};
constexpr errorcore::Site EQUALS_SITE{FILE_NAME, 74, "equals"};

} // namespace

namespace std {

#ifndef __LP64__
static_assert(offsetof(ErrorObject, m_reason) == 16);
static_assert(offsetof(ErrorObject, m_buffer) == 20);
static_assert(offsetof(ErrorObject, m_thread) == 276);
static_assert(offsetof(ErrorObject, m_cause) == 284);
static_assert(sizeof(ErrorObject) == 288);
#endif

ErrorObject::ErrorObject(const ErrorObject& other) : ErrorObject()
{
    *this = other;
}

ErrorObject& ErrorObject::operator=(const ErrorObject& other)
{
    if (this == &other) return *this;

    m_type = other.m_type;
    m_id = other.m_id;
    m_file = other.m_file;
    m_line = other.m_line;
    m_thread = other.m_thread;
    m_process = other.m_process;
    m_cause = nullptr;

    const string_view reason = errorcore::reasonToCopy(other).substr(0, REASON_SIZE - 1);
    // The source's reason may be a text in this very buffer.
    memmove(m_buffer, reason.data(), reason.size());
    m_buffer[reason.size()] = '\0';
    m_buffer[REASON_SIZE - 1] = '\0';
    m_reason = m_buffer;
    return *this;
}

bool ErrorObject::isA(const ErrorType& type) const
{
    errorcore::assertAt(IS_A_SITE, m_type != nullptr, "m_type");
    return m_type != nullptr && m_type->isA(type);
}

bool ErrorObject::equals(const ErrorType& type) const
{
    errorcore::assertAt(EQUALS_SITE, m_type != nullptr, "m_type");
    return m_type == &type;
}

} // namespace std
