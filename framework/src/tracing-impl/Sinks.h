// SPDX-License-Identifier: Apache-2.0
//
// Makes the sinks that the environment names, out of what is built in.

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_SINKS_H
#define TRACINGIMPL_SRC_TRACINGIMPL_SINKS_H

#include <string>

#include "RemoteTarget.h"
#include "Settings.h"
#include "Sink.h"
#include "TimeZones.h"

namespace tracing {
namespace impl {

/// What sinks are made for. None of it is owned; it must outlive them.
struct SinkContext
{
    const std::string& processName;
    const TimeZones& zones;
    RemoteTarget& target;
};

/// Returns a sink, or null; `reason` tells why then.
SinkPtr makeSink(const SinkSettings& settings, const SinkContext& context, std::string& reason);

/// Returns one of the sinks of spdlog: standard error, a rotating file or the system log. Throws what
/// spdlog throws.
SinkPtr makeSpdlogSink(const SinkSettings& settings, const SinkContext& context);

/// Returns the sink for DLT, whose module and library are loaded now.
SinkPtr loadDltSink(const SinkContext& context, std::string& reason);

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_SINKS_H
