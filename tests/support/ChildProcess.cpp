// SPDX-License-Identifier: Apache-2.0

#include "support/ChildProcess.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>
#include <poll.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#ifdef SUPPORT_COVERAGE
extern "C" void __gcov_dump();
#endif

namespace support {

namespace {

struct Pipe
{
    Pipe()
    {
        if (pipe(ends) != 0) abort();
    }
    int ends[2];
};

void redirect(Pipe& pipe, int descriptor)
{
    dup2(pipe.ends[1], descriptor);
    close(pipe.ends[0]);
    close(pipe.ends[1]);
}

/// Reads both pipes to their ends.
void readAll(int outEnd, int errEnd, ChildResult& result)
{
    pollfd ends[] = {{outEnd, POLLIN, 0}, {errEnd, POLLIN, 0}};
    std::string* const texts[] = {&result.out, &result.err};
    for (int open = 2; open > 0;) {
        if (poll(ends, 2, -1) < 0) continue;
        for (int index = 0; index < 2; ++index) {
            if (ends[index].revents == 0) continue;
            char buffer[4096];
            const ssize_t count = read(ends[index].fd, buffer, sizeof buffer);
            if (count > 0) {
                texts[index]->append(buffer, static_cast<size_t>(count));
                continue;
            }
            close(ends[index].fd);
            ends[index].fd = -1;
            --open;
        }
    }
}

/// Removes what the emulator adds to the child's own last words.
void dropEmulatorNote(std::string& text)
{
    const size_t note = text.rfind("qemu: uncaught target signal");
    if (note != std::string::npos) text.resize(note);
}

#ifdef SUPPORT_COVERAGE
/// For a signal that ends the process.
void saveAndEnd(int number)
{
    saveCoverage();
    signal(number, SIG_DFL);
    raise(number);
}
#endif

[[noreturn]] void leave(bool throughExit)
{
    const int code = testing::Test::HasFailure() ? 1 : 0;
    if (throughExit) exit(code);
    fflush(nullptr);
    saveCoverage();
    _exit(code);
}

ChildResult run(const std::function<void()>& body, bool throughExit)
{
    ChildResult result;
    Pipe out;
    Pipe err;
    fflush(nullptr);
    result.pid = fork();
    if (result.pid == 0) {
        redirect(out, STDOUT_FILENO);
        redirect(err, STDERR_FILENO);
#ifdef SUPPORT_COVERAGE
        signal(SIGABRT, saveAndEnd);
        signal(SIGTRAP, saveAndEnd);
#endif
        body();
        leave(throughExit);
    }
    close(out.ends[1]);
    close(err.ends[1]);
    readAll(out.ends[0], err.ends[0], result);

    int status = 0;
    while (waitpid(result.pid, &status, 0) < 0) {}
    if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) {
        result.signal = WTERMSIG(status);
        dropEmulatorNote(result.err);
    }
    return result;
}

} // namespace

void saveCoverage()
{
#ifdef SUPPORT_COVERAGE
    // The process may have taken from itself what it needs for that.
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = limit.rlim_max;
    if (setrlimit(RLIMIT_FSIZE, &limit) == 0 && seteuid(getuid()) == 0) __gcov_dump();
#endif
}

ChildResult runInChild(const std::function<void()>& body)
{
    return run(body, false);
}

ChildResult runInChildToExit(const std::function<void()>& body)
{
    return run(body, true);
}

std::string reportTitle(const std::string& title, const ChildResult& result)
{
    return title + " in process " + std::to_string(result.pid) + " / thread " + threadText() +
           " !\n";
}

std::string threadText()
{
    return std::to_string(static_cast<long>(pthread_self()));
}

} // namespace support
