// SPDX-License-Identifier: Apache-2.0
//
// The logging calls of a channel, with any texts, formats' values, pieces and limits, to a client,
// to one that hands on, and to none: what the client gets is written down beside it. Raw bytes lie
// in memory of exactly their size.

#include <climits>
#include <memory>
#include <string>
#include <vector>

#include <Input.h>
#include <common/tracing/Channel.h>
#include <common/tracing/Levels.h>
#include <support/RecordingClient.h>

namespace {

using fuzz::Input;
using std::string;

constexpr unsigned int MOST_STEPS = 24;
constexpr unsigned int PIECES = 4;
constexpr std::size_t FORMATTED = 511; // characters
constexpr unsigned int HUGE_SIZE = UINT_MAX;

/// Leaves everything to the process's client.
class Proxy : public tracing::IClient
{};

/// The text, repeated to lengths around the limits.
string textFrom(Input& input)
{
    const unsigned int form = input.byte();
    const string piece = input.text(form % 8);
    string text = piece;
    while (form >= 0xC0 && !piece.empty() && text.size() + piece.size() <= 448 + form)
        text += piece;
    return text;
}

/// What the formatting puts out of a text and a number.
string formatted(const string& text, int number, std::size_t most)
{
    return (string(text.c_str()) + "|" + std::to_string(number)).substr(0, most);
}

/// Pieces of a raw message; the sizes of some leave 32 bits together.
struct Pieces
{
    explicit Pieces(Input& input)
    {
        const unsigned int form = input.byte();
        for (count = 0; count < form % (PIECES + 1); ++count) {
            const std::vector<unsigned char> bytes = input.bytes(input.below(9));
            blocks[count] = std::make_unique<char[]>(bytes.size());
            std::copy(bytes.begin(), bytes.end(), blocks[count].get());
            sizes[count] = static_cast<unsigned int>(bytes.size());
            joined.append(bytes.begin(), bytes.end());
        }
        isTooMuch = form >= 0xE0 && count > 1 && sizes[0] > 0;
        if (isTooMuch) sizes[count - 1] = HUGE_SIZE;
    }
    /// Null behind the last piece.
    const void* at(unsigned int i) const { return i < count ? blocks[i].get() : nullptr; }

    std::unique_ptr<char[]> blocks[PIECES];
    unsigned int sizes[PIECES] = {};
    unsigned int count = 0;
    string joined;
    bool isTooMuch = false;
};

class Machine
{
public:
    explicit Machine(Input& input) : m_input(input), m_channel("net", 0, 0) {}

    void run()
    {
        for (unsigned int i = 0; i < MOST_STEPS && !m_input.isEmpty(); ++i) {
            const unsigned int operation = m_input.byte();
            chooseClient(operation / 64);
            m_channel.setFilterLevel(static_cast<short>(operation / 16 % 4 * 3));
            m_level = static_cast<short>(static_cast<int>(m_input.below(16)) - 3);
            const unsigned int modifiers = m_input.byte();
            m_modifiers = static_cast<short>(modifiers * 0x101); // beyond a byte, and negative
            call(operation % 16);
        }
    }

private:
    enum ClientKind { DIRECT, PROXY, PROXY_OF_NONE, NONE };

    void chooseClient(unsigned int kind)
    {
        m_isHeard = kind == DIRECT || kind == PROXY;
        tracing::IClient::s_client = kind == PROXY ? &m_client : nullptr;
        m_channel.m_client = kind == DIRECT ? &m_client : kind == NONE ? nullptr : m_proxy;
    }

    void call(unsigned int operation)
    {
        if (operation < 6) return callText(operation);
        if (operation < 9) return callFixed(operation);
        if (operation < 12) return callLimited(operation);
        callRaw(operation);
    }

    void callText(unsigned int operation)
    {
        const string text = textFrom(m_input);
        const string plain = text.c_str();
        const bool passes = m_channel.m_filterLevel <= m_level;
        switch (operation) {
        case 0: m_channel.log(m_level, text); return expect(passes, "string", 0, text);
        case 1:
            m_channel.log(m_level, m_modifiers, text.c_str());
            return expect(passes, "string", m_modifiers, plain);
        case 2: m_channel.logMessage(m_level, text); return expect(true, "string", 0, text);
        case 3:
            m_channel.logMessage(m_level, m_modifiers, text);
            return expect(true, "string", m_modifiers, text);
        case 4: m_channel.logC(m_level, text.c_str()); return expect(true, "string", 0, plain);
        default:
            m_channel.logC(m_level, m_modifiers, text.c_str());
            return expect(true, "string", m_modifiers, plain);
        }
    }

