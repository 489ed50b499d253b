// SPDX-License-Identifier: Apache-2.0

#include "Sinks.h"

#include <exception>

#include "StderrSink.h"

namespace tracing {
namespace impl {

SinkPtr makeSink(const SinkSettings& settings, const SinkContext& context, std::string& reason)
{
    try {
        if (settings.kind == SinkSettings::DLT) return loadDltSink(context, reason);
#ifdef ZEL_TRACE_WITH_SPDLOG
        return makeSpdlogSink(settings, context);
#else
        if (settings.kind == SinkSettings::STDERR) return SinkPtr(new StderrSink(context.zones));
        reason = "it is not built in";
#endif
    } catch (const std::exception& error) {
        reason = error.what();
    }
    return nullptr;
}

} // namespace impl
} // namespace tracing
