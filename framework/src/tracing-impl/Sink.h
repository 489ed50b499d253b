// SPDX-License-Identifier: Apache-2.0
//
// Where messages go. A sink is called by one thread at a time.

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_SINK_H
#define TRACINGIMPL_SRC_TRACINGIMPL_SINK_H

#include <memory>
#include <string>

#include "Message.h"

namespace tracing {
namespace impl {

/// The one interface of all back-ends.
class Sink
{
public:
    virtual ~Sink() = default;

    /// Writes the message. What fails is dropped. A text sink shows an obfuscated message by its
    /// size alone.
    virtual void write(const Message& message) = 0;

    /// Returns when everything is out.
    virtual void flush() {}

    /// Tells of a channel that was taken in, or got another level (the effective one).
    virtual void channelChanged(const std::string& /*path*/, short /*level*/) {}
};

using SinkPtr = std::unique_ptr<Sink>;

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_SINK_H
