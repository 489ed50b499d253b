// SPDX-License-Identifier: Apache-2.0
//
// What the binary input and output streams have in common: the errors, and the blocking mode. A
// class that is both kinds of stream has one base of this kind.
//
//     if (output.flush(true)) {
//         const bool isBroken = std::ErrorStorage::isA(std::IBinStreamBase::StreamError);
//         std::ErrorStorage::ack();
//         return isBroken ? reconnect() : false;
//     }

#ifndef ZELCOMMON_COMMON_IBINSTREAMBASE_H
#define ZELCOMMON_COMMON_IBINSTREAMBASE_H

#include <common/error/ErrorType.h>
#include <zel/attributes.h>

namespace std {

/// The base of all binary streams. Not thread-safe: a stream belongs to one thread at a time, and
/// so do its errors.
class ZEL_EXPORT IBinStreamBase
{
public:
    /// The failures of streams, raised by the concrete ones. No row takes values.
    /// 0: "the binary i/o stream is broken"
    /// 1: "a binary i/o stream operation failed"
    /// 2: "end of binary i/o stream has been reached. no more i/o possible"
    /// 3: "the requested operation is not supported by the binary i/o stream implementation"
    /// 4: "an unknown error has occured on the binary i/o stream"
    static ErrorType StreamError;

    virtual ~IBinStreamBase();
    IBinStreamBase(const IBinStreamBase&) = delete;
    IBinStreamBase& operator=(const IBinStreamBase&) = delete;

    /// Returns whether the stream can be used. One that is input and output overrides it.
    virtual bool isValid() const = 0;

protected:
    IBinStreamBase() = default;

    /// Whether a flush goes on until the whole buffer is out, also while the device takes nothing.
    /// If not, it stops after the first partial transfer. In a class that is input and output this
    /// is the value of the one that is constructed last.
    bool blocking = true;
};

} // namespace std

#endif // ZELCOMMON_COMMON_IBINSTREAMBASE_H
