// SPDX-License-Identifier: Apache-2.0

#include "tracing-impl/dlt/SilentDlt.h"

#include <cstdint>

#include <dlt/dlt.h>
#include <dlt/dlt_common.h>

namespace silentdlt {

Held held;

namespace {

std::int8_t s_level = DLT_LOG_VERBOSE;

} // namespace

} // namespace silentdlt

using silentdlt::held;

extern "C" {

void dlt_log_set_level(int) {}

DltReturnValue dlt_init()
{
    ++held.starts;
    return DLT_RETURN_OK;
}

DltReturnValue dlt_free()
{
    --held.starts;
    return DLT_RETURN_OK;
}

int dlt_set_resend_timeout_atexit(std::uint32_t)
{
    return 0;
}

DltReturnValue dlt_register_app(const char*, const char*)
{
    ++held.applications;
    return DLT_RETURN_OK;
}

DltReturnValue dlt_unregister_app_flush_buffered_logs()
{
    --held.applications;
    return DLT_RETURN_OK;
}

DltReturnValue dlt_user_log_resend_buffer()
{
    return DLT_RETURN_OK;
}

DltReturnValue dlt_register_context_ll_ts(DltContext* context, const char*, const char*, int, int)
{
    context->log_level_ptr = &silentdlt::s_level;
    ++held.contexts;
    return DLT_RETURN_OK;
}

DltReturnValue dlt_unregister_context(DltContext*)
{
    --held.contexts;
    return DLT_RETURN_OK;
}

DltReturnValue dlt_register_log_level_changed_callback(DltContext*,
                                                       void (*)(char*, std::uint8_t, std::uint8_t))
{
    return DLT_RETURN_OK;
}

DltReturnValue dlt_register_injection_callback_with_id(DltContext*, std::uint32_t,
                                                       dlt_injection_callback_id, void*)
{
    return DLT_RETURN_OK;
}

DltReturnValue dlt_user_log_write_start(DltContext*, DltContextData*, DltLogLevelType)
{
    return DLT_RETURN_TRUE;
}

DltReturnValue dlt_user_log_write_sized_utf8_string(DltContextData*, const char*,
                                                    std::uint16_t size)
{
    held.bytes += size;
    return DLT_RETURN_OK;
}

DltReturnValue dlt_user_log_write_raw_attr(DltContextData*, const void*, std::uint16_t size,
                                           const char*)
{
    held.bytes += size;
    return DLT_RETURN_OK;
}

DltReturnValue dlt_user_log_write_finish(DltContextData*)
{
    return DLT_RETURN_OK;
}
}
