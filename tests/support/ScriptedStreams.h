// SPDX-License-Identifier: Apache-2.0
//
// Binary streams whose primitives follow a script, and that note each call with its size.
//
//     ScriptedInput input(64, {deliver("abc"), deliver("").failing()});
//     EXPECT_EQ("1 ab", readText(input, 2));
//     EXPECT_EQ("read(64)", input.notes);

#ifndef ZELCOMMON_TESTS_SUPPORT_SCRIPTEDSTREAMS_H
#define ZELCOMMON_TESTS_SUPPORT_SCRIPTEDSTREAMS_H

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <common/IBinInputStream.h>
#include <common/IBinOutputStream.h>
#include <common/error/Error.h>

namespace support {

/// What one call of a primitive does.
struct Transfer
{
    /// Put into the reader's data as far as they fit.
    std::string bytes;
    /// The count that is reported, whatever is true.
    unsigned int count = 0;
    bool fails = false;
    bool raises = false;
    bool leavesCount = false;

    Transfer failing() const
    {
        Transfer other = *this;
        other.fails = true;
        return other;
    }
    /// Fails with row 1 of `StreamError`.
    Transfer raising() const
    {
        Transfer other = failing();
        other.raises = true;
        return other;
    }
    Transfer claiming(unsigned int untrueCount) const
    {
        Transfer other = *this;
        other.count = untrueCount;
        return other;
    }
    Transfer leavingCount() const
    {
        Transfer other = *this;
        other.leavesCount = true;
        return other;
    }
};

/// Gives a reader `bytes`.
inline Transfer deliver(const std::string& bytes)
{
    Transfer transfer;
    transfer.bytes = bytes;
    transfer.count = static_cast<unsigned int>(bytes.size());
    return transfer;
}

/// Takes `count` bytes from a writer.
inline Transfer take(unsigned int count)
{
    return Transfer().claiming(count);
}

inline void raiseStreamError()
{
    std::ErrorOutput("pump.cpp", 7, true)(std::IBinStreamBase::StreamError, 1);
}

/// The transfers in their order, and the notes of the calls: "read(64) check read(2)".
class Script
{
public:
    Script(std::vector<Transfer> script) : transfers(std::move(script)) {}

    std::vector<Transfer> transfers;
    std::string notes;

protected:
    void note(const std::string& call) { notes += (notes.empty() ? "" : " ") + call; }
    void note(const char* call, unsigned int size)
    {
        note(call + ("(" + std::to_string(size) + ")"));
    }

    /// Returns the next transfer; `last` behind the script's end.
    Transfer next(const Transfer& last)
    {
        return m_done < transfers.size() ? transfers[m_done++] : last;
    }
    static bool finish(const Transfer& transfer, unsigned int& count)
    {
        if (!transfer.leavesCount) count = transfer.count;
        if (transfer.raises) raiseStreamError();
        return transfer.fails;
    }

private:
    std::size_t m_done = 0;
};

/// A stream to read from. It ends behind its script.
class ScriptedInput : public std::IBinInputStream, public Script
{
public:
    explicit ScriptedInput(unsigned int size, std::vector<Transfer> script = {},
                           bool isBlocking = true)
        : IBinInputStream(isBlocking, size), Script(std::move(script))
    {}

    using IBinInputStream::blocking;
    using IBinInputStream::buffer;
    using IBinInputStream::bufferSize;
    using IBinInputStream::readEnd;
    using IBinInputStream::readPos;

    /// The unread bytes.
    std::string held() const
    {
        return readPos == readEnd ? "" : std::string(buffer + readPos, buffer + readEnd);
    }

protected:
    bool performRead(void* data, unsigned int size, unsigned int& got) override
    {
        note("read", size);
        const Transfer transfer = next(Transfer());
        std::memcpy(data, transfer.bytes.data(),
                    std::min<std::size_t>(transfer.bytes.size(), size));
        return finish(transfer, got);
    }
};

/// A stream to write to. Behind its script it takes all.
class ScriptedOutput : public std::IBinOutputStream, public Script
{
public:
    explicit ScriptedOutput(unsigned int size, std::vector<Transfer> script = {},
                            bool isBlocking = true)
        : IBinOutputStream(isBlocking, size), Script(std::move(script))
    {}

    using IBinOutputStream::blocking;
    using IBinOutputStream::buffer;
    using IBinOutputStream::bufferSize;
    using IBinOutputStream::writeEnd;
    using IBinOutputStream::writePos;

    /// What was taken.
    std::string taken;

    /// The unwritten bytes.
    std::string held() const
    {
        return writePos == writeEnd ? "" : std::string(buffer + writePos, buffer + writeEnd);
    }

protected:
    bool performWrite(const void* data, unsigned int size, unsigned int& written) override
    {
        note("write", size);
        const Transfer transfer = next(take(size));
        const unsigned int count = transfer.leavesCount ? 0 : std::min(transfer.count, size);
        taken.append(static_cast<const char*>(data), count);
        return finish(transfer, written);
    }
};

/// What a replaced hook does. Returns whether it fails.
using Hook = std::function<bool()>;

/// As `ScriptedInput`, with its hook replaced; notes "check".
class HookedInput : public ScriptedInput
{
public:
    using ScriptedInput::ScriptedInput;
    Hook check = [] { return false; };

protected:
    bool checkReadBufferConsistency() override
    {
        note("check");
        return check();
    }
};

/// As `ScriptedOutput`, with both hooks replaced; notes "check" and "sync".
class HookedOutput : public ScriptedOutput
{
public:
    using ScriptedOutput::ScriptedOutput;
    Hook check = [] { return false; };
    Hook sync = [] { return false; };

protected:
    bool checkWriteBufferConsistency() override
    {
        note("check");
        return check();
    }
    bool performFlush() override
    {
        note("sync");
        return sync();
    }
};

/// A status as text, the same whether plain `char` has a sign or not.
inline std::string statusText(char status)
{
    return status == static_cast<char>(-1) ? "-1" : std::to_string(status);
}

/// Reads into a block of that size. Returns the status and the bytes: "1 abc".
inline std::string readText(std::IBinInputStream& input, unsigned int size)
{
    std::vector<char> data(size, '?');
    unsigned int got = 12345;
    const std::string status = statusText(input.read(data.data(), size, got));
    if (got > size) return status + " with a count of " + std::to_string(got);
    return status + " " + std::string(data.data(), got);
}

/// Writes from a block of that size. Returns the status and the count: "1 3".
inline std::string writeText(std::IBinOutputStream& output, const std::string& bytes)
{
    const std::vector<char> data(bytes.begin(), bytes.end());
    unsigned int written = 12345;
    const std::string status =
        statusText(output.write(data.data(), static_cast<unsigned int>(data.size()), written));
    return status + " " + std::to_string(written);
}

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_SCRIPTEDSTREAMS_H
