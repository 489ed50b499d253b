// SPDX-License-Identifier: Apache-2.0
//
// The sink over the stand-in for DLT's library.

#ifndef ZELCOMMON_TESTS_TRACINGIMPL_DLT_DLTSINKFIXTURE_H
#define ZELCOMMON_TESTS_TRACINGIMPL_DLT_DLTSINKFIXTURE_H

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <common/tracing/Levels.h>
#include <gtest/gtest.h>
#include <tracing-impl/Sinks.h>

#include "FakeDlt.h"

extern "C" tracing::impl::Sink*
tracing_impl_make_dlt_sink(const tracing::impl::SinkContext& context);

namespace fakedlt {

using Calls = std::vector<std::string>;

/// Where a new level comes from: somebody who changes it, or a daemon that answers for what it has.
constexpr std::uint8_t CHANGED = DLT_TRACE_STATUS_ON;
constexpr std::uint8_t ANSWERED = DLT_TRACE_STATUS_OFF;

/// Writes down what is asked of the process.
class RecordingTarget final : public tracing::impl::RemoteTarget
{
public:
    std::vector<tracing::impl::ChannelState> channels() override { return {}; }
    bool setLevel(const std::string& path, short level) override
    {
        calls.push_back(path + "=" + tracing::Levels::NAMES[level]);
        if (onLevel) onLevel();
        return true;
    }
    bool call(const std::string& name, std::string bytes) override
    {
        calls.push_back(name + "(" + bytes + ")");
        if (onCall) onCall();
        return name != "unknown";
    }

    Calls calls;
    std::function<void()> onLevel;
    std::function<void()> onCall;
};

/// What tests of the sink are built on.
class SinkFixture : public testing::Test
{
protected:
    SinkFixture() { reset(); }

    tracing::impl::SinkPtr make(const std::string& name = "pump")
    {
        m_name = name;
        return tracing::impl::SinkPtr(tracing_impl_make_dlt_sink({m_name, m_zones, m_target}));
    }
    /// A sink whose start is not among the calls.
    tracing::impl::SinkPtr makeQuietly()
    {
        tracing::impl::SinkPtr sink = make();
        takeCalls();
        return sink;
    }

    std::string m_name;
    tracing::impl::TimeZones m_zones;
    RecordingTarget m_target;
};

} // namespace fakedlt

#endif // ZELCOMMON_TESTS_TRACINGIMPL_DLT_DLTSINKFIXTURE_H
