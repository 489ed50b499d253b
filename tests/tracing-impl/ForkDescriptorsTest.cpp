// SPDX-License-Identifier: Apache-2.0
//
// Descriptors that processes that are forked off close.

#include <tracing-impl/Fork.h>

#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <support/Descriptors.h>
#include <support/ForkedChild.h>

namespace {

using support::Descriptor;
using support::runForked;
using tracing::impl::closeInChildren;
using tracing::impl::forgetInChildren;

bool isOpen(int fd)
{
    return fcntl(fd, F_GETFD) != -1;
}

/// A descriptor that is forgotten at its end.
class Known : public Descriptor
{
public:
    Known() : Descriptor(open("/dev/null", O_RDWR | O_CLOEXEC)) { closeInChildren(*this); }
    ~Known() { forgetInChildren(*this); }
};

/// One letter for each: of those that are open "o", of the others "-".
std::string statesOf(const std::vector<std::unique_ptr<Known>>& known)
{
    std::string states;
    for (const auto& fd : known)
        states += isOpen(*fd) ? 'o' : '-';
    return states;
}

TEST(ForkDescriptors, Known_IsClosedInTheChildAlone)
{
    const Known one;
    const Known other;
    const Descriptor stranger(open("/dev/null", O_RDWR | O_CLOEXEC));
    EXPECT_EQ(0, runForked([&] {
                  if (isOpen(one) || isOpen(other)) return 1;
                  return isOpen(stranger) ? 0 : 2;
              }));
    EXPECT_TRUE(isOpen(one));
    EXPECT_TRUE(isOpen(other));
}

TEST(ForkDescriptors, Known_IsClosedInEveryChild)
{
    const Known fd;
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(0, runForked([&fd] { return isOpen(fd) ? 1 : 0; }));
}

TEST(ForkDescriptors, Known_NumberZero_IsClosedInTheChild)
{
    EXPECT_EQ(0, runForked([] {
                  close(STDIN_FILENO);
                  const Known fd;
                  if (fd != 0) return 1;
                  return runForked([&fd] { return isOpen(fd) ? 2 : 0; });
              }));
}

TEST(ForkDescriptors, Forgotten_StaysOpenInTheChild)
{
    const Known kept;
    const Known fd;
    forgetInChildren(fd);
    EXPECT_EQ(0, runForked([&] {
                  if (!isOpen(fd)) return 1;
                  return isOpen(kept) ? 2 : 0;
              }));
}

TEST(ForkDescriptors, Forgotten_NumberOfAnother_StaysOpenInTheChild)
{
    int number = -1;
    {
        const Known fd;
        number = fd;
    }
    const Descriptor stranger(open("/dev/null", O_RDWR | O_CLOEXEC));
    ASSERT_EQ(number, stranger);
    EXPECT_EQ(0, runForked([&] { return isOpen(stranger) ? 0 : 1; }));
}

TEST(ForkDescriptors, Forgotten_NeverKnown_ChangesNothing)
{
    const Known fd;
    forgetInChildren(12345);
    EXPECT_EQ(0, runForked([&fd] { return isOpen(fd) ? 1 : 0; }));
}

TEST(ForkDescriptors, Child_OpensTheNumberAgain_GrandchildKeepsIt)
{
    const Known fd;
    EXPECT_EQ(0, runForked([&fd] {
                  if (dup2(STDIN_FILENO, fd) == -1) return 1;
                  return runForked([&fd] { return isOpen(fd) ? 0 : 2; });
              }));
}

TEST(ForkDescriptors, MoreThanSixteen_TheFirstAreClosed)
{
    std::vector<std::unique_ptr<Known>> known;
    for (int i = 0; i < 20; ++i)
        known.push_back(std::make_unique<Known>());
    EXPECT_EQ(0, runForked([&known] { return statesOf(known) == "----------------oooo" ? 0 : 1; }));
    EXPECT_EQ("oooooooooooooooooooo", statesOf(known));
}

TEST(ForkDescriptors, MoreThanSixteen_ForgottenOnesMakeRoom)
{
    std::vector<std::unique_ptr<Known>> known;
    for (int i = 0; i < 20; ++i)
        known.push_back(std::make_unique<Known>());
    known.erase(known.begin(), known.begin() + 3);
    known.push_back(std::make_unique<Known>());
    EXPECT_EQ(0, runForked([&known] { return statesOf(known) == "-------------oooo-" ? 0 : 1; }));
}

} // namespace
