// SPDX-License-Identifier: Apache-2.0

#include <common/error/Error.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <new>
#include <string_view>

#include <pthread.h>

#include "../../zelbase/constantInit.h"
#include "../../zelbase/processId-posix.h"
#include "ErrnoKeeper.h"
#include "ErrorStorageEntry.h"
#include "ErrorStorageRecording.h"
#include "ErrorText.h"
#include "ReasonList.h"
#include "ReportGuard.h"
#include "Site.h"

ZELCOMMON_CONSTANT_INIT std::ErrorApi zel_error;

namespace std {

namespace {

constexpr const char* FILE_NAME = "framework/src/common/error/Error";
constexpr const char* FUNCTION_NAME = "operator()";
constexpr errorcore::Site TYPE_SITE{FILE_NAME, 97, FUNCTION_NAME};
constexpr errorcore::Site MESSAGE_SITE{FILE_NAME, 103, FUNCTION_NAME};

constexpr const char* NO_MESSAGE = "<no message>";

/// A thread without a storage is given one in the first round; the second one fills it.
constexpr int ROUNDS = 2;

/// Kept: one byte less than the buffer of an error offers, so that formatted reasons end after 254
/// characters; peers depend on the length.
constexpr size_t FORMAT_SIZE = 254 + 1; // limit + terminator
static_assert(FORMAT_SIZE == ErrorObject::REASON_SIZE - 1);

using ReasonBuffer = char[ErrorObject::REASON_SIZE];

// The format is a row of a table, which no compiler can hold against the values.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
/// As `vsnprintf`; leaves `values` as they are.
inline int print(ReasonBuffer& buffer, const char* message, va_list values)
{
    va_list copy;
    va_copy(copy, values);
    const int length = vsnprintf(buffer, FORMAT_SIZE, message, copy);
    va_end(copy);
    return length;
}
#pragma GCC diagnostic pop

/// Leaves what a formatting that fails writes before it does. Returns the length of that.
ZEL_COLD size_t formatPart(ReasonBuffer& buffer, const char* message, va_list values)
{
    memset(buffer, 0, sizeof buffer);
    print(buffer, message, values); // once more, to see where the part ends
    return strlen(buffer);
}

/// Formats into a buffer beside the storage, as the values may lie in the slot that is reused.
/// Returns the length of the text, which is terminated.
inline size_t format(ReasonBuffer& buffer, const char* message, va_list values)
{
    const errorcore::ErrnoKeeper errnoKeeper;
    const int length = print(buffer, message, values);
    if (length < 0) return formatPart(buffer, message, values);
    return min(static_cast<size_t>(length), FORMAT_SIZE - 1);
}

void reportMissingStorage(const char* message)
{
    fprintf(stderr,
            "%s|%s|%s:\nError occured but no error storage defined (process: %d, Thread: %ld)\n"
            "YOU MUST DEFINE AN ERRORSTORAGE!\n"
            "I'm creating an error storage on the heap for this thread now but this\n"
            "introduces a memory leak of %lu bytes!\n",
            message, FILE_NAME, FUNCTION_NAME, zelbase::processId(),
            errorcore::threadNumber(pthread_self()),
            static_cast<unsigned long>(sizeof(ErrorStorage)));
    fflush(stderr);
}

/// Takes the pieces of a reason list into a string.
class StringSink
{
public:
    explicit StringSink(string& text) : m_text(text) {}
    void append(string_view piece) { m_text.append(piece); }

private:
    string& m_text;
};

} // namespace

const bool raise_error = false;
const int PSEUDO_FALSE = 0;
void PSEUDO_TRUE() {}

static_assert(sizeof(raise_error) == 1);
static_assert(sizeof(PSEUDO_FALSE) == 4);
static_assert(sizeof(ErrorApi) == 1);

void ErrorOutput::operator()(const ErrorType& type, int id, ...)
{
    const ErrorID* const row = type.find(id);
    const bool hasMessage = row != nullptr && row->message != nullptr;
    if (hasMessage && row->argCount != 0) {
        va_list values;
        va_start(values, id);
        raiseFormatted(type, id, row->message, values);
        va_end(values);
        return;
    }
    if (hasMessage && ErrorStorage::recordPlain(*this, type, id, row->message)) return;
    raisePlain(type, id, row);
}

void ErrorOutput::operator()(const ErrorObject& error)
{
    errorcore::assertAt(TYPE_SITE, error.m_type != nullptr, "m_type");
    if (error.m_type == nullptr) return;

    // The error may be the very one whose slot is reused.
    ReasonBuffer buffer;
    const string_view reason = errorcore::reasonToCopy(error);
    reason.copy(buffer, sizeof buffer);

    // Kept: unlike a raise, a copy neither warns of a missing storage nor creates one.
    bool ignored = false;
    const char* const msg = ErrorStorage::record({m_raise,
                                                  error.m_type,
                                                  error.id(),
                                                  error.m_file,
                                                  error.m_line,
                                                  nullptr,
                                                  {buffer, reason.size()}},
                                                 ignored);
    errorcore::assertAt(MESSAGE_SITE, msg != nullptr, "msg");
}

/// Apart, for its buffer, which other raises do not need.
__attribute__((noinline)) void ErrorOutput::raiseFormatted(const ErrorType& type, int id,
                                                           const char* message,
                                                           va_list values) const
{
    ReasonBuffer buffer;
    bool recorded = false;
    for (int round = 0; round < ROUNDS && !recorded; ++round) {
        const size_t length = format(buffer, message, values);
        recorded = ErrorStorage::recordText(*this, type, id, buffer, length) ||
                   record(type, id, nullptr, {buffer, length});
    }
}

/// For the raises that take more than a row with a text and a storage of the thread's own. `row` is
/// null if there is none.
void ErrorOutput::raisePlain(const ErrorType& type, int id, const ErrorID* row) const
{
    bool recorded = false;
    for (int round = 0; round < ROUNDS && !recorded; ++round) {
        if (row == nullptr) type.getArgumentCount(id); // complains of a type without a table, too
        const char* const message = row != nullptr ? row->message : type.getMessageString(id);
        recorded = record(type, id, message != nullptr ? message : NO_MESSAGE, {});
    }
}

/// Records a reason of static lifetime or, without one, a terminated text to copy. Returns false if
/// the thread had no storage; it has been given one then, if there is memory for it.
bool ErrorOutput::record(const ErrorType& type, int id, const char* reason, string_view text) const
{
    bool noStorage = false;
    ErrorStorage::record({m_raise, &type, id, m_file, m_line, reason, text}, noStorage);
    if (noStorage) provideStorage(reason != nullptr ? reason : text.data());
    return !noStorage;
}

void ErrorOutput::provideStorage(const char* reason)
{
    const errorcore::ReportGuard guard;
    reportMissingStorage(reason);
    ErrorStorage::createOnHeap();
}

void ErrorOutput::checkLayout()
{
    static_assert(offsetof(ErrorOutput, m_file) == 0);
    static_assert(offsetof(ErrorOutput, m_line) == sizeof(void*));
    static_assert(offsetof(ErrorOutput, m_raise) == sizeof(void*) + sizeof(int));
}

string ErrorApi::getReasonList()
{
    try {
        string text;
        StringSink sink(text);
        errorcore::writeReasonList(sink);
        return text;
    } catch (const bad_alloc&) {
        return {};
    }
}

} // namespace std
