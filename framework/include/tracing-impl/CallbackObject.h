// SPDX-License-Identifier: Apache-2.0
//
// tracing::CallbackObject: what a program registers with the client, to be called from a trace
// tool.
//
//     class Restart : public tracing::CallbackObject
//     {
//         void called(int id, void* data, unsigned int size) override;
//     };
//     const int id = client->registerCallback("restart", &restart);

#ifndef TRACINGIMPL_TRACINGIMPL_CALLBACKOBJECT_H
#define TRACINGIMPL_TRACINGIMPL_CALLBACKOBJECT_H

namespace tracing {

/// A callback with a state. It must live until it is unregistered. Must not throw, and not call
/// `deinit`.
class CallbackObject
{
public:
    virtual ~CallbackObject() = default;

    /// Called by a thread of the client, with the id of the registration and the bytes
    /// `data[0..size)` that the tool sent, which are the callee's to change during the call.
    /// The thread holds all signals back, and so do threads and processes that it starts, unless
    /// they change that.
    virtual void called(int id, void* data, unsigned int size) = 0;
};

} // namespace tracing

#endif // TRACINGIMPL_TRACINGIMPL_CALLBACKOBJECT_H
