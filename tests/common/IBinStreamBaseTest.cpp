// SPDX-License-Identifier: Apache-2.0

#include <common/IBinStreamBase.h>

#include <string>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

#include "support/ScriptedStreams.h"
#include "support/SlotCall.h"

namespace {

using std::IBinInputStream;
using std::IBinOutputStream;
using std::IBinStreamBase;
using support::deliver;
using support::HookedInput;
using support::HookedOutput;
using support::ScriptedInput;
using support::ScriptedOutput;
using support::SlotCall;

template <typename Class>
constexpr bool isInterface =
    std::is_abstract_v<Class>&& std::has_virtual_destructor_v<Class> &&
    !std::is_copy_constructible_v<Class> && !std::is_copy_assignable_v<Class>;
static_assert(isInterface<IBinStreamBase>);
static_assert(isInterface<IBinInputStream>);
static_assert(isInterface<IBinOutputStream>);
static_assert(!std::is_copy_constructible_v<ScriptedInput>);
static_assert(!std::is_copy_constructible_v<ScriptedOutput>);

// The sign of the status is that of the platform's plain char.
static_assert(std::is_same_v<decltype(std::declval<ScriptedInput&>().read(
                                 nullptr, 0, std::declval<unsigned int&>())),
                             char>);
static_assert(std::is_same_v<decltype(std::declval<ScriptedOutput&>().write(
                                 nullptr, 0, std::declval<unsigned int&>())),
                             char>);
static_assert(std::is_same_v<decltype(std::declval<ScriptedOutput&>().flush(true)), bool>);

const char* const s_messageAtLoad = IBinStreamBase::StreamError.getMessageString(2);

#define EXPECT_ROW(message, id)                                                                    \
    EXPECT_STREQ(message, IBinStreamBase::StreamError.getMessageString(id));                       \
    EXPECT_EQ(0, IBinStreamBase::StreamError.getArgumentCount(id))

TEST(StreamError, Rows)
{
    EXPECT_ROW("the binary i/o stream is broken", 0);
    EXPECT_ROW("a binary i/o stream operation failed", 1);
    EXPECT_ROW("end of binary i/o stream has been reached. no more i/o possible", 2);
    EXPECT_ROW("the requested operation is not supported by the binary i/o stream implementation",
               3);
    EXPECT_ROW("an unknown error has occured on the binary i/o stream", 4);
    EXPECT_ROW("", 5);
    EXPECT_ROW("", -1);
}

TEST(StreamError, IsUsable_InAnInitialiserOfTheProgram)
{
    EXPECT_STREQ("end of binary i/o stream has been reached. no more i/o possible",
                 s_messageAtLoad);
}

TEST(StreamError, IsUnrelatedToTheOtherTypes)
{
    EXPECT_TRUE(IBinStreamBase::StreamError.isA(IBinStreamBase::StreamError));
    EXPECT_FALSE(IBinStreamBase::StreamError.isA(std::CommonError));
    EXPECT_FALSE(IBinStreamBase::StreamError.isA(std::CommonCriticalError));
    EXPECT_FALSE(std::CommonError.isA(IBinStreamBase::StreamError));
}

/// A stream that is neither input nor output.
struct BareStream : IBinStreamBase
{
    using IBinStreamBase::blocking;
    bool isValid() const override { return true; }
};

TEST(IBinStreamBase, Construction_IsBlocking)
{
    EXPECT_TRUE(BareStream().blocking);
}

/// A stream in both directions; what is written is read again.
class Pipe : public IBinInputStream, public IBinOutputStream
{
public:
    Pipe(bool inputBlocks, bool outputBlocks)
        : IBinInputStream(inputBlocks, 4), IBinOutputStream(outputBlocks, 2)
    {}

