// SPDX-License-Identifier: Apache-2.0

#include <tracing-impl/StandardDescriptors.h>

#include <initializer_list>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <support/Descriptors.h>
#include <support/ForkedChild.h>

namespace {

using support::Descriptor;
using support::runForked;
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
