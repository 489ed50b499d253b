// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as a request of the control socket, to a process whose channel and callback have the
// names that stand before the first line end.

#include <algorithm>
#include <string>
#include <vector>

#include <Input.h>
#include <tracing-impl/ControlProtocol.h>

namespace {

using fuzz::require;
using namespace tracing::impl;

/// Holds the calls against the request that they come from.
class Target : public RemoteTarget
{
public:
    Target(std::string name, std::string request)
        : m_name(std::move(name)), m_request(std::move(request))
    {}

    std::vector<ChannelState> channels() override
    {
        ++m_lists;
        require(m_request == "list");
        return {{m_name, 1, 2, 3}, {m_name + m_name, 2, 7, 8}};
    }
    bool setLevel(const std::string& path, short level) override
    {
        ++m_calls;
        require(level >= 0 && level <= 9);
        require(m_request.rfind("set " + path + ' ', 0) == 0);
        return path == m_name;
    }
    bool call(const std::string& name, std::string bytes) override
    {
        ++m_calls;
        const std::string begin = "call " + name + ' ';
        require(m_request.rfind(begin, 0) == 0);
        const std::size_t digits = m_request.size() - begin.size();
        require(digits == 2 * bytes.size() || (bytes.empty() && m_request.back() == '-'));
        return name == m_name;
    }

    int m_lists = 0;
    int m_calls = 0;

private:
    const std::string m_name;
    const std::string m_request;
};

bool endsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

bool isPlain(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return (byte >= 0x20 && byte != 0x7F) || c == '\t' || c == '\n';
}

void check(const std::string& name, const std::string& request)
{
    constexpr std::size_t MOST = 1024;
    Target target(name, request);
    const std::string answer = answerTo(request, target);
    require(std::all_of(answer.begin(), answer.end(), isPlain));
    const bool isList = target.m_lists == 1;
    require(std::count(answer.begin(), answer.end(), '\n') == (isList ? 3 : 1));
    const bool isError = answer.rfind("error ", 0) == 0;
    require(isError ? endsWith(answer, "\n") : endsWith(answer, "ok\n"));
    require(!isList || answer.rfind("1 info warning ", 0) == 0);
    require(target.m_calls + target.m_lists <= 1);
    require(isError || target.m_calls + target.m_lists == 1);
    if (request.size() <= MOST) return;
    require(answer == "error the request is too long\n" && target.m_calls == 0 && !isList);
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
    return 0;
}
