// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as a request of the control socket, to a process whose channel and callback have the
// names that stand before the first line end: the answer, and what is asked of the process, must be
// what a slow reader finds.

#include <string>
#include <utility>
#include <vector>

#include <Input.h>
#include <tracing-impl/ControlProtocol.h>

#include "SlowSettings.h"

namespace {

using fuzz::requireSame;
namespace slow = fuzz::slow;
using namespace tracing::impl;

/// Notes what it is asked.
class Target : public RemoteTarget
{
public:
    explicit Target(std::string name) : m_name(std::move(name)) {}

    std::vector<ChannelState> channels() override
    {
        m_calls += "list";
        return {{m_name, 1, 2, 3}, {m_name + m_name, 2, 7, 8}};
    }
    bool setLevel(const std::string& path, short level) override
    {
        m_calls += "set " + std::to_string(level) + " " + path;
        return path == m_name;
    }
    bool call(const std::string& name, std::string bytes) override
    {
        m_calls += "call " + std::to_string(name.size()) + " " + name + bytes;
        return name == m_name;
    }
    const std::string& calls() const { return m_calls; }

private:
    const std::string m_name;
    std::string m_calls;
};

/// What is to be answered to a request, and asked of the process then.
class Model
{
public:
    Model(std::string name, const std::string& request) : m_name(std::move(name))
    {
        if (request.size() > MOST)
            answer = "error the request is too long\n";
        else if (request == "list")
            list();
        else if (!takeSet(request) && !takeCall(request))
            answer = "error no such request: " + slow::printed(request) + "\n";
    }

    std::string answer;
    std::string calls;

private:
    static constexpr std::size_t MOST = 1024;

    void list()
    {
        calls = "list";
        answer = "1 info warning " + slow::printed(m_name) + "\n2 none disabled " +
                 slow::printed(m_name + m_name) + "\nok\n";
    }

    /// Parts what stands behind `verb` at its last blank. Returns false for another request.
    static bool part(const std::string& request, const std::string& verb, std::string& name,
                     std::string& value)
    {
        if (request != verb && request.compare(0, verb.size() + 1, verb + " ") != 0) return false;
        name = request == verb ? "" : request.substr(verb.size() + 1);
        const std::size_t blank = name.rfind(' ');
        if (blank == name.npos) return true;
        value = name.substr(blank + 1);
        name.erase(blank);
        return true;
    }
    void end(const std::string& name, const std::string& what)
    {
        answer =
            name == m_name ? "ok\n" : "error no such " + what + ": " + slow::printed(name) + "\n";
    }

    bool takeSet(const std::string& request)
    {
        std::string name;
        std::string value;
        if (!part(request, "set", name, value)) return false;
        const int level = slow::levelOf(value);
        answer = "error no such level: " + slow::printed(value) + "\n";
        if (level < 0) return true;
        calls = "set " + std::to_string(level) + " " + name;
        end(name, "channel");
        return true;
    }
    bool takeCall(const std::string& request)
    {
        std::string name;
        std::string value;
        if (!part(request, "call", name, value)) return false;
        answer = "error no hexadecimal digits: " + slow::printed(value) + "\n";
        std::string bytes;
        const bool isHex = value.find_first_not_of("0123456789abcdefABCDEF") == value.npos;
        if (value != "-" && (!isHex || value.empty() || value.size() % 2 == 1)) return true;
        for (std::size_t i = 0; value != "-" && i < value.size(); i += 2)
            bytes += static_cast<char>(std::stoi(value.substr(i, 2), nullptr, 16));
        calls = "call " + std::to_string(name.size()) + " " + name + bytes;
        end(name, "callback");
        return true;
    }

    const std::string m_name;
};

/// `text`, and as many bytes more as make it the longest request, or one byte more or less.
std::string nearLongest(const std::string& text)
{
    return text + std::string(MAX_REQUEST - 1 + text.size() % 3 - text.size(), 'e');
}

void check(const std::string& name, const std::string& request)
{
    Target target(name);
    const std::string answer = answerTo(request, target);
    const Model model(name, request);
    requireSame(model.answer, answer);
    requireSame(model.calls, target.calls());
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(data, data + size);
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string name = text.substr(0, end);
    const std::string rest = text.substr(std::min(end + 1, text.size()));
    check(name, rest);
    check(name, text);
    check(rest, "set " + rest + " none");
    check(rest, "call " + rest + " -");
    check(name, "call " + name + " " + rest);
    if (rest.size() < MAX_REQUEST) check(name, nearLongest(rest));
    return 0;
}
