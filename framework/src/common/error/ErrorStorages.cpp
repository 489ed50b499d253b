// SPDX-License-Identifier: Apache-2.0

#include <common/error/ErrorStorages.h>

#include <cstdio>
#include <cstring>
#include <string_view>

#include "ErrorText.h"
#include "FixedText.h"
#include "ReportGuard.h"
#include "Site.h"

namespace std {

namespace {

constexpr const char* FILE_NAME = "framework/src/common/error/ErrorStorages";
constexpr errorcore::Site DUMP_SITE{FILE_NAME, 60, "action_dump_to_stdout"};
constexpr errorcore::Site ABORT_SITE{FILE_NAME, 109, "action_dump_and_abort"};
constexpr errorcore::Site TRACE_SITE{FILE_NAME, 115, "action_trace"};

/// Components of a file name that a dump shows before the last one.
constexpr int LEADING_COMPONENTS = 4;

/// Returns the last five components of `file`.
///
/// Kept: where there are two to five, the text begins behind the name's first character, which for
/// an absolute name is the leading "/" and for a relative one a letter. Those who read the dumps
/// are used to it.
const char* lastComponents(const char* file)
{
    if (file == nullptr) return file;
    const char* at = strrchr(file, '/');
    if (at == nullptr) return file;

    for (int component = 0; component < LEADING_COMPONENTS && at != file; ++component) {
        --at;
        while (at != file && *at != '/')
            --at;
    }
    return at + 1;
}

/// Prints one error in one call, so that the lines of two threads do not mix.
void printError(const char* label, const ErrorObject& error)
{
    const string_view reason = errorcore::printable(errorcore::reasonOf(error));
    printf("%s: %.*s [in process/thread '%d/%ld', file '%s', line %d]\n", label,
           static_cast<int>(reason.size()), reason.data(), error.m_process,
           errorcore::threadNumber(error.m_thread),
           errorcore::printable(lastComponents(error.m_file)), error.m_line);
}

void printLinked(const char* text, const ErrorObject* error, unsigned int count)
{
    printf("%s (linked):\n", text);
    for (int number = 1; number <= ErrorStorage::CAPACITY && error != nullptr; ++number) {
        errorcore::FixedText<sizeof "   8"> label;
        printError(label.append("   ").append(number).text(), *error);
        error = error->m_cause;
    }
    if (count > ErrorStorage::CAPACITY)
        printf("%d old attachment(s) overwritten\n",
               static_cast<int>(count) - ErrorStorage::CAPACITY);
}

} // namespace

StdoutDumpErrorStorage::StdoutDumpErrorStorage() : ErrorStorage(action_dump_to_stdout) {}

StdoutDumpErrorStorage::~StdoutDumpErrorStorage() = default;

AbortErrorStorage::AbortErrorStorage() : ErrorStorage(action_dump_and_abort) {}

TraceErrorStorage::TraceErrorStorage(int channel) : ErrorStorage(action_trace), m_channel(channel)
{
    m_data = this;
}

int TraceErrorStorage::getChannel() const
{
    return m_channel;
}

CustomErrorStorage::CustomErrorStorage(Action action) : ErrorStorage(action) {}

void ErrorStorage::action_dump_to_stdout(void*, const char* text, const ErrorObject* error,
                                         unsigned int count)
{
    const errorcore::ReportGuard guard;
    errorcore::assertAt(DUMP_SITE, error != nullptr, "obj");
    if (error == nullptr) return;

    text = errorcore::printable(text);
    if (error->m_cause == nullptr)
        printError(text, *error);
    else
        printLinked(text, error, count);
    fflush(stdout);
}

void ErrorStorage::action_dump_and_abort(void*, const char* text, const ErrorObject* error,
                                         unsigned int count)
{
    action_dump_to_stdout(nullptr, text, error, count);
    // "occured" is kept: tools match the text.
    GlobalErrorHandler::doAbort(ABORT_SITE.file, ABORT_SITE.line, ABORT_SITE.function,
                                "unhandled error occured");
}

void ErrorStorage::action_trace(void* data, const char* text, const ErrorObject* error,
                                unsigned int count)
{
    const errorcore::ReportGuard guard;
    errorcore::assertAt(TRACE_SITE, data != nullptr, "data");
    // Kept: the placeholder stands until trace channels report errors; scripts look for it.
    puts("TODO: TRACE THIS");
    action_dump_to_stdout(nullptr, text, error, count);
}

} // namespace std
