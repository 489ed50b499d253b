// SPDX-License-Identifier: Apache-2.0
//
// Sockets that lines are shown on, and those that do not keep up.

#include <tracing-impl/Watchers.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <support/Descriptors.h>
#include <support/RecordingSink.h>
#include <support/TraceLines.h>

namespace {

using support::Sockets;
using tracing::impl::TimeZones;
using tracing::impl::Watchers;
using tracing::impl::WatchSink;

/// A watcher whose other end never waits.
class Watcher
{
public:
    explicit Watcher(Watchers& watchers) : m_watchers(watchers) { watchers.add(m_ends.writer); }
    ~Watcher() { m_watchers.remove(m_ends.writer); }
    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;

    /// Reads at most `size` bytes; "" if there are none.
    std::string read(std::size_t size)
    {
        std::string bytes(size, '\0');
        const ssize_t count = ::read(m_ends.reader, bytes.data(), size);
        bytes.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
        return bytes;
    }
    std::string readAll()
    {
        std::string text;
        for (std::string piece = read(4096); !piece.empty(); piece = read(4096))
            text += piece;
        return text;
    }
    void hangUp() { m_ends.reader.close(); }

private:
    Watchers& m_watchers;
    Sockets m_ends{SOCK_STREAM | SOCK_NONBLOCK};
};

TEST(Watchers, Show_Nobody)
{
    Watchers watchers;
    EXPECT_TRUE(watchers.isEmpty());
    watchers.show("a\n");
}

TEST(Watchers, Show_All)
{
    Watchers watchers;
    Watcher one(watchers);
    watchers.show("a\n");
    {
        Watcher other(watchers);
        watchers.show("b\n");
        watchers.show("");
        EXPECT_EQ("b\n", other.readAll());
    }
    watchers.show("c\n");
    EXPECT_EQ("a\nb\nc\n", one.readAll());
    EXPECT_FALSE(watchers.isEmpty());
}

TEST(Watchers, Remove_Stranger_DoesNothing)
{
    Watchers watchers;
    Watcher one(watchers);
    watchers.remove(-1);
    watchers.show("a\n");
    EXPECT_EQ("a\n", one.readAll());
}

TEST(Watchers, Remove_LastOne)
{
    Watchers watchers;
    {
        Watcher one(watchers);
    }
    EXPECT_TRUE(watchers.isEmpty());
    watchers.show("a\n");
}

TEST(Watchers, Show_HungUp_OthersAreShown)
{
    Watchers watchers;
    Watcher gone(watchers);
    Watcher one(watchers);
    gone.hangUp();
    watchers.show("a\n");
    watchers.show("b\n");
    EXPECT_EQ("a\nb\n", one.readAll());
}

/// What a slow watcher has been told of the lines "N".
struct Account
{
    int shown = 0;
    int missed = 0;
    /// Numbers that did not follow what was told before.
    int gaps = 0;
    int strange = 0;
};

void take(Account& account, const std::string& line)
{
    if (line.front() == '(') {
        const int count = std::atoi(line.c_str() + 1);
        if (line != "(" + std::to_string(count) + " messages missed)") ++account.strange;
        account.missed += count;
        return;
    }
    if (std::atoi(line.c_str()) != account.shown + account.missed) ++account.gaps;
    ++account.shown;
}

Account accountOf(const std::string& text)
{
    Account account;
    std::size_t begin = 0;
    for (std::size_t end = 0; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1)
        take(account, text.substr(begin, end - begin) + std::string(end == begin ? "?" : ""));
    if (begin != text.size()) ++account.strange;
    return account;
}

/// Returns the line of a number, which is followed by so much else.
std::string lineOf(int number, std::size_t size)
{
    return std::to_string(number) + ' ' + std::string(size, 'x') + '\n';
}

/// Shows 3000 lines to a watcher that does not read. Returns what it reads then.
std::string readLate(Watchers& watchers, Watcher& slow)
{
    for (int number = 0; number < 3000; ++number)
        watchers.show(lineOf(number, 100));
    return slow.readAll();
}

TEST(Watchers, Show_SlowOne_IsToldHowManyItMissed)
{
    Watchers watchers;
    Watcher slow(watchers);
    std::string text = readLate(watchers, slow);
    for (int number = 3000; number < 3010; ++number)
        watchers.show(lineOf(number, 100));
    text += slow.readAll();
    const Account account = accountOf(text);
    EXPECT_EQ(0, account.strange);
    EXPECT_EQ(0, account.gaps);
    EXPECT_LT(0, account.missed);
    EXPECT_EQ(3010, account.shown + account.missed);
}

TEST(Watchers, Show_SlowOneWhoseSocketBlocks_WaitsForNobody)
{
    constexpr int MANY = 1000;
    const Sockets ends(SOCK_STREAM);
    Watchers watchers;
    watchers.add(ends.writer);
    for (int i = 0; i < MANY; ++i)
        watchers.show(std::string(4096, 'x') + "\n");
    watchers.remove(ends.writer);
    EXPECT_EQ(std::string(100, 'x'), ends.reader.take());
}

TEST(Watchers, CatchUp_SlowOne_IsToldOfItsGap)
{
    Watchers watchers;
    Watcher slow(watchers);
    std::string text = readLate(watchers, slow);
    watchers.catchUp();
    text += slow.readAll();
    watchers.catchUp();
    EXPECT_EQ("", slow.readAll());
    const Account account = accountOf(text);
    EXPECT_EQ(0, account.strange + account.gaps);
    EXPECT_LT(0, account.missed);
    EXPECT_EQ(3000, account.shown + account.missed);
}

TEST(Watchers, CatchUp_NothingMissed_SendsNothing)
{
    Watchers watchers;
    Watcher one(watchers);
    watchers.show("a\n");
    watchers.catchUp();
    EXPECT_EQ("a\n", one.readAll());
}

/// Shows lines of that size to a watcher that now and then reads a little.
Account showToASlowOne(std::size_t lineSize, std::size_t readSize)
{
    Watchers watchers;
    Watcher slow(watchers);
    std::string text;
    int number = 0;
    for (int round = 0; round < 1000; ++round) {
        for (int i = 0; i < 5; ++i)
            watchers.show(lineOf(number++, lineSize));
        text += slow.read(readSize);
    }
    text += slow.readAll();
    watchers.show(lineOf(number++, lineSize));
    watchers.show(lineOf(number++, lineSize));
    text += slow.readAll();
    Account account = accountOf(text);
    account.strange += number == 5002 ? 0 : 1;
    return account;
}

TEST(Watchers, Show_SlowOneReadsALittle_IsToldOfEachMissedLineOnce)
{
    const Account account = showToASlowOne(100, 150);
    EXPECT_EQ(0, account.strange);
    EXPECT_EQ(0, account.gaps);
    EXPECT_LT(0, account.missed);
    EXPECT_EQ(5002, account.shown + account.missed);
}

TEST(Watchers, Show_SlowOneAndLongLines_EachIsWholeOrMissed)
{
    const Account account = showToASlowOne(20000, 7000);
    EXPECT_EQ(0, account.strange);
    EXPECT_EQ(0, account.gaps);
    EXPECT_LT(0, account.missed);
    EXPECT_EQ(5002, account.shown + account.missed);
}

TEST(Watchers, Show_SlowOneAndShortLines_IsToldOfEachMissedLineOnce)
{
    const Account account = showToASlowOne(0, 3);
    EXPECT_EQ(0, account.strange);
    EXPECT_EQ(0, account.gaps);
    EXPECT_LT(0, account.missed);
    EXPECT_EQ(5002, account.shown + account.missed);
}

TEST(Watchers, Show_SlowOne_OthersMissNothing)
{
    Watchers watchers;
    Watcher slow(watchers);
    Watcher quick(watchers);
    std::string text;
    for (int number = 0; number < 3000; ++number) {
        watchers.show(lineOf(number, 100));
        text += quick.readAll();
    }
    const Account account = accountOf(text);
    EXPECT_EQ(3000, account.shown);
    EXPECT_EQ(0, account.missed + account.gaps + account.strange);
}

TEST(Watchers, Show_SeveralThreads_LinesAreWhole)
{
    Watchers watchers;
    Watcher one(watchers);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&watchers] {
            for (int round = 0; round < 10; ++round) {
                const Watcher passing(watchers);
                watchers.show("(0 messages missed)\n");
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    const std::string text = one.readAll();
    EXPECT_EQ(40u * 20u, text.size());
    EXPECT_EQ(0, accountOf(text).strange);
}

TEST(WatchSink, Flush_SlowOne_IsToldOfItsGap)
{
    const auto watchers = std::make_shared<Watchers>();
    const TimeZones zones;
    WatchSink sink(watchers, zones);
    Watcher slow(*watchers);
    std::string text = readLate(*watchers, slow);
    sink.flush();
    text += slow.readAll();
    EXPECT_EQ(3000, accountOf(text).shown + accountOf(text).missed);
}

TEST(WatchSink, Write_ShowsTheLine)
{
    const auto watchers = std::make_shared<Watchers>();
    const TimeZones zones;
    WatchSink sink(watchers, zones);
    sink.write(support::traceMessage("nobody sees it"));
    Watcher one(*watchers);
    sink.write(support::traceMessage("peer\n7"));
    sink.write(support::traceMessage("secret", 4));
    EXPECT_EQ("TIME info net [T] peer\\n7\nTIME info net [T] 6 bytes, obfuscated\n",
              support::bareLines(one.readAll()));
}

} // namespace
