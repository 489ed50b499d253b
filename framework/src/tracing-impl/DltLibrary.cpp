// SPDX-License-Identifier: Apache-2.0

#include "DltLibrary.h"

#include <cstdint>
#include <cstdlib>

#include <dlt/dlt.h>
#include <syslog.h>
#include <unistd.h>

#include "DltIds.h"
#include "SignalGuard.h"
#include "StandardDescriptors.h"

namespace tracing {
namespace impl {

namespace {

/// The time in tenths of a millisecond that DLT's exit handler waits for a daemon: none.
constexpr std::uint32_t NO_WAIT = 0;

} // namespace

DltLibrary& DltLibrary::instance()
{
    static zelbase::NeverDestroyed<DltLibrary> s_library;
    return s_library.object;
}

bool DltLibrary::start(const std::string& processName)
{
    const std::string id = DltIds().take(processName); // without memory for it DLT does not start
    const zel::ScopedLock lock(m_mutex);
    const SignalGuard guard; // for DLT's threads
    const StandardDescriptors standard;
    m_process = getpid();
    dlt_log_set_level(LOG_CRIT); // DLT's own lines would go to the program's standard output
    if (dlt_init() < DLT_RETURN_OK) return false;
    dlt_set_resend_timeout_atexit(NO_WAIT);
    // Later than DLT's own, to be called before it.
    if (!m_hasExitHandler) m_hasExitHandler = std::atexit(processExits) == 0;
    m_isRunning =
        m_hasExitHandler && dlt_register_app(id.c_str(), processName.c_str()) >= DLT_RETURN_OK;
    if (!m_isRunning) dlt_free();
    return m_isRunning;
}

void DltLibrary::stop()
{
    const zel::ScopedLock lock(m_mutex);
    if (!m_isRunning) return;
    m_isRunning = false;
    dlt_unregister_app_flush_buffered_logs();
    dlt_free();
}

void DltLibrary::processExits()
{
    DltLibrary& library = instance();
    if (library.m_process != getpid()) return; // a child has none of it
    const zel::ScopedLock lock(library.m_mutex);
    library.m_isRunning = false;
}

} // namespace impl
} // namespace tracing
