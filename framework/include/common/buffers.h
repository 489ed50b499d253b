// SPDX-License-Identifier: Apache-2.0
//
// The memory under the text family: a pointer that knows how to release itself, one with a size,
// and a block with a counter of references that several strings share. A filled payload is never
// written again, so sharing needs no copy-on-write.
//
//     std::SharedBuf block(5);
//     std::memcpy(block.payload(), "bytes", 5);
//     block.unref();

#ifndef ZELCOMMON_COMMON_BUFFERS_H
#define ZELCOMMON_COMMON_BUFFERS_H

#include <cstdint>

#include <common/error/GlobalErrorHandler.h>
#include <zel/attributes.h>

namespace std {

/// A pointer to bytes and to what releases them. A plain value.
class Ptr
{
public:
    /// What releases memory. Must outlive all that it made. Called by slot.
    class ZEL_EXPORT Allocator
    {
    public:
        virtual ~Allocator();
        /// Releases the memory that `ptr` owns.
        virtual void free(const Ptr& ptr) const = 0;
    };

    /// Null, and owned by nobody.
    constexpr Ptr() = default;

    /// What users read and write.
    unsigned char* data = nullptr;
    /// What releases `base`; null if nobody does.
    const Allocator* allocator = nullptr;
    /// What the allocator releases; of a fresh block the same as `data`.
    unsigned char* base = nullptr;
};

/// Bytes with their number. A plain value.
class Buf : public Ptr
{
public:
    /// The C library's allocator. Others derive from it. Any thread.
    class ZEL_EXPORT Allocator : public Ptr::Allocator
    {
    public:
        constexpr Allocator() = default;
        ~Allocator() override;
        /// Hands `ptr.base` to the C library's `free`, if it is not null and `ptr` has an
        /// allocator.
        void free(const Ptr& ptr) const override;
        /// Returns `requested` bytes of the C library's `malloc`. The size is recorded even if the
        /// data are null for want of memory.
        virtual Buf malloc(unsigned int requested) const;
    };

    /// The allocator of all strings. Serves until the process is gone.
    static ZEL_EXPORT const Allocator DEFAULT_ALLOCATOR;

    constexpr Buf() = default;
    /// `requested` bytes of `from`. Without memory the data are null and the size is 0.
    ZEL_EXPORT Buf(unsigned int requested, const Allocator& from);

    /// Bytes at `data`.
    unsigned int size = 0;
};

/// A holder of a block of bytes that begins with a counter of its holders.
///
/// Copying takes a reference. Nothing is released on destruction: the holder calls `unref()` when
/// it gives the block up. The counter may be changed by any number of threads, one holder by one
/// thread at a time.
class SharedBuf : public Buf
{
public:
    /// Bytes before the payload of a fresh block: the counter, and four that are neither read nor
    /// written.
    static constexpr unsigned int HEADER_SIZE = 8;

    /// The null buffer.
    constexpr SharedBuf() = default;
    /// A fresh block of `payloadSize` bytes, with one reference. The null buffer if there is no
    /// memory, or if the size with the header leaves 32 bits.
    ZEL_EXPORT explicit SharedBuf(unsigned int payloadSize);

    /// Takes a reference to the block of `other`; the null buffer has none.
    // NOLINTNEXTLINE(bugprone-copy-constructor-init,readability-redundant-member-init): copyFields
    SharedBuf(const SharedBuf& other) noexcept : Buf()
    {
        copyFields(other);
        ref();
    }
    /// Takes the reference along; `other` is the null buffer then.
    // NOLINTNEXTLINE(readability-redundant-member-init): copyFields
    SharedBuf(SharedBuf&& other) noexcept : Buf()
    {
        copyFields(other);
        other.forget();
    }
    /// Gives up the block held so far. A holder that has called `unref()` must not be assigned to.
    // NOLINTNEXTLINE(cert-oop54-cpp): takes the new reference first
    SharedBuf& operator=(const SharedBuf& other) noexcept
    {
        other.ref();
        unref();
        copyFields(other);
        return *this;
    }
    /// As copying, and takes the reference along; `other` is the null buffer then.
    SharedBuf& operator=(SharedBuf&& other) noexcept
    {
        if (this == &other) return *this;
        unref();
        copyFields(other);
        other.forget();
        return *this;
    }

    /// Returns a holder of the same block whose payload starts `n` bytes later.
    /// Requires `n` <= `length()`. Asserts that there is a block ("buf"), then goes on with the
    /// null buffer.
    SharedBuf operator+(unsigned int n) const
    {
        SharedBuf view(*this);
        if (data == nullptr)
            assertBlock(LINE_OPERATOR_PLUS, "operator+");
        else
            view.offset += n;
        return view;
    }

    /// Returns a holder of the same block whose payload ends `n` bytes earlier.
    /// Requires `n` <= `length()`. Asserts that there is a block ("buf"), then goes on with the
    /// null buffer.
    SharedBuf shrink(unsigned int n) const
    {
        SharedBuf view(*this);
        if (data == nullptr)
            assertBlock(LINE_SHRINK, "shrink");
        else
            view.size -= n;
        return view;
    }

    /// Gives the reference up; the last holder's call releases the block. The fields stay as they
    /// are. Does nothing without a block.
    void unref() const
    {
        // Barriers on both sides: what other holders read is read before the block goes.
        if (data != nullptr && __sync_fetch_and_sub(counter(), 1U) == 1) release();
    }

    /// Returns the payload's address, null without a block.
    unsigned char* payload() const { return data != nullptr ? data + offset : nullptr; }
    /// Returns the payload's length in bytes.
    unsigned int length() const { return size - offset; }

    /// Bytes from `data` to the payload. `size` counts from `data` to the payload's end.
    unsigned int offset = 0;

private:
    /// The allocators give memory that is aligned for it.
    std::uint32_t* counter() const { return static_cast<std::uint32_t*>(static_cast<void*>(data)); }

    void ref() const
    {
        if (data != nullptr) __sync_fetch_and_add(counter(), 1U);
    }

    /// One by one: as a whole they would be read back before they have been written.
    void copyFields(const SharedBuf& other)
    {
        data = other.data;
        allocator = other.allocator;
        base = other.base;
        size = other.size;
        offset = other.offset;
    }

    void forget()
    {
        data = nullptr;
        allocator = nullptr;
        base = nullptr;
        size = 0;
        offset = 0;
    }

    // Parts of texts that users see, fixed whatever becomes of the code.
    static constexpr const char* FILE_NAME = "framework/include/common/buffers";
    static constexpr int LINE_OPERATOR_PLUS = 148;
    static constexpr int LINE_SHRINK = 156;

    ZEL_COLD static void assertBlock(int line, const char* function)
    {
        GlobalErrorHandler::doAssert(false, "buf", FILE_NAME, line, function, nullptr);
    }

    ZEL_EXPORT void release() const;
};

static_assert(sizeof(SharedBuf) == 3 * sizeof(void*) + 2 * sizeof(unsigned int),
              "five fields, nothing beside");

} // namespace std

#endif // ZELCOMMON_COMMON_BUFFERS_H
