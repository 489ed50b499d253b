// SPDX-License-Identifier: Apache-2.0
//
// A pseudo terminal.

#ifndef DEVICE_IMPORT_TEST_TERMINAL_H
#define DEVICE_IMPORT_TEST_TERMINAL_H

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

namespace registrytest {

/// A terminal whose other end is read here.
class Terminal
{
public:
    Terminal()
    {
        if (openpty(&m_reader, &m_writer, nullptr, nullptr, nullptr) != 0) std::abort();
        termios settings = {};
        tcgetattr(m_writer, &settings);
        cfmakeraw(&settings);
        tcsetattr(m_writer, TCSANOW, &settings);
    }
    ~Terminal()
    {
        close(m_writer);
        close(m_reader);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    int fd() const { return m_writer; }

    /// Returns what was written since the last call. A mark tells where it ends.
    std::string take()
    {
        EXPECT_EQ(1, write(m_writer, "$", 1));
        std::string text;
        for (char byte = 0; read(m_reader, &byte, 1) == 1 && byte != '$';)
            text += byte;
        return text;
    }

private:
    int m_reader = -1;
    int m_writer = -1;
};

} // namespace registrytest

#endif // DEVICE_IMPORT_TEST_TERMINAL_H
