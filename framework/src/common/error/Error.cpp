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
/// Formats into a buffer beside the storage, as the values may lie in the slot that is reused.
/// Returns the text, which is terminated. A formatting that fails leaves a part of it.
string_view format(ReasonBuffer& buffer, const char* message, va_list values)
{
    const errorcore::ErrnoKeeper errnoKeeper;
    va_list again;
    va_copy(again, values);
    const int length = vsnprintf(buffer, FORMAT_SIZE, message, values);
    if (length < 0) { // once more, to see where the part ends
        memset(buffer, 0, sizeof buffer);
        vsnprintf(buffer, FORMAT_SIZE, message, again);
    }
    va_end(again);
    if (length < 0) return buffer;
    return string_view(buffer, min(static_cast<size_t>(length), FORMAT_SIZE - 1));
}
#pragma GCC diagnostic pop

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
    if (ErrorStorage::recordPlain(*this, type, id)) return;

    va_list values;
    va_start(values, id);
    raise(type, id, values);
    va_end(values);
}

/// Apart, so that a plain error does not pay for it.
__attribute__((noinline)) void ErrorOutput::raise(const ErrorType& type, int id,
                                                  va_list values) const
{
    bool recorded = false;
    for (int round = 0; round < ROUNDS && !recorded; ++round) {
        va_list copy;
        va_copy(copy, values);
        recorded = attempt(type, id, copy);
        va_end(copy);
    }
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

/// One round of a raise. Returns false if the thread had no storage; it has been given one then, if
/// there is memory for it.
bool ErrorOutput::attempt(const ErrorType& type, int id, va_list values) const
{
    const bool formatted = type.getArgumentCount(id) != 0;
    const char* message = type.getMessageString(id);
    if (formatted && message != nullptr) return attemptFormatted(type, id, message, values);

    if (message == nullptr) message = NO_MESSAGE;
    bool noStorage = false;
    ErrorStorage::record({m_raise, &type, id, m_file, m_line, message, {}}, noStorage);
    if (noStorage) provideStorage(message);
    return !noStorage;
}

/// Apart, for its buffer, which other raises do not need.
__attribute__((noinline)) bool ErrorOutput::attemptFormatted(const ErrorType& type, int id,
                                                             const char* message,
                                                             va_list values) const
{
    ReasonBuffer buffer;
    const string_view text = format(buffer, message, values);
    bool noStorage = false;
    ErrorStorage::record({m_raise, &type, id, m_file, m_line, nullptr, text}, noStorage);
    if (noStorage) provideStorage(buffer);
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
