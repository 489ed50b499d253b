// SPDX-License-Identifier: Apache-2.0
//
// The calls of the operating system that `Descriptor.cpp` makes, in a test that has it answer in
// their place: they follow a script and note what they are asked.
//
//     support::ScriptedCalls script{gives(2), fails(EINTR), gives(3)};
//     posixcore::writeSome(posixcore::OTHER, support::SCRIPTED_FD, "abcde", 5, true);
//     EXPECT_EQ("write(abcde) write(cde) write(cde)", script.calls);

#ifndef ZELCOMMON_TESTS_SUPPORT_SCRIPTEDCALLS_H
#define ZELCOMMON_TESTS_SUPPORT_SCRIPTEDCALLS_H

#include <deque>
#include <initializer_list>
#include <string>

#include <sys/types.h>

namespace support {

/// The descriptor that calls are expected to be made with.
constexpr int SCRIPTED_FD = 7;

/// What one call returns; -1 comes with a value of `errno`.
struct Answer
{
    ssize_t result;
    int error;
};

inline Answer gives(ssize_t result)
{
    return {result, 0};
}

inline Answer fails(int error)
{
    return {-1, error};
}

/// Answers the calls while it exists, but for those of signals, which are noted and work. Each
/// answer must be asked for; behind the last one each call fails with what ends any loop.
class ScriptedCalls
{
public:
    ScriptedCalls(std::initializer_list<Answer> script);
    ~ScriptedCalls();
    ScriptedCalls(const ScriptedCalls&) = delete;
    ScriptedCalls& operator=(const ScriptedCalls&) = delete;

    /// The calls that there were: "write(abc) poll(out)".
    std::string calls;
    /// How often taking a signal is interrupted.
    int interruptions = 0;

    void note(const std::string& call);
    ssize_t answer(int fd, const std::string& call);

private:
    std::deque<Answer> m_answers;
};

/// Returns whether the calling thread holds `signal` back.
bool isHeld(int signal);

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_SCRIPTEDCALLS_H
