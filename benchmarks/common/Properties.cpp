// SPDX-License-Identifier: Apache-2.0
//
// What operations must do without: how many blocks of memory they allocate, and whether they enter
// the system. Prints one figure a line: a name and a number.

#include <cstdio>
#include <cstdlib>
#include <string>

#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <linux/seccomp.h>

#include <zelcommon.h>

namespace {

using std::unicode::String;

constexpr int TIMES = 1000;

unsigned long allocations = 0;

void raiseOnce()
{
    ZEL_RAISE(std::CommonError, 0);
    if (!std::ErrorStorage::isA(std::CommonError)) std::abort();
    std::ErrorStorage::ack();
}

/// The operation, which may not be seen through.
using Operation = void (*)();

unsigned long allocationsOf(Operation operation)
{
    operation();
    const unsigned long before = allocations;
    operation();
    return allocations - before;
}

[[noreturn]] void repeatWithoutSystem(Operation operation)
{
    operation();
    // From here on the system ends the process at any call but read, write and exit.
    if (prctl(PR_SET_SECCOMP, SECCOMP_MODE_STRICT) != 0) _exit(2);
    for (int count = 0; count < TIMES; ++count)
        operation();
    syscall(SYS_exit, 0);
    __builtin_unreachable();
}

/// Returns 1 if the operation enters the system, 0 if it does not.
int entersSystem(Operation operation)
{
    const pid_t child = fork();
    if (child == 0) repeatWithoutSystem(operation);
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) std::abort();
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 0 : 1;
}

String* utf8Text = nullptr;
String* utf16Text = nullptr;

void compareAcross()
{
    if (!(*utf8Text == *utf16Text)) std::abort();
}

void askForParent()
{
    if (getppid() < 0) std::abort();
}

void allocateOnce()
{
    std::free(std::malloc(static_cast<std::size_t>(getpid())));
}

/// What must be seen is seen.
void checkMeasures()
{
    if (entersSystem(askForParent) == 1 && allocationsOf(allocateOnce) == 1) return;
    std::fputs("the measures see nothing\n", stderr);
    std::exit(1);
}

} // namespace

extern "C" {

void* __libc_malloc(std::size_t size);

/// In place of the C library's.
void* malloc(std::size_t size)
{
    ++allocations;
    return __libc_malloc(size);
}
}

int main()
{
    checkMeasures();
    const std::StdoutDumpErrorStorage errors;
    std::printf("raise-allocations %lu\n", allocationsOf(raiseOnce));
    std::printf("raise-system-calls %d\n", (std::fflush(stdout), entersSystem(raiseOnce)));

    String first(std::string(1024, 'a'));
    String second(std::unicode::UTF16LE, std::string(1024, 'a'));
    utf8Text = &first;
    utf16Text = &second;
    std::printf("equal-across-allocations %lu\n", allocationsOf(compareAcross));
}
