// SPDX-License-Identifier: Apache-2.0
//
// zel::Tls<T> is a slot that holds one T* for each thread.
//
//     zel::Tls<Session> current;
//     current.set(&session);
//     current.get()->close();

#ifndef ZELCOMMON_ZEL_TLS_H
#define ZELCOMMON_ZEL_TLS_H

#include <common/error/GlobalErrorHandler.h>
#include <threadsafe/TlsImpl-posix.h>

namespace zel {

/// One `T*` for each thread, null until the thread stores one. Owns nothing: whoever stores a
/// pointer keeps the object alive and removes the pointer before the thread or the object ends.
/// Not copyable, not
/// async-signal-safe. Construction and destruction end the process if the key cannot be had or
/// freed.
template <typename T>
class Tls
{
public:
    /// Returns what the calling thread stored last, or null.
    T* get() const { return static_cast<T*>(m_slot.get()); }

    /// Stores `value`, which may be null, for the calling thread.
    /// A failure goes to `GlobalErrorHandler::doAbort` with the text of the error constant as
    /// reason; where that returns, the old value is still stored.
    void set(T* value)
    {
        const char* const error =
            m_slot.set(const_cast<void*>(static_cast<const volatile void*>(value)));
        if (error != nullptr)
            std::GlobalErrorHandler::doAbort(FILE_NAME, LINE_SET, "set", "%s", error);
    }

private:
    // Part of a text that users see, fixed whatever becomes of the code.
    static constexpr const char* FILE_NAME = "framework/include/zel/Tls";
    static constexpr int LINE_SET = 35;

    threadsafe::TlsImpl m_slot;
};

} // namespace zel

#endif // ZELCOMMON_ZEL_TLS_H
