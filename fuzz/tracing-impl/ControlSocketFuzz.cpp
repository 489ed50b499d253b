// SPDX-License-Identifier: Apache-2.0
//
// Any bytes over a control socket, in any pieces: what comes back, and what is asked of the
// process, is held against the requests one by one. The input is a byte for each piece, of its
// length and of what becomes of it, and its bytes.

#include <algorithm>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <Input.h>
#include <support/ControlTool.h>
#include <support/TemporaryFolder.h>
#include <tracing-impl/ControlProtocol.h>
#include <tracing-impl/ControlSocket.h>

namespace {

using fuzz::require;
using support::ControlTool;
using support::RecordingTarget;
using namespace tracing::impl;

constexpr unsigned int IS_WAITED_FOR = 0x20; // until it is taken
constexpr unsigned int IS_REPEATED = 0x40;
constexpr int MOST_PIECES = 8;
constexpr int MOST_REPEATED = 3;
constexpr int TIMES = 40; // with which a piece becomes longer than a request

/// The process.
class Server
{
public:
    Server()
    {
        std::string reason;
        require(m_socket.open(path(), reason));
    }

    std::string path() const { return m_folder.pathOf("sock"); }
    /// Returns what it was asked since the last time.
    std::string take() { return m_target.take(); }

private:
    const support::TemporaryFolder m_folder;
    RecordingTarget m_target;
    ControlSocket m_socket{m_target, std::make_shared<Watchers>()};
};

/// What a connection comes to: the answers, and what was asked of the process.
struct Outcome
{
    bool operator==(const Outcome& other) const
    {
        return answers == other.answers && calls == other.calls;
    }

    std::string answers;
    std::string calls;
};

/// What may come of the bytes. A request that is too long is refused at its end, or, with the
/// connection, as soon as that is seen.
class Model
{
public:
    explicit Model(std::string bytes) : m_rest(std::move(bytes))
    {
        while (takeRequest()) {}
        m_possible.push_back(m_outcome);
    }

    bool allows(const Outcome& outcome) const
    {
        return std::find(m_possible.begin(), m_possible.end(), outcome) != m_possible.end();
    }

private:
    /// Returns false for the end.
    bool takeRequest()
    {
        const std::size_t end = m_rest.find('\n');
        const std::string request = m_rest.substr(0, end);
        if (request.size() > MAX_REQUEST)
            m_possible.push_back(
                {m_outcome.answers + std::string(ANSWER_TOO_LONG), m_outcome.calls});
        if (end == std::string::npos) return takeRest();
        m_rest.erase(0, end + 1);
        return answer(request);
    }
    bool takeRest()
    {
        if (m_rest.size() > MAX_REQUEST)
            m_outcome.answers += ANSWER_TOO_LONG;
        else if (!m_rest.empty())
            m_outcome.answers += ANSWER_CUT_OFF;
        return false;
    }
    bool answer(const std::string& request)
    {
        if (m_isWatching) {
            m_outcome.answers += ANSWER_BEHIND_WATCH;
            return false;
        }
        m_isWatching = request == WATCH_REQUEST;
        m_outcome.answers += m_isWatching ? std::string(ANSWER_OK) : answerTo(request, m_target);
        m_outcome.calls += m_target.take();
        return true;
    }

    std::string m_rest;
    bool m_isWatching = false;
    RecordingTarget m_target;
    Outcome m_outcome;
    std::vector<Outcome> m_possible;
};

/// A tool that does not hold up the process.
class Tool
{
public:
    explicit Tool(const std::string& path) : m_tool(path) { require(m_tool.isConnected()); }

    /// Sends the next piece.
    void sendPiece(fuzz::Input& input)
    {
        const unsigned int form = input.byte();
        const std::string text = input.text(1 + form % IS_WAITED_FOR);
        const bool isRepeated = (form & IS_REPEATED) != 0 && m_repeated++ < MOST_REPEATED;
        std::string piece;
        for (int i = 0; i < (isRepeated ? TIMES : 1); ++i)
            piece += text;
        m_sent += piece;
        m_tool.send(piece); // unless it has been hung up on
        while ((form & IS_WAITED_FOR) != 0 && !m_tool.isTaken()) {
            m_answers += m_tool.take();
            std::this_thread::yield();
        }
    }
    std::string end()
    {
        m_tool.endRequests();
        return m_answers + m_tool.rest();
    }
    const std::string& sent() const { return m_sent; }

private:
    ControlTool m_tool;
    int m_repeated = 0;
    std::string m_sent;
    std::string m_answers;
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Server s_server;
    fuzz::Input input(data, size);
    Tool tool(s_server.path());
    for (int i = 0; i < MOST_PIECES && !input.isEmpty(); ++i)
        tool.sendPiece(input);
    const std::string answers = tool.end();
    require(Model(tool.sent()).allows({answers, s_server.take()}));
    return 0;
}
