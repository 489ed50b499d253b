// SPDX-License-Identifier: Apache-2.0
//
// Descriptors that are closed at the end, alone and in connected pairs.
//
//     support::Pipe pipe;
//     pipe.writer.put("abc");
//     pipe.reader.close();

#ifndef ZELCOMMON_TESTS_SUPPORT_DESCRIPTORS_H
#define ZELCOMMON_TESTS_SUPPORT_DESCRIPTORS_H

#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace support {

class Descriptor
{
public:
    /// Ends the process if `fd` is none.
    explicit Descriptor(int fd) : m_fd(fd)
    {
        if (fd == -1) std::abort();
    }
    ~Descriptor() { close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    operator int() const { return m_fd; }

    void close()
    {
        if (m_fd != -1) ::close(m_fd);
        m_fd = -1;
    }
    /// Writes `bytes` in one piece.
    void put(const std::string& bytes) const
    {
        if (write(m_fd, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
            std::abort();
    }
    /// Reads what there is, up to 100 bytes; "nothing" if that fails.
    std::string take() const
    {
        char bytes[100];
        const ssize_t count = read(m_fd, bytes, sizeof bytes);
        return count < 0 ? "nothing" : std::string(bytes, static_cast<std::size_t>(count));
    }

private:
    int m_fd;
};

/// What a call fills that makes two descriptors.
struct Ends
{
    int fds[2] = {-1, -1};
};

/// Two descriptors of which the one reads what is written to the other.
struct Pair
{
    explicit Pair(const Ends& ends) : reader(ends.fds[0]), writer(ends.fds[1]) {}

    Descriptor reader;
    Descriptor writer;
};

struct Pipe : Pair
{
    /// With O_NONBLOCK neither end blocks.
    explicit Pipe(int flags = 0) : Pair(make(flags)) {}

private:
    static Ends make(int flags)
    {
        Ends ends;
        if (pipe2(ends.fds, flags | O_CLOEXEC) != 0) std::abort();
        return ends;
    }
};

struct Sockets : Pair
{
    /// Of `kind`, to which SOCK_NONBLOCK may be added.
    explicit Sockets(int kind = SOCK_STREAM) : Pair(make(kind)) {}

private:
    static Ends make(int kind)
    {
        Ends ends;
        if (socketpair(AF_UNIX, kind | SOCK_CLOEXEC, 0, ends.fds) != 0) std::abort();
        return ends;
    }
};

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_DESCRIPTORS_H
