// SPDX-License-Identifier: Apache-2.0
//
// A trace client that notes each call, and keeps what it was handed as a client has to: strings and
// bytes as copies, owned text buffers until it is destroyed.
//
//     support::RecordingClient client;
//     channel.m_client = &client;
//     channel.logC(2, "up");
//     EXPECT_EQ("string channel=net level=2 modifiers=0 text=up", client.calls());

#ifndef ZELCOMMON_TESTS_SUPPORT_RECORDINGCLIENT_H
#define ZELCOMMON_TESTS_SUPPORT_RECORDINGCLIENT_H

#include <memory>
#include <string>
#include <vector>

#include <common/tracing/IClient.h>

namespace support {

/// What each operation answers is set by the public fields. Not thread-safe.
class RecordingClient : public tracing::IClient
{
public:
    RecordingClient();
    ~RecordingClient() override;
    RecordingClient(const RecordingClient&) = delete;
    RecordingClient& operator=(const RecordingClient&) = delete;

    /// Returns the calls since the last time this was asked, one a line.
    std::string calls();

    /// Returns the texts of the last text-buffer call as the address that it came with.
    const char* lastBuffer() const { return m_lastBuffer; }

    void registerThread(const std::string& name) override;
    void unregisterThread() override;
    int registerCallback(const std::string& name, Callback callback) override;
    int registerCallback(const std::string& name, tracing::CallbackObject* object) override;
    int unregisterCallback(int id) override;
    int registerTimeZone(const std::string& name, int value) override;
    void updateTimeZone(int id, long long value) override;
    void emergencyLog(const std::string& text) override;
    void emergencyBreak() override;
    bool enableChannel(tracing::Channel* channel) override;
    bool disableChannel(tracing::Channel* channel) override;
    bool changeChannelFilterLevel(tracing::Channel* channel, short level) override;
    void logMessage(const tracing::Channel& channel, short level, short modifiers,
                    const std::string& text) override;
    void logMessage(const tracing::Channel& channel, short level, short messageType,
                    short modifiers, const void* data, unsigned int size) override;
    void logMessage(const tracing::Channel& channel, short level, short modifiers, char* text,
                    bool takeOwnership) override;
    void logMessage(const tracing::Channel& channel, short level, short modifiers,
                    long long timestamp, char* text, bool takeOwnership) override;
    void flushMessages(bool value) override;
    const std::string& getClientId() override;

    int status = 41;
    bool answer = true;
    std::string id = "recording";

private:
    void note(const std::string& call);
    /// Takes an owned text over, to be released with this object.
    void keep(char* text, bool takeOwnership);

    std::string m_calls;
    const char* m_lastBuffer = nullptr;
    std::vector<std::unique_ptr<char[]>> m_owned;
};

/// Makes a client the process's one for as long as it lives.
class InstalledClient
{
public:
    explicit InstalledClient(tracing::IClient& client) { tracing::IClient::s_client = &client; }
    ~InstalledClient() { tracing::IClient::s_client = nullptr; }
    InstalledClient(const InstalledClient&) = delete;
    InstalledClient& operator=(const InstalledClient&) = delete;
};

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_RECORDINGCLIENT_H
