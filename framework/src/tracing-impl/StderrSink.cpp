// SPDX-License-Identifier: Apache-2.0

#include "StderrSink.h"

#include <unistd.h>

#include "../common/error/ReportGuard.h"
#include "../zelposix/Descriptor.h"
#include "LineFormat.h"

namespace tracing {
namespace impl {

void writeToStderr(std::string_view text)
{
    const errorcore::ReportGuard guard;
    const int fd = STDERR_FILENO;
    const auto size = static_cast<unsigned int>(text.size());
    posixcore::writeSome(posixcore::PIPE, fd, text.data(), size, true);
}

void complain(const std::string& text)
{
    writeToStderr("tracing: " + text + "\n");
}

void StderrSink::write(const Message& message)
{
    writeToStderr(m_hasColours ? colouredLineOf(message, m_zones) : lineOf(message, m_zones));
}

} // namespace impl
} // namespace tracing
