// SPDX-License-Identifier: Apache-2.0
//
// A line that tells people at a terminal how far the program is, if it takes long. It is rewritten
// in place, and gone in the end.
//
//     Progress progress(STDERR_FILENO, zelbase::TimePoint::now());
//     while (!waitFor(result, Progress::PERIOD)) progress.show(lines, zelbase::TimePoint::now());

#ifndef DEVICE_IMPORT_PROGRESS_H
#define DEVICE_IMPORT_PROGRESS_H

#include <cstdint>
#include <string>

#include <zelbase/time.h>

namespace deviceimport {

/// The line "N lines read". Not thread-safe. Has no clock of its own.
class Progress
{
public:
    /// How long nothing is shown, and the least time between two lines.
    static constexpr zelbase::Duration QUIET{1000};
    static constexpr zelbase::Duration PERIOD{100};

    /// For the terminal `fd`, which is not owned; if it is none, nothing is ever shown.
    Progress(int fd, zelbase::TimePoint start);
    /// As `erase`.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Returns whether it is worth calling `show` now and then.
    bool isWatched() const { return m_isWatched; }

    /// Shows how many `lines` were read, unless it is too early for that.
    void show(std::uint64_t lines, zelbase::TimePoint now);

    /// Removes the line, so that something else can be printed in its place; it may come again.
    void erase();

private:
    void write(const std::string& text);

    const int m_fd;
    bool m_isWatched;
    /// When the next line is due.
    zelbase::TimePoint m_next;
    /// Characters that are shown.
    std::size_t m_width = 0;
};

} // namespace deviceimport

#endif // DEVICE_IMPORT_PROGRESS_H
