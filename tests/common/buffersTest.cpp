// SPDX-License-Identifier: Apache-2.0

#include <common/buffers.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>

#include <common/error/GlobalErrorHandler.h>
#include <gtest/gtest.h>

#include "support/BlockCounter.h"
#include "support/ChildProcess.h"

namespace {

using std::Buf;
using std::Ptr;
using std::SharedBuf;
using support::holders;

/// Notes what it releases.
class NotingAllocator : public Buf::Allocator
{
public:
    void free(const Ptr& ptr) const override
    {
        ++frees;
        freed = &ptr;
        Buf::Allocator::free(ptr);
    }

    mutable int frees = 0;
    mutable const Ptr* freed = nullptr;
};

/// A block of the payload "bytes" that `allocator` releases.
SharedBuf blockOf(const Ptr::Allocator& allocator)
{
    SharedBuf block(5);
    std::memcpy(block.payload(), "bytes", 5);
    block.allocator = &allocator;
    return block;
}

std::string payloadText(const SharedBuf& buffer)
{
    return std::string(buffer.payload(), buffer.payload() + buffer.length());
}

/// The five fields of a null buffer.
void expectNull(const SharedBuf& buffer)
{
    EXPECT_EQ(nullptr, buffer.data);
    EXPECT_EQ(nullptr, buffer.allocator);
    EXPECT_EQ(nullptr, buffer.base);
    EXPECT_EQ(0U, buffer.size);
    EXPECT_EQ(0U, buffer.offset);
    EXPECT_EQ(nullptr, buffer.payload());
    EXPECT_EQ(0U, buffer.length());
}

TEST(SharedBuf, Fresh_HasOneHolderAndAPayloadBehindTheHeader)
{
    const SharedBuf block(5);
    ASSERT_NE(nullptr, block.data);
    EXPECT_EQ(1U, holders(block));
    EXPECT_EQ(13U, block.size);
    EXPECT_EQ(8U, block.offset);
    EXPECT_EQ(block.data, block.base);
    EXPECT_EQ(&Buf::DEFAULT_ALLOCATOR, block.allocator);
    EXPECT_EQ(block.data + 8, block.payload());
    EXPECT_EQ(5U, block.length());
    std::memset(block.payload(), 0xEE, 5);
    EXPECT_EQ(1U, holders(block));
    block.unref();
}

TEST(SharedBuf, FreshOfNoBytes_HasABlock)
{
    const SharedBuf block(0);
    ASSERT_NE(nullptr, block.data);
    EXPECT_EQ(1U, holders(block));
    EXPECT_EQ(8U, block.size);
    EXPECT_EQ(block.data + 8, block.payload());
    EXPECT_EQ(0U, block.length());
    block.unref();
}

TEST(SharedBuf, SizeThatLeaves32Bits_IsNull)
{
    expectNull(SharedBuf());
    expectNull(SharedBuf(0xFFFFFFFF));
    expectNull(SharedBuf(0xFFFFFFF8));
}

TEST(SharedBuf, Copy_SharesTheBlock)
{
    const SharedBuf block = blockOf(Buf::DEFAULT_ALLOCATOR);
    const SharedBuf copy(block);
    EXPECT_EQ(2U, holders(block));
    EXPECT_EQ(block.data, copy.data);
    EXPECT_EQ(block.base, copy.base);
    EXPECT_EQ(block.allocator, copy.allocator);
    EXPECT_EQ(13U, copy.size);
    EXPECT_EQ(8U, copy.offset);
    block.unref();
    EXPECT_EQ("bytes", payloadText(copy));
    copy.unref();
}

TEST(SharedBuf, CopyOfNull_IsNull)
{
    const SharedBuf none;
    const SharedBuf copy(none);
    expectNull(copy);
    SharedBuf assigned;
    assigned = none;
    expectNull(assigned);
}

TEST(SharedBuf, Unref_TheLastHolderReleasesTheBlockOnce)
{
    const NotingAllocator allocator;
    const SharedBuf block = blockOf(allocator);
    const SharedBuf copy(block);
    block.unref();
    EXPECT_EQ(0, allocator.frees);
    EXPECT_EQ(1U, holders(copy));
    copy.unref();
    EXPECT_EQ(1, allocator.frees);
    EXPECT_EQ(static_cast<const Ptr*>(&copy), allocator.freed);
}

TEST(SharedBuf, Unref_KeepsTheFields)
{
    const SharedBuf block(5);
    unsigned char* const data = block.data;
    block.unref();
    EXPECT_EQ(data, block.data);
    EXPECT_EQ(data, block.base);
    EXPECT_EQ(&Buf::DEFAULT_ALLOCATOR, block.allocator);
    EXPECT_EQ(13U, block.size);
    EXPECT_EQ(8U, block.offset);
}

TEST(SharedBuf, UnrefOfNull_DoesNothing)
{
    const NotingAllocator allocator;
    SharedBuf none;
    none.allocator = &allocator;
    none.unref();
    none.unref();
    EXPECT_EQ(0, allocator.frees);
}

TEST(SharedBuf, UnrefWithoutAllocator_CountsAndReleasesNothing)
{
    alignas(std::uint32_t) unsigned char memory[13] = {1, 0, 0, 0};
    SharedBuf block;
    block.data = block.base = memory; // the C library would end the process
    block.size = 13;
    block.offset = 8;
    block.unref();
    EXPECT_EQ(0U, holders(block));
    EXPECT_EQ(memory, block.data);
}

TEST(SharedBuf, Counter_HasTheWholeOfItsBits)
{
    const NotingAllocator allocator;
    const SharedBuf block = blockOf(allocator);
    const std::uint32_t many = 0xFFFFFFFE;
    std::memcpy(block.data, &many, sizeof many);
    const SharedBuf copy(block);
    EXPECT_EQ(0xFFFFFFFFU, holders(block));
    copy.unref();
    EXPECT_EQ(0xFFFFFFFEU, holders(block));
    EXPECT_EQ(0, allocator.frees);
    Buf::DEFAULT_ALLOCATOR.free(block);
}

TEST(SharedBuf, ReservedBytes_AreLeftAlone)
{
    const SharedBuf block(5);
    std::memset(block.data + 4, 0xEE, 4);
    const SharedBuf copy(block);
    const SharedBuf view = block + 2;
    copy.unref();
    view.unref();
    EXPECT_EQ(0, std::memcmp(block.data + 4, "\xEE\xEE\xEE\xEE", 4));
    block.unref();
}

TEST(SharedBuf, Assignment_ReleasesTheOldBlockAndSharesTheNew)
{
    const NotingAllocator allocator;
    const SharedBuf block(5);
    const SharedBuf old = blockOf(allocator);
    SharedBuf target = old + 3;
    old.unref();
    SharedBuf& result = target = block;
    EXPECT_EQ(&target, &result);
    EXPECT_EQ(1, allocator.frees);
    EXPECT_EQ(2U, holders(block));
    EXPECT_EQ(block.data, target.data);
    EXPECT_EQ(block.base, target.base);
    EXPECT_EQ(&Buf::DEFAULT_ALLOCATOR, target.allocator);
    EXPECT_EQ(13U, target.size);
    EXPECT_EQ(8U, target.offset);
    target.unref();
    block.unref();
}

TEST(SharedBuf, AssignmentOfNull_ReleasesTheBlock)
{
    const NotingAllocator allocator;
    SharedBuf target = blockOf(allocator);
    const SharedBuf none;
    target = none;
    EXPECT_EQ(1, allocator.frees);
    expectNull(target);
}

TEST(SharedBuf, SelfAssignment_KeepsTheCounter)
{
    const NotingAllocator allocator;
    SharedBuf block = blockOf(allocator);
    const SharedBuf& same = block;
    block = same;
    EXPECT_EQ(1U, holders(block));
    EXPECT_EQ(0, allocator.frees);
    EXPECT_EQ("bytes", payloadText(block));
    block.unref();
    EXPECT_EQ(1, allocator.frees);
}

TEST(SharedBuf, AssignmentBetweenHoldersOfOneBlock_KeepsTheCounter)
{
    const NotingAllocator allocator;
    const SharedBuf block = blockOf(allocator);
    SharedBuf view = block + 2;
    view = block;
    EXPECT_EQ(2U, holders(block));
    EXPECT_EQ("bytes", payloadText(view));
    view.unref();
    EXPECT_EQ(0, allocator.frees);
    block.unref();
    EXPECT_EQ(1, allocator.frees);
}

TEST(SharedBuf, MoveConstruction_TakesTheReferenceAlong)
{
    SharedBuf block = blockOf(Buf::DEFAULT_ALLOCATOR);
    unsigned char* const data = block.data;
    const SharedBuf moved(std::move(block));
    expectNull(block);
    EXPECT_EQ(data, moved.data);
    EXPECT_EQ(1U, holders(moved));
    EXPECT_EQ("bytes", payloadText(moved));
    moved.unref();
}

TEST(SharedBuf, MoveAssignment_ReleasesTheOldBlock)
{
    const NotingAllocator allocator;
    SharedBuf target = blockOf(allocator);
    SharedBuf block(2);
    unsigned char* const data = block.data;
    target = std::move(block);
    EXPECT_EQ(1, allocator.frees);
    expectNull(block);
    EXPECT_EQ(data, target.data);
    EXPECT_EQ(1U, holders(target));
    EXPECT_EQ(2U, target.length());
    target.unref();
}

TEST(SharedBuf, SelfMove_KeepsTheBlock)
{
    SharedBuf block = blockOf(Buf::DEFAULT_ALLOCATOR);
    SharedBuf& same = block;
    block = std::move(same);
    EXPECT_EQ(1U, holders(block));
    EXPECT_EQ("bytes", payloadText(block));
    block.unref();
}

TEST(SharedBufView, Plus_StartsLater)
{
    const SharedBuf block = blockOf(Buf::DEFAULT_ALLOCATOR);
    const SharedBuf view = block + 2;
    EXPECT_EQ(2U, holders(block));
    EXPECT_EQ(block.data, view.data);
    EXPECT_EQ(10U, view.offset);
    EXPECT_EQ(13U, view.size);
    EXPECT_EQ("tes", payloadText(view));
    EXPECT_EQ("bytes", payloadText(block));
    block.unref();
    view.unref();
}

TEST(SharedBufView, Shrink_EndsEarlier)
{
    const SharedBuf block = blockOf(Buf::DEFAULT_ALLOCATOR);
    const SharedBuf view = block.shrink(2);
    EXPECT_EQ(2U, holders(block));
    EXPECT_EQ(block.data, view.data);
    EXPECT_EQ(8U, view.offset);
    EXPECT_EQ(11U, view.size);
    EXPECT_EQ("byt", payloadText(view));
    EXPECT_EQ("bytes", payloadText(block));
    block.unref();
    view.unref();
}

TEST(SharedBufView, ViewsOfViews_KeepTheBlockAlive)
{
    const NotingAllocator allocator;
    const SharedBuf block = blockOf(allocator);
    const SharedBuf later = block + 1;
    const SharedBuf middle = later.shrink(1);
    const SharedBuf none = block + 5;
    EXPECT_EQ(4U, holders(block));
    EXPECT_EQ(0U, none.length());
    block.unref();
    later.unref();
    none.unref();
    EXPECT_EQ("yte", payloadText(middle));
    EXPECT_EQ(0, allocator.frees);
    middle.unref();
    EXPECT_EQ(1, allocator.frees);
}

TEST(SharedBufView, OfNull_AssertsAndGivesNull)
{
    const auto result = support::runInChild([] {
        std::GlobalErrorHandler::atAssert(
            [](const char* condition, const char* location, const char* reason) {
                std::printf("%s|%s|%s\n", condition, location, reason);
            });
        expectNull(SharedBuf() + 3);
        expectNull(SharedBuf().shrink(3));
        std::printf("went on\n");
    });
    EXPECT_EQ("buf|framework/include/common/buffers:148, operator+()|\n"
              "buf|framework/include/common/buffers:156, shrink()|\n"
              "went on\n",
              result.out);
    EXPECT_EQ(0, result.exitCode) << result.err;
}

} // namespace
