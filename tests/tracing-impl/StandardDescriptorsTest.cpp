// SPDX-License-Identifier: Apache-2.0

#include <tracing-impl/StandardDescriptors.h>

#include <initializer_list>
#include <string>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <support/Descriptors.h>
#include <support/ForkedChild.h>

namespace {

using support::Descriptor;
using support::runForked;
using tracing::impl::awayFromStandard;
using tracing::impl::StandardDescriptors;

/// One letter for each standard stream: of those that are open "o", of the others "-".
std::string states()
{
    std::string text;
    for (int fd = 0; fd <= 2; ++fd)
        text += fcntl(fd, F_GETFD) == -1 ? '-' : 'o';
    return text;
}

/// The number that the next file is given.
int nextNumber()
{
    const Descriptor fd(open("/dev/null", O_RDWR | O_CLOEXEC));
    return fd;
}

/// In a child in which `closed` are closed, returns the number of a file that is opened under the
/// guard; 100 if not all places are taken meanwhile, or not all of them are as before afterwards.
int numberWithout(std::initializer_list<int> closed)
{
    return runForked([&] {
        for (const int fd : closed)
            close(fd);
        const std::string before = states();
        int number = -1;
        {
            const StandardDescriptors guard;
            number = open("/dev/null", O_RDWR | O_CLOEXEC);
            if (states() != "ooo") return 100;
        }
        return states() == before ? number : 100;
    });
}

TEST(AwayFromStandard, HigherOneAndNone_Stay)
{
    const Descriptor low(open("/dev/null", O_RDWR | O_CLOEXEC));
    const Descriptor higher(fcntl(low, F_DUPFD_CLOEXEC, 3));
    EXPECT_EQ(static_cast<int>(higher), awayFromStandard(higher));
    EXPECT_NE(-1, fcntl(higher, F_GETFD));
    EXPECT_EQ(-1, awayFromStandard(-1));
}

TEST(AwayFromStandard, StandardOne_IsMovedBehindThem)
{
    const int next = nextNumber();
    for (const int standard : {0, 1, 2})
        EXPECT_EQ(next, runForked([standard] {
                      const std::string before = states();
                      const int moved = awayFromStandard(standard);
                      if (fcntl(moved, F_GETFD) != FD_CLOEXEC) return 100;
                      if (fcntl(standard, F_GETFD) != -1) return 101;
                      return dup2(moved, standard) == standard && states() == before ? moved : 102;
                  }));
}

TEST(AwayFromStandard, NoHigherOneLeft_IsClosed)
{
    EXPECT_EQ(0, runForked([] {
                  const rlimit few = {3, 3};
                  setrlimit(RLIMIT_NOFILE, &few);
                  if (awayFromStandard(STDIN_FILENO) != -1) return 100;
                  return fcntl(STDIN_FILENO, F_GETFD) == -1 ? 0 : 101;
              }));
}

TEST(StandardDescriptors, AllThere_ChangesNothing)
{
    const int next = nextNumber();
    EXPECT_EQ(next, numberWithout({}));
}

TEST(StandardDescriptors, AllClosed_WhatIsOpenedIsBehindThem)
{
    const int next = nextNumber();
    EXPECT_EQ(next, numberWithout({0, 1, 2}));
}

TEST(StandardDescriptors, OneClosed_WhatIsOpenedIsBehindThem)
{
    const int next = nextNumber();
    EXPECT_EQ(next, numberWithout({0}));
    EXPECT_EQ(next, numberWithout({1}));
    EXPECT_EQ(next, numberWithout({2}));
    EXPECT_EQ(next, numberWithout({0, 2}));
}

TEST(StandardDescriptors, Filled_TakeAndGiveNothing)
{
    EXPECT_EQ(0, runForked([] {
                  close(STDERR_FILENO);
                  const StandardDescriptors guard;
                  struct stat null = {};
                  struct stat filled = {};
                  stat("/dev/null", &null);
                  fstat(STDERR_FILENO, &filled);
                  return null.st_rdev == filled.st_rdev ? 0 : 1;
              }));
}

} // namespace
