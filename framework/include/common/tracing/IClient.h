// SPDX-License-Identifier: Apache-2.0
//
// The boundary between this library, which describes channels and hands messages on, and the client
// library that transports them. A process without a client library runs all the same: the helper
// that stands in for it says what is missing each time it is started, and messages are dropped.
//
//     tracing::client_helper->init("pump-service");
//     ...
//     tracing::client_helper->deinit();

#ifndef ZELCOMMON_COMMON_TRACING_ICLIENT_H
#define ZELCOMMON_COMMON_TRACING_ICLIENT_H

#include <string>

#include <zel/attributes.h>

namespace tracing {

class Channel;
/// Known to the client library alone; here it is only passed on by pointer.
class CallbackObject;

/// What a trace client does. A client that is built elsewhere calls and is called by slot: the
/// operations keep their order.
///
/// None of the operations is pure. The default of each hands the call on to the process's client,
/// `s_client`, and returns its result; without one, and in the process's client itself, it does
/// nothing and returns what is said below. So an object that leaves operations out is a proxy. What
/// the arguments mean beyond their names is the client's business.
///
/// Any thread may call any operation, several at once. A derived class that overrides one form of
/// `logMessage` or `registerCallback` hides the others: override all, or add a using-declaration.
class ZEL_EXPORT IClient
{
public:
    /// Called with an id, data and the size of the data in bytes.
    using Callback = void (*)(int, void*, unsigned int);

    virtual ~IClient();

    /// The calling thread, under `name`.
    virtual void registerThread(const std::string& name);
    /// Takes the calling thread's name back.
    virtual void unregisterThread();

    /// Returns the callback's id, or -1.
    virtual int registerCallback(const std::string& name, Callback callback);
    /// Returns the callback's id, or -1. `object` stays the caller's.
    virtual int registerCallback(const std::string& name, CallbackObject* object);
    /// Returns the client's status, or 0.
    virtual int unregisterCallback(int id);

    /// Returns the zone's id, or -1.
    virtual int registerTimeZone(const std::string& name, int value);
    /// A new value for the zone of that id.
    virtual void updateTimeZone(int id, long long value);

    /// A text that is to be seen at once, past channels and their levels.
    virtual void emergencyLog(const std::string& text);
    /// Asks for a stop in a debugger; without one it may end the process.
    virtual void emergencyBreak();

    /// Return whether the client did so; false without one.
    /// @{
    virtual bool enableChannel(Channel* channel);
    virtual bool disableChannel(Channel* channel);
    virtual bool changeChannelFilterLevel(Channel* channel, short level);
    /// @}

    /// The string form.
    virtual void logMessage(const Channel& channel, short level, short modifiers,
                            const std::string& text);
    /// The raw form: `data[0..size)`, which is the caller's again when the call returns.
    virtual void logMessage(const Channel& channel, short level, short messageType, short modifiers,
                            const void* data, unsigned int size);
    /// The text-buffer form: `text` is terminated, or null, which is no message. If `takeOwnership`
    /// is true, it was allocated by array new and the receiver releases it by array delete, also
    /// when it drops the message. If it is false, the receiver copies what it needs before it
    /// returns.
    virtual void logMessage(const Channel& channel, short level, short modifiers, char* text,
                            bool takeOwnership);
    /// The time-stamped text-buffer form. Ownership as in the text-buffer form.
    virtual void logMessage(const Channel& channel, short level, short modifiers,
                            long long timestamp, char* text, bool takeOwnership);

    /// Asks the client to send what it has queued. `value` is the client's to read: that of
    /// `tracing-impl` returns when everything is out if it is true, and at once if it is not.
    virtual void flushMessages(bool value);
    /// Returns the client's id, or an empty text. Valid until the process ends.
    virtual const std::string& getClientId();

    /// The process's client, null without one. Set by the client library before other threads log
    /// and taken back after; not owned, and to live until then.
    static IClient* s_client;
};

/// A client that drops everything, whether the process has another or not.
class ZEL_EXPORT DummyClient : public IClient
{
public:
    ~DummyClient() override;

    void registerThread(const std::string& name) override;
    void unregisterThread() override;
    int registerCallback(const std::string& name, Callback callback) override;
    int registerCallback(const std::string& name, CallbackObject* object) override;
    int unregisterCallback(int id) override;
    int registerTimeZone(const std::string& name, int value) override;
    void updateTimeZone(int id, long long value) override;
    void emergencyLog(const std::string& text) override;
    void emergencyBreak() override;
    bool enableChannel(Channel* channel) override;
    bool disableChannel(Channel* channel) override;
    bool changeChannelFilterLevel(Channel* channel, short level) override;
    void logMessage(const Channel& channel, short level, short modifiers,
                    const std::string& text) override;
    void logMessage(const Channel& channel, short level, short messageType, short modifiers,
                    const void* data, unsigned int size) override;
    void logMessage(const Channel& channel, short level, short modifiers, char* text,
                    bool takeOwnership) override;
    void logMessage(const Channel& channel, short level, short modifiers, long long timestamp,
                    char* text, bool takeOwnership) override;
    void flushMessages(bool value) override;
    const std::string& getClientId() override;
};

/// How the framework starts and stops the client library. Called by slot, as `IClient`.
class ZEL_EXPORT IClientHelper
{
public:
    virtual ~IClientHelper();

    /// Starts the client for the process named so. Returns whether there is one.
    virtual bool init(const std::string& processName) = 0;
    /// Stops the client, if it was started.
    virtual void deinit() = 0;
    /// Returns the helper's client, which it owns.
    virtual IClient* getClient() = 0;

    /// Makes `helper`, which is not checked and not owned, the process's helper; it must live until
    /// the next change. The one before is neither told nor freed.
    static void setClientHelper(IClientHelper* helper);
    /// Makes the fallback helper the process's helper again.
    static void resetClientHelper();
};

/// Stands in for the client library of a process that is linked without one.
class ZEL_EXPORT DummyHelper : public IClientHelper
{
public:
    ~DummyHelper() override;

    /// Says on standard error that there is no client for `processName`. Returns false.
    bool init(const std::string& processName) override;
    /// Does nothing.
    void deinit() override;
    /// Returns a client that drops everything.
    IClient* getClient() override;

private:
    DummyClient m_client;
};

/// The process's helper, the fallback helper at first. Not owned.
ZEL_EXPORT extern IClientHelper* client_helper;

} // namespace tracing

#endif // ZELCOMMON_COMMON_TRACING_ICLIENT_H
