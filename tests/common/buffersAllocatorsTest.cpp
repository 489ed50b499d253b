// SPDX-License-Identifier: Apache-2.0
//
// The plain values, and the allocators behind them.

#include <common/buffers.h>

#include <cstddef>
#include <cstring>
#include <new>
#include <type_traits>

#include <gtest/gtest.h>

#include "support/SlotCall.h"

namespace {

using std::Buf;
using std::Ptr;
using std::SharedBuf;
using support::SlotCall;

/// Notes its calls, and hands them on to the C library's allocator.
class NotingAllocator : public Buf::Allocator
{
public:
    void free(const Ptr& ptr) const override
    {
        ++frees;
        freed = &ptr;
        Buf::Allocator::free(ptr);
    }
    Buf malloc(unsigned int requested) const override
    {
        ++mallocs;
        return Buf::Allocator::malloc(requested);
    }

    mutable int frees = 0;
    mutable int mallocs = 0;
    mutable const Ptr* freed = nullptr;
};

TEST(Ptr, Fresh_IsNull)
{
    const Ptr ptr;
    EXPECT_EQ(nullptr, ptr.data);
    EXPECT_EQ(nullptr, ptr.allocator);
    EXPECT_EQ(nullptr, ptr.base);
    const Buf buf;
    EXPECT_EQ(nullptr, buf.data);
    EXPECT_EQ(nullptr, buf.allocator);
    EXPECT_EQ(nullptr, buf.base);
    EXPECT_EQ(0U, buf.size);
}

TEST(Ptr, Layout_IsInTheOrderOfTheFields)
{
    struct View
    {
        unsigned char* data;
        const Ptr::Allocator* allocator;
        unsigned char* base;
        unsigned int size, offset;
    } view;
    static_assert(sizeof(View) == sizeof(SharedBuf), "nothing beside the five fields");
    static_assert(std::is_trivially_copyable_v<Ptr> && std::is_trivially_copyable_v<Buf>);
    SharedBuf block(5);
    std::memcpy(&view, static_cast<const void*>(&block), sizeof view);
    EXPECT_EQ(block.data, view.data);
    EXPECT_EQ(&Buf::DEFAULT_ALLOCATOR, view.allocator);
    EXPECT_EQ(block.data, view.base);
    EXPECT_EQ(13U, view.size);
    EXPECT_EQ(8U, view.offset);
    block.unref();
}

TEST(BufAllocator, Malloc_RecordsItself)
{
    const Buf::Allocator allocator;
    const Buf buf = allocator.malloc(24);
    ASSERT_NE(nullptr, buf.data);
    std::memset(buf.data, 0xEE, 24);
    EXPECT_EQ(buf.data, buf.base);
    EXPECT_EQ(&allocator, buf.allocator);
    EXPECT_EQ(24U, buf.size);
    allocator.free(buf);
}

TEST(BufAllocator, Free_ReleasesTheBaseNotTheData)
{
    const Buf::Allocator allocator;
    Buf buf = allocator.malloc(24);
    buf.data += 16;
    allocator.free(buf);
    EXPECT_EQ(buf.base + 16, buf.data) << "the fields stay";
}

TEST(BufAllocator, FreeWithoutAllocatorOrBase_DoesNothing)
{
    unsigned char bytes[8] = "kept";
    Ptr ptr;
    ptr.data = ptr.base = bytes; // the C library would end the process
    Buf::DEFAULT_ALLOCATOR.free(ptr);
    ptr.base = nullptr;
    ptr.allocator = &Buf::DEFAULT_ALLOCATOR;
    Buf::DEFAULT_ALLOCATOR.free(ptr);
    EXPECT_STREQ("kept", reinterpret_cast<const char*>(bytes));
    EXPECT_EQ(bytes, ptr.data);
}

TEST(Buf, OfAnAllocator_TakesItsMemory)
{
    const NotingAllocator allocator;
    const Buf buf(24, allocator);
    EXPECT_EQ(1, allocator.mallocs);
    ASSERT_NE(nullptr, buf.data);
    EXPECT_EQ(buf.data, buf.base);
    EXPECT_EQ(&allocator, buf.allocator);
    EXPECT_EQ(24U, buf.size);
    buf.allocator->free(buf);
    EXPECT_EQ(1, allocator.frees);
}

TEST(Buf, OfTheDefaultAllocator_TakesItsMemory)
{
    const Buf buf(24, Buf::DEFAULT_ALLOCATOR);
    ASSERT_NE(nullptr, buf.data);
    std::memset(buf.data, 0xEE, 24);
    EXPECT_EQ(buf.data, buf.base);
    EXPECT_EQ(&Buf::DEFAULT_ALLOCATOR, buf.allocator);
    EXPECT_EQ(24U, buf.size);
    buf.allocator->free(buf);
}

/// Answers with the fields that it is given.
class ScriptedAllocator : public Buf::Allocator
{
public:
    Buf malloc(unsigned int) const override { return answer; }

