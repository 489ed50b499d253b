// SPDX-License-Identifier: Apache-2.0
//
// What a tool outside of the process can do to its tracing.

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_REMOTETARGET_H
#define TRACINGIMPL_SRC_TRACINGIMPL_REMOTETARGET_H

#include <string>
#include <vector>

#include "ChannelTree.h"

namespace tracing {
namespace impl {

/// Any thread may call anything.
class RemoteTarget
{
public:
    /// Returns the registered channels in the order of their paths.
    virtual std::vector<ChannelState> channels() = 0;
    /// Sets the level of a path, see `ChannelTree::setLevel`. Returns false for a path that is not
    /// there, or what is no level.
    virtual bool setLevel(const std::string& path, short level) = 0;
    /// Calls what the process has registered under that name. Returns false if there is nothing.
    virtual bool call(const std::string& name, std::string bytes) = 0;

protected:
    ~RemoteTarget() = default;
};

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_REMOTETARGET_H
