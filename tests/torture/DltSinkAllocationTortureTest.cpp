// SPDX-License-Identifier: Apache-2.0
//
// The sink for DLT, of which each allocation fails in turn.

#include "support/AllocationTorture.h"

#include <new>
#include <string>
#include <utility>

#include <common/tracing/Levels.h>
#include <gtest/gtest.h>
#include <tracing-impl/Sinks.h>

#include "support/ControlTool.h"
#include "tracing-impl/dlt/SilentDlt.h"

extern "C" tracing::impl::Sink*
tracing_impl_make_dlt_sink(const tracing::impl::SinkContext& context);

namespace {

using silentdlt::held;
using support::Outcome;
using support::rightIf;
using support::rightOrRefused;
using support::torture;
using tracing::impl::Message;
using tracing::impl::SinkPtr;

const std::string s_name = "pump_with_a_name_that_is_longer_than_any_on_the_spot";
const std::string s_path = "net_with_a_path_that_is_longer_than_any_on_the_spot";
const std::string s_text(2000, 'x'); // more than one message of DLT takes

Message messageOf(bool isRaw)
{
    Message message = {};
    message.path = s_path;
    message.level = tracing::Levels::LevelINFO;
    message.payload = s_text;
    message.isRaw = isRaw;
    return message;
}

class DltSinkAllocationTorture : public testing::Test
{
protected:
    SinkPtr make() { return SinkPtr(tracing_impl_make_dlt_sink({s_name, m_zones, m_target})); }

    tracing::impl::TimeZones m_zones;
    support::RecordingTarget m_target;
};

TEST_F(DltSinkAllocationTorture, FromBeginningToEnd_GivesEverythingBack)
{
    EXPECT_EQ("3 points", torture([this] {
                  SinkPtr sink = make();
                  const bool isMade = sink != nullptr;
                  const bool isStarted = held.starts == 1 && held.applications == 1;
                  sink.reset();
                  if (held.starts != 0 || held.applications != 0) return support::WRONG;
                  return rightOrRefused(isMade && isStarted, !isMade && !isStarted);
              }));
}

// A channel that found no memory has its context with a later message.
TEST_F(DltSinkAllocationTorture, FirstMessageOfAChannel)
{
    EXPECT_EQ("10 points", torture<std::bad_alloc>([this] {
                  const SinkPtr sink = make();
                  if (sink == nullptr) return support::REFUSED;
                  const int before = std::exchange(held.contexts, 0);
                  bool isRefused = false;
                  try {
                      sink->channelChanged(s_path, 2);
                  } catch (const std::bad_alloc&) {
                      isRefused = held.contexts == 0;
                  }
                  if (isRefused) sink->write(messageOf(true));
                  const bool isThere = std::exchange(held.contexts, before + 1) == 1;
                  return rightIf(isThere);
              }));
}

TEST_F(DltSinkAllocationTorture, Messages)
{
    const SinkPtr sink = make();
    for (const bool isRaw : {false, true}) {
        const std::string points = torture<std::bad_alloc>([&] {
            held.bytes = 0;
            sink->write(messageOf(isRaw));
            return rightIf(held.bytes == s_text.size());
        });
        EXPECT_EQ(isRaw ? "4 points" : "1 points", points);
    }
}

} // namespace
