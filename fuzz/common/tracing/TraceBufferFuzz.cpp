// SPDX-License-Identifier: Apache-2.0
//
// A program over the line of a trace buffer: pieces at any levels, filters that change, texts that
// are missing. What the client gets and what is asserted is written down beside it.

#include <optional>
#include <string>
#include <utility>

#include <CapturedStream.h>
#include <Input.h>
#include <common/tracing/Channel.h>
#include <common/tracing/TraceBuffer.h>
#include <support/RecordingClient.h>
#include <support/ReportText.h>

namespace {

using fuzz::Input;
using std::string;

constexpr unsigned int MOST_STEPS = 40;
constexpr std::size_t FORMATTED = 511; // characters
constexpr short FATAL = 5;             // the highest level without a complaint

/// Not a constant to the compiler, which warns of null formats.
const char* volatile s_none = nullptr;

/// A piece, which may have no text.
struct Piece
{
    explicit Piece(Input& input)
    {
        const unsigned int form = input.byte();
        isMissing = form == 0xFF;
        const string piece = input.text(form % 8).c_str();
        text = piece;
        while (form >= 0xC0 && !piece.empty() && text.size() + piece.size() <= 448 + form)
            text += piece;
    }
    const char* chars() const { return isMissing ? nullptr : text.c_str(); }
    string formatted() const { return ("<" + text + ">").substr(0, FORMATTED); }

    bool isMissing;
    string text;
};

/// What the buffer is to do.
class Model
{
public:
    explicit Model(bool hasChannel) : m_hasChannel(hasChannel)
    {
        if (!hasChannel) complain(13, "TraceBuffer", "m_channel");
    }

    /// A piece from one of the calls, told by the line and the name that it complains under.
    void add(const Piece& piece, bool isFormatted)
    {
        const int line = isFormatted ? 64 : 56;
        if (isWhole(piece, line, isFormatted ? "appendf" : "append")) append(piece, isFormatted);
    }
    void add(short level, const Piece& piece, bool isFormatted)
    {
        const char* const function = isFormatted ? "appendf" : "append";
        const int line = isFormatted ? 93 : 80;
        checkLevel(level, line, function);
        if (!passes(level) || !isWhole(piece, line, function)) return;
        append(piece, isFormatted);
        if (level > m_level) m_level = level;
    }
    void set(short level, const Piece& piece, bool isFormatted)
    {
        const char* const function = isFormatted ? "setf" : "set";
        const int line = isFormatted ? 38 : 23;
        checkLevel(level, line, function);
        if (!passes(level)) return reset();
        if (!isWhole(piece, line, function)) return;
        m_text.clear();
        append(piece, isFormatted);
        m_level = level;
    }
    void reset()
    {
        m_text.clear();
        m_level = 0;
    }
    void print()
    {
        if (!m_text.empty() && passes(m_level))
            m_sent += "string channel=net level=" + std::to_string(m_level) +
                      " modifiers=0 text=" + m_text;
        reset();
    }

    short filter = 0;
    string takeSent() { return std::exchange(m_sent, {}); }
    string takeComplaints() { return std::exchange(m_complaints, {}); }

private:
    bool passes(short level) const { return m_hasChannel && filter <= level; }
    void append(const Piece& piece, bool isFormatted)
    {
        m_text += isFormatted ? piece.formatted() : piece.text;
    }
    void complain(int line, const string& function, const string& condition)
    {
        m_complaints += support::assertionText(
            "src/common/tracing/TraceBuffer:" + std::to_string(line) + ", " + function + "()",
            condition);
    }
    void checkLevel(short level, int line, const char* function)
    {
        if (level > FATAL) complain(line, function, "level <= Levels::LevelFATAL");
    }
    bool isWhole(const Piece& piece, int line, const string& function)
    {
        if (piece.isMissing) complain(line, function, function.back() == 'f' ? "format" : "text");
        return !piece.isMissing;
    }

    const bool m_hasChannel;
    string m_text;
    short m_level = 0;
    string m_sent;
    string m_complaints;
};

class Machine
{
public:
    explicit Machine(Input& input) : m_input(input), m_channel("net", 0, 0)
    {
        m_channel.m_client = &m_client;
        m_channel.setFilterLevel(0);
        begin(true);
    }

    void run()
    {
        for (unsigned int i = 0; i < MOST_STEPS && !m_input.isEmpty(); ++i) {
            step();
            compare();
        }
        m_model->print();
        m_buffer.reset();
        compare();
    }

private:
    void compare()
    {
        fuzz::requireSame(m_model->takeSent(), m_client.calls());
        fuzz::requireSame(m_model->takeComplaints(), m_printed.take());
    }

    void begin(bool hasChannel)
    {
        m_model.emplace(hasChannel);
        m_model->filter = m_channel.m_filterLevel;
        m_buffer.emplace(hasChannel ? &m_channel : nullptr);
    }

    void step()
    {
        const unsigned int operation = m_input.byte();
        const auto level = static_cast<short>(static_cast<int>(operation / 16 % 16) - 3);
        switch (operation % 16) {
        case 0: return end(operation < 0xF0);
        case 1: return setFilter(level);
        case 2: m_model->print(); return m_buffer->print();
        case 3: m_model->reset(); return m_buffer->reset();
        case 4:
        case 5: return add(Piece(m_input), operation % 2 == 1);
        case 6:
        case 7:
        case 8:
        case 9:
        case 10: return add(level, Piece(m_input), operation % 2 == 1);
        default: return set(level, Piece(m_input), operation % 2 == 1);
        }
    }

    /// The line is sent with the buffer's end.
    void end(bool hasChannel)
    {
        m_model->print();
        m_buffer.reset();
        compare();
        begin(hasChannel);
    }
    void setFilter(short level)
    {
        m_channel.setFilterLevel(level);
        m_model->filter = level;
    }
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
    void add(const Piece& piece, bool isFormatted)
    {
        m_model->add(piece, isFormatted);
        if (!isFormatted) return m_buffer->append(piece.chars());
        if (piece.isMissing) return m_buffer->appendf(s_none);
        m_buffer->appendf("<%s>", piece.chars());
    }
    void add(short level, const Piece& piece, bool isFormatted)
    {
        m_model->add(level, piece, isFormatted);
        if (!isFormatted) return m_buffer->append(level, piece.chars());
        if (piece.isMissing) return m_buffer->appendf(level, s_none);
        m_buffer->appendf(level, "<%s>", piece.chars());
    }
    void set(short level, const Piece& piece, bool isFormatted)
    {
        m_model->set(level, piece, isFormatted);
        if (!isFormatted) return m_buffer->set(level, piece.chars());
        if (piece.isMissing) return m_buffer->setf(level, s_none);
        m_buffer->setf(level, "<%s>", piece.chars());
    }
#pragma GCC diagnostic pop

    Input& m_input;
    fuzz::CapturedStderr m_printed;
    support::RecordingClient m_client;
    tracing::Channel m_channel;
    std::optional<Model> m_model;
    std::optional<tracing::TraceBuffer> m_buffer;
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    Machine(input).run();
    return 0;
}
