// SPDX-License-Identifier: Apache-2.0
//
// Slow models of the binary streams, which go byte by byte. They follow the script of a scripted
// stream, and tell what the library has to print, too.

#ifndef ZELCOMMON_TESTS_SUPPORT_SLOWBINSTREAMS_H
#define ZELCOMMON_TESTS_SUPPORT_SLOWBINSTREAMS_H

#include <deque>
#include <string>
#include <vector>

#include <support/ReportText.h>
#include <support/ScriptedStreams.h>

namespace support {

/// What a model and its stream have to agree on between two calls: the bytes in the buffer and
/// their place, the calls, and what was taken.
inline std::string streamState(unsigned int begin, unsigned int end, const std::string& held,
                               const std::string& notes, const std::string& taken = "")
{
    return "[" + std::to_string(begin) + ".." + std::to_string(end) + ") '" + held + "' " + notes +
           " '" + taken + "'";
}

inline std::string stateOf(const ScriptedInput& stream)
{
    return streamState(stream.readPos, stream.readEnd, stream.held(), stream.notes);
}

inline std::string stateOf(const ScriptedOutput& stream)
{
    return streamState(stream.writePos, stream.writeEnd, stream.held(), stream.notes, stream.taken);
}

/// What both models have: the script, the notes, and the stream's error. A model raises nothing;
/// it knows whether there is an error.
class SlowBinStream
{
public:
    SlowBinStream(const std::vector<Transfer>& script, unsigned int size, bool isHooked)
        : m_script(script.begin(), script.end()), m_size(size), m_isHooked(isHooked)
    {}

    bool hasError = false;
    /// What the hooks of the next calls do.
    bool checkFails = false;
    bool syncFails = false;

    std::string state() const
    {
        return streamState(m_begin, m_begin + static_cast<unsigned int>(m_held.size()),
                           std::string(m_held.begin(), m_held.end()), m_notes, m_taken);
    }
    /// What the library has to print, since the last time.
    std::string takeWarnings()
    {
        std::string warnings;
        warnings.swap(m_warnings);
        return warnings;
    }

protected:
    void note(const std::string& call) { m_notes += (m_notes.empty() ? "" : " ") + call; }

    Transfer next(const char* call, unsigned int size, const Transfer& last)
    {
        note(call + ("(" + std::to_string(size) + ")"));
        Transfer transfer = last;
        if (!m_script.empty()) {
            transfer = m_script.front();
            m_script.pop_front();
        }
        if (transfer.leavesCount) transfer.count = 0;
        if (transfer.count > size) transfer.count = size;
        if (transfer.raises) hasError = true;
        return transfer;
    }
    /// Returns whether the hook fails.
    bool check()
    {
        if (m_isHooked) note("check");
        return m_isHooked && checkFails;
    }
    char removeFirst()
    {
        const char byte = m_held.front();
        m_held.pop_front();
        ++m_begin;
        if (m_held.empty()) m_begin = 0;
        return byte;
    }
    /// Fails with the plain line, unless there is an error.
    int failPrinted(const std::string& operation)
    {
        if (!hasError)
            m_warnings += operation + "| Warning: stream implementation indicated failure but "
                                      "didn't raise a StreamError!\n";
        return -1;
    }
    /// Fails with a report, unless there is an error.
    int failReported(const std::string& location, const std::string& words)
    {
        if (!hasError)
            m_warnings +=
                warningText("src/common/" + location,
                            "stream implementation indicated " + words + " raise a StreamError!");
        return -1;
    }

    unsigned int m_begin = 0;
    std::deque<char> m_held;
    std::string m_notes;
    std::string m_taken;
    std::deque<Transfer> m_script;
    unsigned int m_size;
    bool m_isHooked;

private:
    std::string m_warnings;
};

/// Reading.
class SlowInput : public SlowBinStream
{
public:
    using SlowBinStream::SlowBinStream;

