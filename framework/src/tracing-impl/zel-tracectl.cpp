// SPDX-License-Identifier: Apache-2.0
//
// Controls the tracing of a process through its control socket, see docs/tracing-impl.md.

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <string_view>

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

/// Exit statuses.
enum {
    DONE = 0,
    REFUSED = 1, ///< the process answered with an error, or is not there
    WRONG_USE = 2,
};

constexpr const char* SOCKET_VARIABLE = "ZEL_TRACE_CONTROL";
constexpr const char* HEX_DIGITS = "0123456789abcdef";
/// Seconds in which a process answers, unless a callback takes its time.
constexpr time_t PATIENCE = 5;
constexpr std::string_view OK = "ok";
constexpr std::string_view ERROR = "error ";

constexpr const char* HELP =
    "Usage: zel-tracectl [--socket PATH] COMMAND\n"
    "Controls the tracing of a process. PATH is what the process was given in\n"
    "ZEL_TRACE_CONTROL; without the option it is this program's own ZEL_TRACE_CONTROL.\n"
    "\n"
    "  list              print the id, the own level, the level and the path of each channel\n"
    "  set PATH LEVEL    change the level of a channel and of what is below it\n"
    "  call NAME [TEXT]  call what the process has registered under NAME\n"
    "  watch             print messages as they come, until interrupted\n";

int complain(const std::string& text)
{
    std::fprintf(stderr, "zel-tracectl: %s\n", text.c_str());
    return REFUSED;
}

int complainOfUse()
{
    std::fputs(HELP, stderr);
    return WRONG_USE;
}

/// Returns a connected socket, or -1 with `errno`.
int connectTo(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        return -1;
    }
    std::memcpy(address.sun_path, path.data(), path.size());
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd == -1) return -1;
    if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return fd;
    const int error = errno;
    close(fd);
    errno = error;
    return -1;
}

bool sendAll(int fd, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t count = send(fd, text.data(), text.size(), MSG_NOSIGNAL);
        if (count == -1 && errno == EINTR) continue;
        if (count <= 0) return false;
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

/// Reads lines from a socket.
class LineSource
{
public:
    explicit LineSource(int fd) : m_fd(fd) {}

    /// Returns whether there was a line, which is in `line` without its end.
    bool next(std::string& line)
    {
        std::size_t end = m_bytes.find('\n');
        while (end == std::string::npos) {
            char block[4096];
            const ssize_t count = recv(m_fd, block, sizeof block, 0);
            if (count == -1 && errno == EINTR) continue;
            if (count <= 0) {
                m_isLate = count == -1 && (errno == EAGAIN || errno == EWOULDBLOCK);
                return false;
            }
            m_bytes.append(block, static_cast<std::size_t>(count));
            end = m_bytes.find('\n');
        }
        line = m_bytes.substr(0, end);
        m_bytes.erase(0, end + 1);
        return true;
    }

    /// Returns whether there was none because the time limit has passed.
    bool isLate() const { return m_isLate; }

private:
    const int m_fd;
    bool m_isLate = false;
    std::string m_bytes;
};

/// Lets reading fail after a while, or never.
void limitTime(int fd, time_t seconds)
{
    const timeval limit{seconds, 0};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
}

/// Prints the answer, and, if `isWatch`, what comes behind it.
int printAnswer(LineSource& source, bool isWatch)
{
    std::string line;
    while (source.next(line)) {
        if (line.compare(0, ERROR.size(), ERROR) == 0) return complain(line.substr(ERROR.size()));
        if (line == OK) break;
        std::puts(line.c_str());
    }
    if (line != OK)
        return complain(source.isLate() ? "the process does not answer"
                                        : "the process has hung up");
    while (isWatch && source.next(line)) {
        std::puts(line.c_str());
        std::fflush(stdout);
    }
    return DONE;
}

/// Returns the bytes of `text` in hexadecimal digits, "-" if there are none.
std::string digitsOf(std::string_view text)
{
    std::string digits;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        digits += HEX_DIGITS[byte >> 4];
        digits += HEX_DIGITS[byte & 0xF];
    }
    return digits.empty() ? "-" : digits;
}

/// Returns the request of a command line, or "" for one that is none.
std::string requestOf(int count, char* const words[])
{
    const std::string_view verb = count > 0 ? words[0] : "";
    if (count == 1 && (verb == "list" || verb == "watch")) return words[0];
    if (count == 3 && verb == "set") return std::string("set ") + words[1] + ' ' + words[2];
    if ((count == 2 || count == 3) && verb == "call")
        return std::string("call ") + words[1] + ' ' + digitsOf(count == 3 ? words[2] : "");
    return {};
}

int run(const std::string& path, const std::string& request)
{
    const int fd = connectTo(path);
    if (fd == -1) return complain(path + ": " + std::strerror(errno));
    LineSource source(fd);
    const bool isQuick = request == "list" || request.compare(0, 4, "set ") == 0;
    if (isQuick) limitTime(fd, PATIENCE);
    const bool isSent = sendAll(fd, request + '\n');
    const int status =
        isSent ? printAnswer(source, request == "watch") : complain("the process has hung up");
    close(fd);
    return status;
}

} // namespace

int main(int argc, char* argv[])
{
    const char* path = std::getenv(SOCKET_VARIABLE);
    int first = 1;
    if (argc > 2 && std::string_view(argv[1]) == "--socket") {
        path = argv[2];
        first = 3;
    }
    if (argc == 2 && std::string_view(argv[1]) == "--help") {
        std::fputs(HELP, stdout);
        return DONE;
    }
    const std::string request = requestOf(argc - first, argv + first);
    if (request.empty() || request.find('\n') != std::string::npos) return complainOfUse();
    if (path == nullptr) return complain("no socket: neither --socket nor ZEL_TRACE_CONTROL");
    return run(path, request);
}
