// SPDX-License-Identifier: Apache-2.0

#include <zelbase/abort.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include <pthread.h>

namespace {

const char* printable(const char* text)
{
    return text != nullptr ? text : "(null)";
}

} // namespace

void zelbase::abort(const char* file, int line, const char* function, const char* format, ...)
{
    // Printing is a cancellation point; the thread must not leave instead of the process.
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
    if (format != nullptr) {
        va_list values;
        va_start(values, format);
        std::vfprintf(stderr, format, values);
        va_end(values);
    }
    std::fprintf(stderr, " in %s:%d, %s\n", printable(file), line, printable(function));
    // The C library does not flush a stream to which the program has given a buffer.
    std::fflush(stderr);
    std::abort();
}
