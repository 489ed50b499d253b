// SPDX-License-Identifier: Apache-2.0

#include "LineReader.h"

#include <cerrno>
#include <cstddef>
#include <system_error>

#include <zel/report.h>

#include "ImportErrors.h"

namespace deviceimport {

namespace {

std::string errnoText(int error)
{
    return std::generic_category().message(error);
}

/// No other thread uses the files here, so that the lock of each is never needed.
int readByte(std::FILE* file)
{
    return getc_unlocked(file);
}

} // namespace

LineReader::~LineReader()
{
    if (m_file != nullptr) std::fclose(m_file);
}

bool LineReader::open(const std::string& name)
{
    m_file = std::fopen(name.c_str(), "rbe");
    if (m_file != nullptr) return true;
    ZEL_RAISE(ImportError, IMPORT_SYSTEM_CALL, "fopen", errnoText(errno).c_str());
    return false;
}

LineReader::Result LineReader::next(std::string& line)
{
    int byte = readByte(m_file);
    if (byte == EOF) return end();
    if (m_number == MAX_LINES) {
        ZEL_RAISE(std::CommonError, 7, "lines of a device list");
        return Result::FAILED;
    }
    ++m_number;

    line.clear();
    for (; byte != EOF && byte != '\n'; byte = readByte(m_file)) {
        if (line.size() == static_cast<std::size_t>(MAX_LINE)) return skipRest();
        line.push_back(static_cast<char>(byte));
    }
    return std::ferror(m_file) != 0 ? end() : Result::LINE;
}

LineReader::Result LineReader::end() const
{
    if (std::ferror(m_file) == 0) return Result::END;
    ZEL_RAISE(ImportError, IMPORT_SYSTEM_CALL, "fread", errnoText(errno).c_str());
    return Result::FAILED;
}

/// Goes on behind the line feed of a line of which MAX_LINE + 1 bytes were read.
LineReader::Result LineReader::skipRest()
{
    int skipped = MAX_LINE + 1;
    for (int byte = readByte(m_file); byte != EOF && byte != '\n'; byte = readByte(m_file)) {
        if (++skipped < MAX_SKIPPED) continue;
        ZEL_RAISE(LineError, LINE_ENDLESS, m_number, MAX_SKIPPED);
        return Result::FAILED;
    }
    if (std::ferror(m_file) != 0) return end();
    ZEL_RAISE(LineError, LINE_TOO_LONG, MAX_LINE);
    return Result::BROKEN;
}

} // namespace deviceimport
