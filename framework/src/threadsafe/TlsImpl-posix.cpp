// SPDX-License-Identifier: Apache-2.0

#include <threadsafe/TlsImpl-posix.h>

#include <cerrno>

#include <zelbase/abort.h>

namespace threadsafe {

namespace {

// Parts of texts that users see, fixed whatever becomes of the code.
constexpr const char* FILE_NAME = "framework/src/threadsafe/TlsImpl-posix";
constexpr int LINE_CREATE = 29;
constexpr int LINE_DELETE = 36;

} // namespace

const char* const TlsBase::ERROR = "Unknown zel::Tls error";
const char* const TlsBase::ERROR_OUT_OF_MEMORY = "zel::Tls out of memory";

TlsImpl::TlsImpl()
{
    if (pthread_key_create(&m_key, nullptr) != 0)
        zelbase::abort(FILE_NAME, LINE_CREATE, "TlsImpl", "pthread_key_create failed");
}

TlsImpl::~TlsImpl()
{
    if (pthread_key_delete(m_key) != 0)
        zelbase::abort(FILE_NAME, LINE_DELETE, "~TlsImpl", "pthread_key_delete failed");
}

const char* TlsImpl::set(void* value)
{
    switch (pthread_setspecific(m_key, value)) {
    case 0: return nullptr;
    case ENOMEM: return ERROR_OUT_OF_MEMORY;
    default: return ERROR;
    }
}

} // namespace threadsafe
