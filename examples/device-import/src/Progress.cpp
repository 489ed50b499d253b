// SPDX-License-Identifier: Apache-2.0

#include "Progress.h"

#include <cstddef>

#include <unistd.h>

namespace deviceimport {

Progress::Progress(int fd, zelbase::TimePoint start)
    : m_fd(fd), m_isWatched(isatty(fd) == 1), m_next(start + QUIET + zelbase::Duration(1))
{}

Progress::~Progress()
{
    erase();
}

void Progress::show(std::uint64_t lines, zelbase::TimePoint now)
{
    if (!m_isWatched || now < m_next) return;
    m_next = now + PERIOD;
    const std::string line = std::to_string(lines) + " lines read";
    write("\r" + line); // covers the one before, as the number only grows
    m_width = line.size();
}

void Progress::erase()
{
    if (m_width == 0) return;
    write("\r" + std::string(m_width, ' ') + "\r");
    m_width = 0;
}

/// A terminal that takes no more has nobody who watches.
void Progress::write(const std::string& text)
{
    const ssize_t count = ::write(m_fd, text.data(), text.size());
    if (count != static_cast<ssize_t>(text.size())) m_isWatched = false;
}

} // namespace deviceimport
