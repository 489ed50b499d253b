// SPDX-License-Identifier: Apache-2.0

#include "ControlProtocol.h"

#include <optional>

#include "LineFormat.h"
#include "Printable.h"
#include "Settings.h"

namespace tracing {
namespace impl {

namespace {

constexpr char BLANK = ' ';
constexpr std::string_view NO_BYTES = "-";

std::string errorOf(const std::string& reason)
{
    return "error " + reason + "\n";
}

/// A request, of which a name may hold blanks.
struct Request
{
    std::string_view verb;
    std::string_view name;
    std::string_view value;
};

/// Parts "VERB NAME VALUE" at its first and its last blank. A part that is not there is empty.
Request partsOf(std::string_view request)
{
    const std::size_t first = request.find(BLANK);
    if (first == request.npos) return {request, {}, {}};
    const std::string_view verb = request.substr(0, first);
    const std::string_view rest = request.substr(first + 1);
    const std::size_t last = rest.rfind(BLANK);
    if (last == rest.npos) return {verb, rest, {}};
    return {verb, rest.substr(0, last), rest.substr(last + 1)};
}

std::string list(RemoteTarget& target)
{
    std::string answer;
    for (const ChannelState& state : target.channels()) {
        answer += std::to_string(state.id) + ' ' + levelName(state.ownLevel) + ' ' +
                  levelName(state.effectiveLevel) + ' ';
        appendPrintable(answer, state.path);
        answer += '\n';
    }
    answer += ANSWER_OK;
    return answer;
}

std::string set(const Request& request, RemoteTarget& target)
{
    const std::optional<short> level = levelOf(request.value);
    if (!level) return errorOf("no such level: " + printable(request.value));
    if (target.setLevel(std::string(request.name), *level)) return std::string(ANSWER_OK);
    return errorOf("no such channel: " + printable(request.name));
}

int digitOf(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

/// Returns the bytes of pairs of hexadecimal digits, or nothing for a text that is none.
std::optional<std::string> bytesOf(std::string_view digits)
{
    if (digits == NO_BYTES) return std::string();
    if (digits.empty() || digits.size() % 2 != 0) return {};
    std::string bytes;
    for (std::size_t place = 0; place < digits.size(); place += 2) {
        const int high = digitOf(digits[place]);
        const int low = digitOf(digits[place + 1]);
        if (high < 0 || low < 0) return {};
        bytes += static_cast<char>(high << 4 | low);
    }
    return bytes;
}

std::string call(const Request& request, RemoteTarget& target)
{
    std::optional<std::string> bytes = bytesOf(request.value);
    if (!bytes) return errorOf("no hexadecimal digits: " + printable(request.value));
    if (target.call(std::string(request.name), std::move(*bytes))) return std::string(ANSWER_OK);
    return errorOf("no such callback: " + printable(request.name));
}

} // namespace

std::string answerTo(std::string_view text, RemoteTarget& target)
{
    if (text.size() > MAX_REQUEST) return std::string(ANSWER_TOO_LONG);
    const Request request = partsOf(text);
    if (text == "list") return list(target);
    if (request.verb == "set") return set(request, target);
    if (request.verb == "call") return call(request, target);
    return errorOf("no such request: " + printable(text));
}

} // namespace impl
} // namespace tracing