    /// Returns what `readText` does.
    std::string read(unsigned int size)
    {
        std::string data;
        const int status = read(size, data);
        return std::to_string(status) + " " + data;
    }

private:
    int read(unsigned int size, std::string& data)
    {
        if (size == 0) return 0;
        if (m_size > 0) {
            if (check()) return -1;
            if (!m_held.empty()) return giveHeld(size, data);
        }
        if (m_size > 0 && size < m_size) {
            const Transfer transfer = next("read", m_size, Transfer());
            for (unsigned int i = 0; i < transfer.count; ++i)
                m_held.push_back(transfer.bytes[i]);
            return transfer.fails ? failPrinted("read") : giveHeld(size, data);
        }
        const Transfer transfer = next("read", size, Transfer());
        if (transfer.fails)
            return failReported("IBinInputStream:124, read()", "failure but didn't");
        data = transfer.bytes.substr(0, transfer.count);
        return data.empty() ? 0 : 1;
    }

    int giveHeld(unsigned int size, std::string& data)
    {
        while (data.size() < size && !m_held.empty())
            data.push_back(removeFirst());
        return data.empty() ? 0 : 1;
    }
};

/// Writing and flushing.
class SlowOutput : public SlowBinStream
{
public:
    SlowOutput(const std::vector<Transfer>& script, unsigned int size, bool isHooked,
               bool isBlocking)
        : SlowBinStream(script, size, isHooked), m_isBlocking(isBlocking)
    {}

    /// Returns what `writeText` does.
    std::string write(const std::string& data)
    {
        unsigned int written = 0;
        const int status = write(data, written);
        return std::to_string(status) + " " + std::to_string(written);
    }

    bool flush(bool deep)
    {
        if (m_size > 0 && !m_held.empty()) {
            if (check()) return true;
            do {
                const Transfer transfer = offerHeld();
                for (unsigned int i = 0; i < transfer.count; ++i)
                    removeFirst();
                if (transfer.fails) return failPrinted("flush") != 0;
            } while (m_isBlocking && !m_held.empty());
        }
        if (!deep || !m_isHooked) return false;
        note("sync");
        return syncFails && failPrinted("flush") != 0;
    }

private:
    int write(const std::string& data, unsigned int& written)
    {
        if (data.empty()) return 0;
        if (m_size == 0) return writeUnbuffered(data, written);
        if (check()) return -1;
        if (!m_held.empty() || data.size() <= m_size) {
            written = store(data);
            if (m_begin + m_held.size() == m_size) {
                const Transfer transfer = offerHeld();
                if (transfer.fails) return failPrinted("write");
                for (unsigned int i = 0; i < transfer.count; ++i)
                    removeFirst();
            }
            if (written == data.size()) return 1;
        }
        return m_held.empty() ? writePast(data, written) : written > 0;
    }

    int writePast(const std::string& data, unsigned int& written)
    {
        const Transfer transfer = offer(data.substr(written));
        if (transfer.fails) return failPrinted("write");
        written += transfer.count;
        written += store(data.substr(written));
        return written > 0 ? 1 : 0;
    }
    int writeUnbuffered(const std::string& data, unsigned int& written)
    {
        const Transfer transfer = offer(data);
        written = transfer.count;
        if (!transfer.fails) return written > 0 ? 1 : 0;
        return failReported("IBinOutputStream:118, write()", "failurebut didn't");
    }
    Transfer offer(const std::string& data)
    {
        const auto size = static_cast<unsigned int>(data.size());
        const Transfer transfer = next("write", size, take(size));
        m_taken += data.substr(0, transfer.count);
        return transfer;
    }
    Transfer offerHeld() { return offer(std::string(m_held.begin(), m_held.end())); }
    unsigned int store(const std::string& data)
    {
        unsigned int count = 0;
        while (count < data.size() && m_begin + m_held.size() < m_size)
            m_held.push_back(data[count++]);
        return count;
    }

    bool m_isBlocking;
};

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_SLOWBINSTREAMS_H
