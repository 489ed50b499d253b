// SPDX-License-Identifier: Apache-2.0

#include <string>
#include <thread>

#include <common/error/Error.h>
#include <common/error/ErrorStorage.h>
#include <gtest/gtest.h>

#include "support/ChildProcess.h"

namespace {

using std::ErrorOutput;
using std::ErrorStorage;

void raiseOn(const char* file, int line, int id, const char* value)
{
    ErrorOutput(file, line, false)(std::CommonError, id, value);
}

/// Holds a reaction that does nothing.
struct ReasonList : testing::Test
{
    ErrorStorage m_storage{nullptr};
};

/// The list of one error that was raised in `file`.
std::string listFrom(const char* file)
{
    ErrorOutput(file, 7, true)(TCLAP::Error, 2, "dry");
    return zel_error.getReasonList();
}

TEST(ReasonListWithoutStorage, IsALineBreak)
{
    std::string list;
    std::thread([&] { list = zel_error.getReasonList(); }).join();
    EXPECT_EQ("\n", list);
}

TEST_F(ReasonList, NoError)
{
    EXPECT_EQ("\n", zel_error.getReasonList());
}

TEST_F(ReasonList, Cleared)
{
    raiseOn("src/a/B", 12, 5, "width");
    m_storage.clear();
    EXPECT_EQ("\n", zel_error.getReasonList());
}

TEST_F(ReasonList, OneError)
{
    raiseOn("pump.cpp", 7, 5, "width");
    EXPECT_EQ("Error (ID 5):\n"
              "\tInvalid parameter: width\n"
              "\tLocation: pump.cpp:7\n",
              zel_error.getReasonList());
}

TEST_F(ReasonList, TwoErrors)
{
    ErrorOutput("/build/src/c/D", 30, true)(std::CommonError, 2, 1, 5, 9);
    raiseOn("/build/src/a/B", 12, 5, "width");
    EXPECT_EQ("Error (ID 5):\n"
              "\tInvalid parameter: width\n"
              "\tLocation: src/a/B:12\n"
              "\twas caused by\n"
              "Error (ID 2):\n"
              "\tInteger parameter out of range. Min = 1, Max = 5, Found = 9\n"
              "\tLocation: src/c/D:30\n",
              zel_error.getReasonList());
}

constexpr const char* EIGHT_ERRORS = "Error (ID 3):\n"
                                     "\tParameter out of range: h\n"
                                     "\tLocation: f:8\n"
                                     "\twas caused by\n"
                                     "Error (ID 4):\n"
                                     "\tInvalid path specified: g\n"
                                     "\tLocation: f:7\n"
                                     "\twas caused by\n"
                                     "Error (ID 5):\n"
                                     "\tInvalid parameter: f\n"
                                     "\tLocation: f:6\n"
                                     "\twas caused by\n"
                                     "Error (ID 6):\n"
                                     "\tFunction not supported: e\n"
                                     "\tLocation: f:5\n"
                                     "\twas caused by\n"
                                     "Error (ID 7):\n"
                                     "\tOverflow of item count occured: d\n"
                                     "\tLocation: f:4\n"
                                     "\twas caused by\n"
                                     "Error (ID 5):\n"
                                     "\tInvalid parameter: c\n"
                                     "\tLocation: f:3\n"
                                     "\twas caused by\n"
                                     "Error (ID 3):\n"
                                     "\tParameter out of range: b\n"
                                     "\tLocation: f:2\n"
                                     "\twas caused by\n"
                                     "Error (ID 1):\n"
                                     "\tInvalid usage/logic detected: a\n"
                                     "\tLocation: f:1\n";

void raiseEight()
{
    raiseOn("f", 1, 1, "a");
    raiseOn("f", 2, 3, "b");
    raiseOn("f", 3, 5, "c");
    raiseOn("f", 4, 7, "d");
    raiseOn("f", 5, 6, "e");
    raiseOn("f", 6, 5, "f");
    raiseOn("f", 7, 4, "g");
    raiseOn("f", 8, 3, "h");
}

TEST_F(ReasonList, EightErrors)
{
    raiseEight();
    EXPECT_EQ(EIGHT_ERRORS, zel_error.getReasonList());
}

TEST_F(ReasonList, NineErrors_ListsTheNewestEight)
{
    const support::ChildResult result = support::runInChild([] {
        raiseOn("f", 0, 4, "overwritten");
        raiseEight();
        EXPECT_EQ(EIGHT_ERRORS, zel_error.getReasonList());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST_F(ReasonList, AcknowledgedErrorsAreListed)
{
    raiseEight();
    ErrorStorage::ack();
    EXPECT_EQ(EIGHT_ERRORS, zel_error.getReasonList());
}

TEST_F(ReasonList, DoesNotAcknowledge)
{
    raiseOn("f", 1, 1, "a");
    zel_error.getReasonList();
    EXPECT_TRUE(ErrorStorage::isError(true));
    EXPECT_STREQ("Invalid usage/logic detected: a", ErrorStorage::reason());
}

TEST_F(ReasonList, CyclicChain_EndsAfterEight)
{
    raiseOn("f", 1, 8, "");
    ErrorStorage::get()->m_cause = ErrorStorage::get();
    EXPECT_EQ("Error (ID 8):\n\t\n\tLocation: f:1\n\twas caused by\n"
              "Error (ID 8):\n\t\n\tLocation: f:1\n\twas caused by\n"
              "Error (ID 8):\n\t\n\tLocation: f:1\n\twas caused by\n"
              "Error (ID 8):\n\t\n\tLocation: f:1\n\twas caused by\n"
              "Error (ID 8):\n\t\n\tLocation: f:1\n\twas caused by\n"
              "Error (ID 8):\n\t\n\tLocation: f:1\n\twas caused by\n"
              "Error (ID 8):\n\t\n\tLocation: f:1\n\twas caused by\n"
              "Error (ID 8):\n\t\n\tLocation: f:1\n",
              zel_error.getReasonList());
}

TEST_F(ReasonList, NullReason_EndsTheList)
{
    raiseOn("f", 1, 5, "width");
    ErrorStorage::get()->m_reason = nullptr;
    EXPECT_EQ("Error (ID 5):\n\t", zel_error.getReasonList());
}

TEST_F(ReasonList, NullFile_EndsTheList)
{
    raiseOn(nullptr, 1, 5, "width");
    EXPECT_EQ("Error (ID 5):\n"
              "\tInvalid parameter: width\n"
              "\tLocation: ",
              zel_error.getReasonList());
}

TEST_F(ReasonList, NullReasonOfTheCause_EndsTheList)
{
    raiseOn("f", 1, 5, "width");
    ErrorStorage::get()->m_reason = nullptr;
    raiseOn("f", 2, 3, "depth");
    EXPECT_EQ("Error (ID 3):\n"
              "\tParameter out of range: depth\n"
              "\tLocation: f:2\n"
              "\twas caused by\n"
              "Error (ID 5):\n\t",
              zel_error.getReasonList());
}

TEST_F(ReasonList, NullFileBeforeACause_EndsTheList)
{
    raiseOn("f", 1, 5, "width");
    raiseOn(nullptr, 2, 3, "depth");
    EXPECT_EQ("Error (ID 3):\n"
              "\tParameter out of range: depth\n"
              "\tLocation: ",
              zel_error.getReasonList());
}

TEST_F(ReasonList, NegativeNumbers)
{
    raiseOn("f", -12, -5, "");
    EXPECT_EQ("Error (ID -5):\n\t\n\tLocation: f:-12\n", zel_error.getReasonList());
}

TEST_F(ReasonList, ReasonIsNoFormat)
{
    ErrorOutput("%s", 7, true)(TCLAP::Error, 2, "%d%n");
    EXPECT_EQ("Error (ID 2):\n\t%d%n\n\tLocation: %s:7\n", zel_error.getReasonList());
}

TEST_F(ReasonList, FileIsShownFromItsSourceDirectoryOn)
{
    EXPECT_EQ("Error (ID 2):\n\tdry\n\tLocation: src/common/error/Error:7\n",
              listFrom("/build/framework/src/common/error/Error"));
    EXPECT_EQ("Error (ID 2):\n\tdry\n\tLocation: include/zel/Tls:7\n",
              listFrom("framework/include/zel/Tls"));
}

TEST_F(ReasonList, FileWithBackslashes)
{
    EXPECT_EQ("Error (ID 2):\n\tdry\n\tLocation: include\\zel\\Tls:7\n",
              listFrom("C:\\build\\include\\zel\\Tls"));
    EXPECT_EQ("Error (ID 2):\n\tdry\n\tLocation: src\\common\\Error:7\n",
              listFrom("C:\\build\\src\\common\\Error"));
    EXPECT_EQ("Error (ID 2):\n\tdry\n\tLocation: src/common/Error:7\n",
              listFrom("C:\\build\\src/common/Error"));
    EXPECT_EQ("Error (ID 2):\n\tdry\n\tLocation: include\\zel\\Tls:7\n",
              listFrom("/build/include\\zel\\Tls"));
}

TEST_F(ReasonList, FirstSourceDirectoryCounts)
{
    EXPECT_EQ("Error (ID 2):\n\tdry\n\tLocation: src/a/include/b/src/c:7\n",
              listFrom("/src/a/include/b/src/c"));
}

TEST_F(ReasonList, FileWithoutASourceDirectory_IsWhole)
{
    EXPECT_EQ("Error (ID 2):\n\tdry\n\tLocation: /a/src_root/b:7\n", listFrom("/a/src_root/b"));
    EXPECT_EQ("Error (ID 2):\n\tdry\n\tLocation: /a/my_src/b:7\n", listFrom("/a/my_src/b"));
    EXPECT_EQ("Error (ID 2):\n\tdry\n\tLocation: /a/src:7\n", listFrom("/a/src"));
    EXPECT_EQ("Error (ID 2):\n\tdry\n\tLocation: include/b:7\n", listFrom("include/b"));
    EXPECT_EQ("Error (ID 2):\n\tdry\n\tLocation: :7\n", listFrom(""));
}

} // namespace
