// SPDX-License-Identifier: Apache-2.0
//
// How long our library takes to be loaded, and how long a trivial one: by dlopen in a process that
// has neither, and as the whole life of a program that is linked with it. Prints the medians of
// interleaved runs and their ratios, one figure a line.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <vector>

#include <dlfcn.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int ROUNDS = 301;

using Nanoseconds = long long;

Nanoseconds now()
{
    timespec reading{};
    clock_gettime(CLOCK_MONOTONIC, &reading);
    return reading.tv_sec * 1000000000LL + reading.tv_nsec;
}

[[noreturn]] void giveUp(const char* what)
{
    std::perror(what);
    std::exit(1);
}

[[noreturn]] void loadAndTell(const char* library, int teller)
{
    const Nanoseconds start = now();
    if (dlopen(library, RTLD_NOW) == nullptr) _exit(1);
    const Nanoseconds taken = now() - start;
    _exit(write(teller, &taken, sizeof taken) == sizeof taken ? 0 : 1);
}

Nanoseconds timeOfLoading(const char* library)
{
    int ends[2];
    if (pipe(ends) != 0) giveUp("pipe");
    const pid_t child = fork();
    if (child < 0) giveUp("fork");
    if (child == 0) loadAndTell(library, ends[1]);
    close(ends[1]);
    Nanoseconds taken = 0;
    if (read(ends[0], &taken, sizeof taken) != sizeof taken) giveUp(library);
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return taken;
}

Nanoseconds timeOfRunning(const char* program)
{
    char* const arguments[] = {const_cast<char*>(program), nullptr};
    char* const environment[] = {nullptr};
    pid_t child = 0;
    int status = 0;
    const Nanoseconds start = now();
    if (posix_spawn(&child, program, nullptr, nullptr, arguments, environment) != 0)
        giveUp(program);
    if (waitpid(child, &status, 0) != child || status != 0) giveUp(program);
    return now() - start;
}

Nanoseconds median(std::vector<Nanoseconds> times)
{
    std::nth_element(times.begin(), times.begin() + ROUNDS / 2, times.end());
    return times[ROUNDS / 2];
}

/// Prints the figures `name`-ns, `name`-trivial-ns and `name`-ratio.
void compare(const char* name, Nanoseconds (*timeOf)(const char*), const char* ours,
             const char* trivial)
{
    std::vector<Nanoseconds> ourTimes;
    std::vector<Nanoseconds> trivialTimes;
    for (int round = 0; round < ROUNDS; ++round) {
        ourTimes.push_back(timeOf(ours));
        trivialTimes.push_back(timeOf(trivial));
    }
    const Nanoseconds our = median(ourTimes);
    const Nanoseconds other = median(trivialTimes);
    std::printf("%s-ns %lld\n%s-trivial-ns %lld\n%s-ratio %.3f\n", name, our, name, other, name,
                static_cast<double>(our) / static_cast<double>(other));
    std::fflush(stdout);
}

} // namespace

int main()
{
    compare("load", timeOfLoading, OUR_LIBRARY, TRIVIAL_LIBRARY);
    compare("run", timeOfRunning, OUR_PROGRAM, TRIVIAL_PROGRAM);
}
