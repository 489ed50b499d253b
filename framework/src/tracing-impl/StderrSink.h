// SPDX-License-Identifier: Apache-2.0
//
// Lines to standard error, each with one write.

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_STDERRSINK_H
#define TRACINGIMPL_SRC_TRACINGIMPL_STDERRSINK_H

#include <string_view>

#include "Sink.h"
#include "TimeZones.h"

namespace tracing {
namespace impl {

/// Writes `text` to standard error, with one write if the system takes it at once, and waits if it
/// takes none for now. What fails is dropped; nobody is sent SIGPIPE for it.
void writeToStderr(std::string_view text);

/// Says in a line on standard error what cannot be done.
void complain(const std::string& text);

class StderrSink : public Sink
{
public:
    /// `zones` is not owned and must outlive the sink.
    explicit StderrSink(const TimeZones& zones, bool hasColours = false)
        : m_zones(zones), m_hasColours(hasColours)
    {}

    void write(const Message& message) override;

private:
    const TimeZones& m_zones;
    const bool m_hasColours;
};

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_STDERRSINK_H
