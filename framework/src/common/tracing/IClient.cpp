// SPDX-License-Identifier: Apache-2.0

#include <common/tracing/IClient.h>

#include <cstdio>

#include "../../zelbase/NeverDestroyed.h"
#include "../../zelbase/constantInit.h"
#include "../error/ReportGuard.h"

namespace tracing {

namespace {

/// Returns the client that a default operation of `proxy` hands its call to, or null. A client that
/// is its own proxy counts as none, or its call would come back for ever.
IClient* clientBehind(const IClient* proxy)
{
    // The client library may set it meanwhile: one read a call, and a whole one.
    IClient* const client = __atomic_load_n(&IClient::s_client, __ATOMIC_RELAXED);
    return client != proxy ? client : nullptr;
}

/// Releases the text of a message that nobody takes, if it came with the message.
void dropText(const char* text, bool isOwned)
{
    if (isOwned) delete[] text;
}

/// Never destroyed: exit handlers of other libraries may still call it.
ZELCOMMON_CONSTANT_INIT zelbase::NeverDestroyed<DummyHelper> s_dummyHelper;

} // namespace

ZELCOMMON_CONSTANT_INIT IClient* IClient::s_client = nullptr;
ZELCOMMON_CONSTANT_INIT IClientHelper* client_helper = &s_dummyHelper.object;

IClient::~IClient() = default;

void IClient::registerThread(const std::string& name)
{
    if (IClient* const client = clientBehind(this)) client->registerThread(name);
}

void IClient::unregisterThread()
{
    if (IClient* const client = clientBehind(this)) client->unregisterThread();
}

int IClient::registerCallback(const std::string& name, Callback callback)
{
    IClient* const client = clientBehind(this);
    return client != nullptr ? client->registerCallback(name, callback) : -1;
}

int IClient::registerCallback(const std::string& name, CallbackObject* object)
{
    IClient* const client = clientBehind(this);
    return client != nullptr ? client->registerCallback(name, object) : -1;
}

int IClient::unregisterCallback(int id)
{
    IClient* const client = clientBehind(this);
    return client != nullptr ? client->unregisterCallback(id) : 0;
}

int IClient::registerTimeZone(const std::string& name, int value)
{
    IClient* const client = clientBehind(this);
    return client != nullptr ? client->registerTimeZone(name, value) : -1;
}

void IClient::updateTimeZone(int id, long long value)
{
    if (IClient* const client = clientBehind(this)) client->updateTimeZone(id, value);
}

void IClient::emergencyLog(const std::string& text)
{
    if (IClient* const client = clientBehind(this)) client->emergencyLog(text);
}

void IClient::emergencyBreak()
{
    if (IClient* const client = clientBehind(this)) client->emergencyBreak();
}

bool IClient::enableChannel(Channel* channel)
{
    IClient* const client = clientBehind(this);
    return client != nullptr && client->enableChannel(channel);
}

bool IClient::disableChannel(Channel* channel)
{
    IClient* const client = clientBehind(this);
    return client != nullptr && client->disableChannel(channel);
}

bool IClient::changeChannelFilterLevel(Channel* channel, short level)
{
    IClient* const client = clientBehind(this);
    return client != nullptr && client->changeChannelFilterLevel(channel, level);
}

void IClient::logMessage(const Channel& channel, short level, short modifiers,
                         const std::string& text)
{
    if (IClient* const client = clientBehind(this))
        client->logMessage(channel, level, modifiers, text);
}

void IClient::logMessage(const Channel& channel, short level, short messageType, short modifiers,
                         const void* data, unsigned int size)
{
    if (IClient* const client = clientBehind(this))
        client->logMessage(channel, level, messageType, modifiers, data, size);
}

void IClient::logMessage(const Channel& channel, short level, short modifiers, char* text,
                         bool takeOwnership)
{
    IClient* const client = clientBehind(this);
    if (client == nullptr) return dropText(text, takeOwnership);
    client->logMessage(channel, level, modifiers, text, takeOwnership);
}

void IClient::logMessage(const Channel& channel, short level, short modifiers, long long timestamp,
                         char* text, bool takeOwnership)
{
    IClient* const client = clientBehind(this);
    if (client == nullptr) return dropText(text, takeOwnership);
    client->logMessage(channel, level, modifiers, timestamp, text, takeOwnership);
}

void IClient::flushMessages(bool value)
{
    if (IClient* const client = clientBehind(this)) client->flushMessages(value);
}

const std::string& IClient::getClientId()
{
    static zelbase::NeverDestroyed<const std::string> dummy;
    IClient* const client = clientBehind(this);
    return client != nullptr ? client->getClientId() : dummy.object;
}

DummyClient::~DummyClient() = default;

void DummyClient::registerThread(const std::string&) {}

void DummyClient::unregisterThread() {}

int DummyClient::registerCallback(const std::string&, Callback)
{
    return -1;
}

int DummyClient::registerCallback(const std::string&, CallbackObject*)
{
    return -1;
}

int DummyClient::unregisterCallback(int)
{
    return 0;
}

int DummyClient::registerTimeZone(const std::string&, int)
{
    return -1;
}

void DummyClient::updateTimeZone(int, long long) {}

void DummyClient::emergencyLog(const std::string&) {}

void DummyClient::emergencyBreak() {}

bool DummyClient::enableChannel(Channel*)
{
    return false;
}

bool DummyClient::disableChannel(Channel*)
{
    return false;
}

bool DummyClient::changeChannelFilterLevel(Channel*, short)
{
    return false;
}

void DummyClient::logMessage(const Channel&, short, short, const std::string&) {}

void DummyClient::logMessage(const Channel&, short, short, short, const void*, unsigned int) {}

void DummyClient::logMessage(const Channel&, short, short, char* text, bool takeOwnership)
{
    dropText(text, takeOwnership);
}

void DummyClient::logMessage(const Channel&, short, short, long long, char* text,
                             bool takeOwnership)
{
    dropText(text, takeOwnership);
}

void DummyClient::flushMessages(bool) {}

const std::string& DummyClient::getClientId()
{
    static zelbase::NeverDestroyed<const std::string> dummy;
    return dummy.object;
}

IClientHelper::~IClientHelper() = default;

void IClientHelper::setClientHelper(IClientHelper* helper)
{
    client_helper = helper;
}

void IClientHelper::resetClientHelper()
{
    client_helper = &s_dummyHelper.object;
}

DummyHelper::~DummyHelper() = default;

bool DummyHelper::init(const std::string& processName)
{
    const errorcore::ReportGuard guard;
    flockfile(stderr);
    std::fputs("FW_Tracing: init() called but no client instance available for process ", stderr);
    std::fwrite(processName.data(), 1, processName.size(), stderr);
    std::fputs(". Probably you forgot to link against tracing-impl?\n", stderr);
    std::fflush(stderr);
    funlockfile(stderr);
    return false;
}

void DummyHelper::deinit() {}

IClient* DummyHelper::getClient()
{
    return &m_client;
}

} // namespace tracing
