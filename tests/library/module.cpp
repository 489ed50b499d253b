// SPDX-License-Identifier: Apache-2.0

#include "module.h"

#include <zelcommon.h>

SeenByModule moduleSees()
{
    return {&std::CommonError, &std::GlobalErrorHandler::s_disable_abort,
            &std::GlobalErrorHandler::s_warning_handlers, threadsafe::TlsBase::ERROR, &zel_error};
}

void moduleRaises()
{
    ZEL_RAISE(std::CommonError, 0);
}