    Buf answer;
};

TEST(Buf, WithoutMemory_HasSize0)
{
    ScriptedAllocator allocator;
    allocator.answer.allocator = &allocator;
    allocator.answer.size = 24;
    const Buf buf(24, allocator);
    EXPECT_EQ(nullptr, buf.data);
    EXPECT_EQ(nullptr, buf.base);
    EXPECT_EQ(&allocator, buf.allocator);
    EXPECT_EQ(0U, buf.size);
}

TEST(Buf, OfAnAllocatorWithItsOwnFields_KeepsThemButTheSize)
{
    unsigned char bytes[32];
    const NotingAllocator other;
    ScriptedAllocator allocator;
    allocator.answer.data = bytes + 16;
    allocator.answer.base = bytes;
    allocator.answer.allocator = &other;
    allocator.answer.size = 99;
    const Buf buf(16, allocator);
    EXPECT_EQ(bytes + 16, buf.data);
    EXPECT_EQ(bytes, buf.base);
    EXPECT_EQ(&other, buf.allocator);
    EXPECT_EQ(16U, buf.size);
}

TEST(Buf, OfNoBytes_HasSize0)
{
    const Buf buf(0, Buf::DEFAULT_ALLOCATOR);
    EXPECT_EQ(0U, buf.size);
    EXPECT_EQ(&Buf::DEFAULT_ALLOCATOR, buf.allocator);
    Buf::DEFAULT_ALLOCATOR.free(buf);
}

/// Counts what becomes of an object of the class.
class Doomed : public NotingAllocator
{
public:
    ~Doomed() override { ++s_destroyed; }
    static void* operator new(std::size_t size) { return ::operator new(size); }
    static void operator delete(void* memory)
    {
        ++s_released;
        ::operator delete(memory);
    }

    static inline int s_destroyed = 0;
    static inline int s_released = 0;
};

TEST(BufAllocatorSlots, 0To1_Destructors)
{
    alignas(Doomed) unsigned char memory[sizeof(Doomed)];
    SlotCall<void()>::of(::new (memory) Doomed, 0);
    EXPECT_EQ(1, Doomed::s_destroyed);
    EXPECT_EQ(0, Doomed::s_released);
    SlotCall<void()>::of(new Doomed, 1);
    EXPECT_EQ(2, Doomed::s_destroyed);
    EXPECT_EQ(1, Doomed::s_released);
}

TEST(BufAllocatorSlots, 2To3_FreeAndMalloc)
{
    const NotingAllocator allocator;
    const Buf buf = SlotCall<Buf(unsigned int)>::of(&allocator, 3, 24);
    EXPECT_EQ(1, allocator.mallocs);
    EXPECT_EQ(24U, buf.size);
    EXPECT_EQ(&allocator, buf.allocator);
    SlotCall<void(const Ptr&)>::of(&allocator, 2, buf);
    EXPECT_EQ(1, allocator.frees);
    EXPECT_EQ(static_cast<const Ptr*>(&buf), allocator.freed);
}

TEST(BufAllocatorSlots, 2To3_OfTheDefaultAllocator)
{
    const void* const allocator = &Buf::DEFAULT_ALLOCATOR;
    const Buf buf = SlotCall<Buf(unsigned int)>::of(allocator, 3, 24);
    ASSERT_NE(nullptr, buf.data);
    std::memset(buf.data, 0xEE, 24);
    EXPECT_EQ(allocator, buf.allocator);
    SlotCall<void(const Ptr&)>::of(allocator, 2, buf);
}

/// Releases nothing, in the one slot behind the destructors.
class FreeingOnly : public Ptr::Allocator
{
public:
    void free(const Ptr&) const override { ++frees; }

    mutable int frees = 0;
};

TEST(PtrAllocatorSlots, 2_Free)
{
    static_assert(std::is_abstract_v<Ptr::Allocator>);
    static_assert(std::has_virtual_destructor_v<Ptr::Allocator>);
    const FreeingOnly allocator;
    SlotCall<void(const Ptr&)>::of(&allocator, 2, Ptr());
    EXPECT_EQ(1, allocator.frees);
}

} // namespace
