// SPDX-License-Identifier: Apache-2.0
//
// Replaces the calls of the operating system that the library makes for files and sockets, in the
// whole test program: they work, unless one is to fail. Not for programs under a sanitizer, which
// brings functions of those names itself.
//
//     const support::FailingCall failing("open", EINTR);
//     EXPECT_TRUE(file.open(name, std::ios_base::in) == &file);
//     EXPECT_EQ(2, failing.calls());

#ifndef ZELCOMMON_TESTS_SUPPORT_FAILINGCALL_H
#define ZELCOMMON_TESTS_SUPPORT_FAILINGCALL_H

namespace support {

/// As many as ever come.
constexpr int EACH_CALL = 1000000;

/// While it exists, calls of one kind fail. There may be two at a time, of different names, made by
/// one thread.
class FailingCall
{
public:
    /// `count` calls of `name`, as the manual has it, by the calling thread fail with `code`. The
    /// name "poll for room" is that of the polls whose first descriptor is to be written to, and
    /// "clock_gettime" stands for the time of day alone. `name` must outlive the object.
    FailingCall(const char* name, int code, int count = 1);
    ~FailingCall();
    FailingCall(const FailingCall&) = delete;
    FailingCall& operator=(const FailingCall&) = delete;

    /// Returns how often the call was made since the construction.
    int calls() const;

protected:
    FailingCall(const char* name, int code, int count, bool isElsewhere);

private:
    const int m_place;
};

/// The same for the calls of all other threads.
class FailingCallElsewhere : public FailingCall
{
public:
    FailingCallElsewhere(const char* name, int code, int count = 1)
        : FailingCall(name, code, count, true)
    {}
};

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_FAILINGCALL_H
