// SPDX-License-Identifier: Apache-2.0
//
// What every client that has nobody to serve does, whatever the reason. A test instantiates the
// suite `DroppingClient` with its situations: classes with a field `client`, a client that drops.

#ifndef ZELCOMMON_TESTS_SUPPORT_DROPPINGCLIENT_H
#define ZELCOMMON_TESTS_SUPPORT_DROPPINGCLIENT_H

#include <string>

#include <common/tracing/Channel.h>
#include <common/tracing/IClient.h>
#include <gtest/gtest.h>

#include "support/ChildProcess.h"
#include "support/WatchedText.h"

// Known to clients alone; this one stands in for it.
class tracing::CallbackObject
{};

namespace support {

inline void ignoreCallback(int, void*, unsigned int) {}

template <typename Situation>
class DroppingClient : public testing::Test
{
protected:
    void sendBytes(const void* data, unsigned int size)
    {
        m_client.logMessage(m_channel, 4, 2, 1, data, size);
    }
    void sendText(char* text, bool takeOwnership)
    {
        m_client.logMessage(m_channel, 4, 1, text, takeOwnership);
    }
    void sendStampedText(char* text, bool takeOwnership)
    {
        m_client.logMessage(m_channel, 4, 1, 78187493530LL, text, takeOwnership);
    }

    Situation m_situation;
    tracing::IClient& m_client = m_situation.client;
    tracing::Channel m_channel{"net", 2, 0};
    tracing::CallbackObject m_object;
};

TYPED_TEST_SUITE_P(DroppingClient);

TYPED_TEST_P(DroppingClient, RegistrationsFail)
{
    EXPECT_EQ(-1, this->m_client.registerCallback("dump", ignoreCallback));
    EXPECT_EQ(-1, this->m_client.registerCallback("dump", &this->m_object));
    EXPECT_EQ(-1, this->m_client.registerTimeZone("UTC", 60));
}

TYPED_TEST_P(DroppingClient, UnregistrationOfACallbackSucceeds)
{
    EXPECT_EQ(0, this->m_client.unregisterCallback(5));
    EXPECT_EQ(0, this->m_client.unregisterCallback(-1));
}

TYPED_TEST_P(DroppingClient, ChannelsStayAsTheyAre)
{
    this->m_channel.setFilterLevel(3);
    EXPECT_FALSE(this->m_client.enableChannel(&this->m_channel));
    EXPECT_FALSE(this->m_client.disableChannel(&this->m_channel));
    EXPECT_FALSE(this->m_client.changeChannelFilterLevel(&this->m_channel, 4));
    EXPECT_EQ(3, this->m_channel.m_filterLevel);
}

TYPED_TEST_P(DroppingClient, OtherOperationsDoNothing)
{
    const auto useAll = [this] {
        this->m_client.registerThread("worker");
        this->m_client.unregisterThread();
        this->m_client.updateTimeZone(3, 78187493530LL);
        this->m_client.emergencyLog("fire");
        this->m_client.emergencyBreak();
        this->m_client.logMessage(this->m_channel, 4, 1, std::string("dry"));
        this->sendBytes("\1\2", 2);
        this->sendBytes(nullptr, 0);
        this->m_client.flushMessages(true);
        this->m_client.flushMessages(false);
    };
    useAll(); // where the situation looks at what another client was told
    const ChildResult result = runInChild(useAll);
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("", result.out);
    EXPECT_EQ("", result.err);
}

TYPED_TEST_P(DroppingClient, OwnedTextIsReleasedOnce)
{
    WatchedText text("dry");
    this->sendText(text.get(), true);
    EXPECT_EQ(1, text.releases());
}

TYPED_TEST_P(DroppingClient, OwnedTextIsReleasedOnce_Stamped)
{
    WatchedText text("dry");
    this->sendStampedText(text.get(), true);
    EXPECT_EQ(1, text.releases());
}

TYPED_TEST_P(DroppingClient, LentTextIsLeftAlone)
{
    WatchedText text("dry");
    this->sendText(text.get(), false);
    EXPECT_EQ(0, text.releases());
    EXPECT_STREQ("dry", text.get());
}

TYPED_TEST_P(DroppingClient, LentTextIsLeftAlone_Stamped)
{
    WatchedText text("dry");
    this->sendStampedText(text.get(), false);
    EXPECT_EQ(0, text.releases());
    EXPECT_STREQ("dry", text.get());
}

TYPED_TEST_P(DroppingClient, NullTextIsHarmless)
{
    const ChildResult result = runInChild([this] {
        this->sendText(nullptr, true);
        this->sendText(nullptr, false);
        this->sendStampedText(nullptr, true);
        this->sendStampedText(nullptr, false);
    });
    EXPECT_EQ(0, result.exitCode) << result.err;
}

TYPED_TEST_P(DroppingClient, IdIsEmptyAndStays)
{
    const std::string& id = this->m_client.getClientId();
    EXPECT_EQ("", id);
    EXPECT_EQ(&id, &this->m_client.getClientId());
}

REGISTER_TYPED_TEST_SUITE_P(DroppingClient, RegistrationsFail, UnregistrationOfACallbackSucceeds,
                            ChannelsStayAsTheyAre, OtherOperationsDoNothing,
                            OwnedTextIsReleasedOnce, OwnedTextIsReleasedOnce_Stamped,
                            LentTextIsLeftAlone, LentTextIsLeftAlone_Stamped, NullTextIsHarmless,
                            IdIsEmptyAndStays);

/// Names a situation after its `NAME`.
struct SituationName
{
    template <typename Situation>
    static std::string GetName(int)
    {
        return Situation::NAME;
    }
};

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_DROPPINGCLIENT_H