    using IBinStreamBase::blocking;
    bool isValid() const override
    {
        return valid && IBinInputStream::isValid() && IBinOutputStream::isValid();
    }
    bool valid = true;
    std::string content;

protected:
    bool performRead(void* data, unsigned int size, unsigned int& got) override
    {
        got = static_cast<unsigned int>(content.copy(static_cast<char*>(data), size));
        content.erase(0, got);
        return false;
    }
    bool performWrite(const void* data, unsigned int size, unsigned int& written) override
    {
        content.append(static_cast<const char*>(data), size);
        written = size;
        return false;
    }
};

TEST(InputAndOutput, HasOneBase)
{
    Pipe pipe(true, true);
    IBinStreamBase& inputBase = static_cast<IBinInputStream&>(pipe);
    IBinStreamBase& outputBase = static_cast<IBinOutputStream&>(pipe);
    EXPECT_EQ(&inputBase, &outputBase);
    static_assert(std::is_convertible_v<Pipe*, IBinStreamBase*>);
}

TEST(InputAndOutput, BlocksAsTheDirectionThatIsConstructedLast)
{
    EXPECT_TRUE(Pipe(false, true).blocking);
    EXPECT_FALSE(Pipe(true, false).blocking);
}

TEST(InputAndOutput, OverridesIsValid)
{
    Pipe pipe(true, true);
    EXPECT_TRUE(static_cast<IBinStreamBase&>(pipe).isValid());
    pipe.valid = false;
    EXPECT_FALSE(static_cast<IBinStreamBase&>(pipe).isValid());
    EXPECT_FALSE(static_cast<IBinInputStream&>(pipe).isValid());
    EXPECT_FALSE(static_cast<IBinOutputStream&>(pipe).isValid());
}

TEST(InputAndOutput, NotValid_StillReadsAndWrites)
{
    Pipe pipe(true, true);
    pipe.valid = false;
    EXPECT_EQ("1 1", support::writeText(pipe, "a"));
    EXPECT_EQ("1 2", support::writeText(pipe, "bc"));
    EXPECT_FALSE(pipe.flush(false));
    EXPECT_EQ("1 a", support::readText(pipe, 1));
    EXPECT_EQ("1 bc", support::readText(pipe, 2));
}

TEST(InputAndOutput, HasABufferForEachDirection)
{
    Pipe pipe(true, true);
    EXPECT_EQ("1 3", support::writeText(pipe, "abc"));
    EXPECT_EQ("1 a", support::readText(pipe, 1));
    EXPECT_EQ("1 1", support::writeText(pipe, "d"));
    EXPECT_EQ("1 bc", support::readText(pipe, 9));
    EXPECT_EQ("0 ", support::readText(pipe, 9));
    EXPECT_FALSE(pipe.flush(false));
    EXPECT_EQ("1 d", support::readText(pipe, 9));
}

TEST(InputAndOutput, IsDestroyedThroughItsBase)
{
    const IBinStreamBase* const stream = new Pipe(true, true);
    EXPECT_TRUE(stream->isValid());
    delete stream;
}

/// Its type is known to the compiler where the object is made, so the table is read from memory.
template <typename Stream, typename Made>
const Stream* part(const Made& made)
{
    return &made;
}

TEST(StreamSlots, Base)
{
    const ScriptedInput input(4);
    EXPECT_TRUE(SlotCall<bool()>::of(part<IBinStreamBase>(input), 2));
}

TEST(StreamSlots, Input)
{
    const HookedInput input(4, {deliver("abc").failing()});
    const IBinInputStream* const stream = part<IBinInputStream>(input);
    char data[4];
    unsigned int got = 0;
    EXPECT_TRUE(SlotCall<bool()>::of(stream, 2));
    EXPECT_FALSE(SlotCall<bool()>::of(stream, 3));
    EXPECT_TRUE((SlotCall<bool(void*, unsigned int, unsigned int*)>::of(stream, 4, data, 4, &got)));
    EXPECT_EQ("check read(4)", input.notes);
    EXPECT_EQ(3U, got);
}

TEST(StreamSlots, Output)
{
    const HookedOutput output(4, {support::take(2).failing()});
    const IBinOutputStream* const stream = part<IBinOutputStream>(output);
    unsigned int written = 0;
    EXPECT_TRUE(SlotCall<bool()>::of(stream, 2));
    EXPECT_FALSE(SlotCall<bool()>::of(stream, 3));
    EXPECT_TRUE((SlotCall<bool(const void*, unsigned int, unsigned int*)>::of(stream, 4, "abc", 3,
                                                                              &written)));
    EXPECT_FALSE(SlotCall<bool()>::of(stream, 5));
    EXPECT_EQ("check write(3) sync", output.notes);
    EXPECT_EQ(2U, written);
}

/// Returns how far `field` is behind `first`.
template <typename Field>
std::ptrdiff_t distance(const unsigned int& first, const Field& field)
{
    return reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&first);
}

// Behind 12 bytes of numbers, a pointer of 8 bytes begins at the next multiple of its size.
constexpr std::ptrdiff_t TO_THE_BUFFER = sizeof(void*) == 8 ? 16 : 12;

TEST(StreamFields, Order)
{
    const ScriptedInput input(4);
    EXPECT_EQ(4, distance(input.readPos, input.readEnd));
    EXPECT_EQ(8, distance(input.readPos, input.bufferSize));
    EXPECT_EQ(TO_THE_BUFFER, distance(input.readPos, input.buffer));
    const ScriptedOutput output(4);
    EXPECT_EQ(4, distance(output.writePos, output.writeEnd));
    EXPECT_EQ(8, distance(output.writePos, output.bufferSize));
    EXPECT_EQ(TO_THE_BUFFER, distance(output.writePos, output.buffer));
}

} // namespace
