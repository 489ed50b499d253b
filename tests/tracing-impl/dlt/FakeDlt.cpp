// SPDX-License-Identifier: Apache-2.0

#include "tracing-impl/dlt/FakeDlt.h"

#include <csignal>
#include <cstring>
#include <map>
#include <utility>

#include <dlt/dlt_common.h>

namespace fakedlt {

Answers answers;

namespace {

using LevelCallback = void (*)(char*, std::uint8_t, std::uint8_t);

struct Registration
{
    std::int8_t level = DLT_LOG_OFF;
    LevelCallback callback = nullptr;
};

// Never destroyed, for exit handlers.
auto& s_calls = *new std::vector<std::string>;
auto& s_contexts = *new std::map<std::string, Registration>;
dlt_injection_callback_id s_injection = nullptr;

DltReturnValue note(const std::string& call, bool isGood = true)
{
    s_calls.push_back(call);
    return isGood ? DLT_RETURN_OK : DLT_RETURN_ERROR;
}

std::string idOf(const DltContext& context)
{
    return std::string(context.contextID, strnlen(context.contextID, DLT_ID_SIZE));
}

/// Notes an argument of a message, and the message's own stamp.
DltReturnValue noteArgument(const DltContextData& data, const std::string& kind,
                            const std::string& value)
{
    std::string call = kind + " " + idOf(*data.handle) + " " + std::to_string(data.log_level);
    if (data.use_timestamp == DLT_USER_TIMESTAMP)
        call += " at " + std::to_string(data.user_timestamp);
    return note(call + " " + value);
}

} // namespace

void reset()
{
    answers = {};
    s_calls.clear();
    s_contexts.clear();
    s_injection = nullptr;
}

std::vector<std::string> takeCalls()
{
    return std::exchange(s_calls, {});
}

void changeLevel(const std::string& id, std::uint8_t level, std::uint8_t traceStatus)
{
    Registration& context = s_contexts.at(id);
    context.level = static_cast<std::int8_t>(level);
    char bytes[DLT_ID_SIZE] = {};
    id.copy(bytes, DLT_ID_SIZE);
    context.callback(bytes, level, traceStatus);
}

int inject(const std::string& bytes)
{
    std::string copy = bytes;
    return s_injection(4096, copy.data(), static_cast<std::uint32_t>(copy.size()), nullptr);
}

} // namespace fakedlt

using namespace fakedlt;

extern "C" {

void dlt_log_set_level(int) {}

DltReturnValue dlt_init()
{
    sigset_t held;
    pthread_sigmask(SIG_SETMASK, nullptr, &held);
    const bool holdsSignals = sigismember(&held, SIGTERM) == 1;
    return note(holdsSignals ? "init" : "init with signals", answers.starts);
}

DltReturnValue dlt_free()
{
    return note("free");
}

int dlt_set_resend_timeout_atexit(std::uint32_t timeout)
{
    return note("wait at exit " + std::to_string(timeout));
}

DltReturnValue dlt_register_app(const char* id, const char* description)
{
    return note(std::string("application ") + id + " " + description, answers.takesApplication);
}

DltReturnValue dlt_user_log_resend_buffer()
{
    return note("resend");
}

DltReturnValue dlt_unregister_app_flush_buffered_logs()
{
    return note("no application");
}

DltReturnValue dlt_register_context_ll_ts(DltContext* context, const char* id,
                                          const char* description, int level, int traceStatus)
{
    Registration& registration = s_contexts[id];
    registration.level = static_cast<std::int8_t>(level);
    std::memcpy(context->contextID, id, strnlen(id, DLT_ID_SIZE));
    if (answers.takesContexts) context->log_level_ptr = &registration.level;
    return note(std::string("context ") + id + " " + std::to_string(level) + " " +
                    std::to_string(traceStatus) + " " + description,
                answers.takesContexts);
}

DltReturnValue dlt_unregister_context(DltContext* context)
{
    return note("no context " + idOf(*context));
}

DltReturnValue dlt_register_log_level_changed_callback(DltContext* context,
                                                       void (*callback)(char*, std::uint8_t,
                                                                        std::uint8_t))
{
    s_contexts.at(idOf(*context)).callback = callback;
    return DLT_RETURN_OK;
}

DltReturnValue dlt_register_injection_callback_with_id(DltContext* context, std::uint32_t service,
                                                       dlt_injection_callback_id callback, void*)
{
    s_injection = callback;
    return note("injection " + idOf(*context) + " " + std::to_string(service));
}

DltReturnValue dlt_user_log_write_start(DltContext* context, DltContextData* data,
                                        DltLogLevelType level)
{
    if (!answers.takesMessages) return DLT_RETURN_ERROR;
    if (level > *context->log_level_ptr) return DLT_RETURN_LOGGING_DISABLED;
    data->handle = context;
    data->log_level = level;
    data->use_timestamp = DLT_AUTO_TIMESTAMP;
    return DLT_RETURN_TRUE;
}

DltReturnValue dlt_user_log_write_sized_utf8_string(DltContextData* data, const char* text,
                                                    std::uint16_t size)
{
    return noteArgument(*data, "text", std::string(text, size));
}

DltReturnValue dlt_user_log_write_raw_attr(DltContextData* data, const void* bytes,
                                           std::uint16_t size, const char* name)
{
    const std::string value(static_cast<const char*>(bytes), size);
    return noteArgument(*data, "raw", "(" + std::string(name) + ") " + value);
}

DltReturnValue dlt_user_log_write_finish(DltContextData*)
{
    return DLT_RETURN_OK;
}
}