    void callFixed(unsigned int operation)
    {
        const string text = textFrom(m_input);
        const int number = static_cast<int>(m_input.number());
        const string expected = formatted(text, number, FORMATTED);
        const long long time = (number + 1LL) * 0x100000;
        switch (operation) {
        case 6:
            m_channel.logCV(m_level, "%s|%d", text.c_str(), number);
            return expect(true, "string", 0, expected);
        case 7:
            m_channel.logCV(m_level, m_modifiers, "%s|%d", text.c_str(), number);
            return expect(true, "string", m_modifiers, expected);
        default:
            m_channel.logCV(m_level, m_modifiers, time, "%s|%d", text.c_str(), number);
            return expect(true, "stamped", m_modifiers, expected, stamp(time, "lent"));
        }
    }

    void callLimited(unsigned int operation)
    {
        const string text = textFrom(m_input);
        const int number = static_cast<int>(m_input.number());
        const unsigned int form = m_input.byte();
        const unsigned int most = form == 0xFF ? UINT_MAX : form < 0x80 ? form % 16 : form * 4;
        const string expected = formatted(text, number, most > 0 ? most - 1 : 0);
        const bool fits = most != UINT_MAX;
        const long long time = -(number + 1LL) * 1000;
        switch (operation) {
        case 9:
            m_channel.logCVN(m_level, most, "%s|%d", text.c_str(), number);
            return expect(fits, "buffer", 0, expected, " owned");
        case 10:
            m_channel.logCVN(m_level, m_modifiers, most, "%s|%d", text.c_str(), number);
            return expect(fits, "buffer", m_modifiers, expected, " owned");
        default:
            m_channel.logCVN(m_level, m_modifiers, time, most, "%s|%d", text.c_str(), number);
            return expect(fits, "stamped", m_modifiers, expected, stamp(time, "owned"));
        }
    }

    void callRaw(unsigned int operation)
    {
        const auto type = static_cast<short>(m_input.byte() * 0x1FF);
        const Pieces p(m_input);
        const bool isOne = p.count > 0 && !p.isTooMuch;
        switch (operation) {
        case 12:
            m_channel.logRawV(m_level, type, m_modifiers, p.at(0), p.sizes[0], p.at(1), p.sizes[1],
                              p.at(2), p.sizes[2], p.at(3), p.sizes[3], nullptr);
            return expectRaw(!p.isTooMuch, type, m_modifiers, p.joined);
        case 13:
            m_channel.logRawV(m_level, type, p.at(0), p.sizes[0], p.at(1), p.sizes[1], p.at(2),
                              p.sizes[2], p.at(3), p.sizes[3], nullptr);
            return expectRaw(!p.isTooMuch, type, 0, p.joined);
        case 14:
            if (!isOne) return;
            m_channel.logRaw(m_level, type, m_modifiers, p.at(0), p.sizes[0]);
            return expectRaw(true, type, m_modifiers, p.joined.substr(0, p.sizes[0]));
        default:
            if (!isOne) return;
            m_channel.logRaw(m_level, type, p.at(0), p.sizes[0]);
            return expectRaw(true, type, 0, p.joined.substr(0, p.sizes[0]));
        }
    }

    static string stamp(long long time, const string& ownership)
    {
        return " time=" + std::to_string(time) + " " + ownership;
    }
    void expect(bool isSent, const string& form, int modifiers, const string& text,
                const string& more = "")
    {
        const string call = form + " channel=net level=" + std::to_string(m_level) +
                            " modifiers=" + std::to_string(modifiers) + more + " text=" + text;
        fuzz::requireSame(isSent && m_isHeard ? call : "", m_client.calls());
    }
    void expectRaw(bool isSent, int type, int modifiers, const string& bytes)
    {
        const string call = "raw channel=net level=" + std::to_string(m_level) +
                            " modifiers=" + std::to_string(modifiers) +
                            " type=" + std::to_string(type) +
                            " size=" + std::to_string(bytes.size()) + " data=" + bytes;
        fuzz::requireSame(isSent && m_isHeard ? call : "", m_client.calls());
    }

    Input& m_input;
    tracing::Channel m_channel;
    support::RecordingClient m_client;
    Proxy m_proxyClient;
    tracing::IClient* const m_proxy = &m_proxyClient;
    bool m_isHeard = false;
    short m_level = 0;
    short m_modifiers = 0;
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    Machine(input).run();
    tracing::IClient::s_client = nullptr;
    return 0;
}
