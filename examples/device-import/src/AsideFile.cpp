// SPDX-License-Identifier: Apache-2.0

#include "AsideFile.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zel/report.h>

#include "ImportErrors.h"

namespace deviceimport {

namespace {

constexpr unsigned int BUFFER_SIZE = 64 * 1024;
constexpr mode_t PERMISSIONS = 0666; // less the process's mask

std::string directoryOf(const std::string& name)
{
    const std::size_t slash = name.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : name.substr(0, slash);
}

/// Returns the process's mask. No other thread makes files meanwhile.
mode_t currentMask()
{
    const mode_t mask = umask(0);
    umask(mask);
    return mask;
}

} // namespace

AsideFile::AsideFile(std::string name) : m_name(std::move(name)) {}

AsideFile::~AsideFile()
{
    if (m_aside.empty()) return;
    if (m_stream) m_stream->discard();
    unlink(m_aside.c_str());
}

bool AsideFile::create()
{
    // The directory first, so that nothing has happened yet if it cannot be opened.
    if (!m_directory.open(directoryOf(m_name), O_RDONLY | O_DIRECTORY)) return false;
    if (!checkPlace()) return false;
    std::string aside = m_name + ".XXXXXX";
    const int fd = mkostemp(aside.data(), O_CLOEXEC);
    if (fd == -1) return raiseSystemError("mkostemp");
    m_file.adopt(fd);
    m_aside = aside;
    m_stream.emplace(fd, BUFFER_SIZE);
    return setPermissions();
}

bool AsideFile::commit()
{
    if (m_stream->flush(true)) return false;
    m_stream.reset();
    if (!m_file.close()) return false;
    if (std::rename(m_aside.c_str(), m_name.c_str()) != 0) return raiseSystemError("rename");
    m_aside.clear();
    // A deep flush is an fsync, which a directory takes as well as a file.
    return !zel::FdOutputStream(m_directory.get(), 0).flush(true);
}

bool AsideFile::checkPlace() const
{
    struct stat status = {};
    if (lstat(m_name.c_str(), &status) != 0) return errno == ENOENT || raiseSystemError("lstat");
    if (S_ISREG(status.st_mode)) return true;
    ZEL_RAISE(RegistryError, REGISTRY_NO_FILE);
    return false;
}

bool AsideFile::setPermissions() const
{
    return fchmod(m_file.get(), PERMISSIONS & ~currentMask()) == 0 || raiseSystemError("fchmod");
}

} // namespace deviceimport
