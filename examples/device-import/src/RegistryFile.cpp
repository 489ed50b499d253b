// SPDX-License-Identifier: Apache-2.0

#include "RegistryFile.h"

#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <zel/report.h>
#include <zelposix/FdInputStream.h>

#include "AsideFile.h"
#include "FileDescriptor.h"
#include "ImportErrors.h"
#include "RegistryReader.h"
#include "RegistryWriter.h"

namespace deviceimport {

namespace {

constexpr unsigned int BUFFER_SIZE = 64 * 1024;

/// Returns the size of a regular file; of a pipe or a device nobody knows it.
std::optional<std::uint64_t> sizeOf(int fd)
{
    struct stat status = {};
    if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    return static_cast<std::uint64_t>(status.st_size);
}

bool reject(const std::string& name)
{
    ZEL_RAISE_ON(RegistryError, REGISTRY_REJECTED, name.c_str());
    return false;
}

} // namespace

bool saveRegistry(const std::string& name, const std::vector<Device>& devices)
{
    {
        AsideFile file(name);
        if (file.create() && writeRegistry(devices, file.stream()) && file.commit()) return true;
    }
    ZEL_RAISE_ON(RegistryError, REGISTRY_NOT_WRITTEN, name.c_str());
    return false;
}

bool loadRegistry(const std::string& name, SavedRegistry& registry)
{
    FileDescriptor file;
    if (!file.open(name, O_RDONLY)) {
        ZEL_RAISE_ON(RegistryError, REGISTRY_UNREADABLE, name.c_str());
        return false;
    }
    zel::FdInputStream input(file.get(), BUFFER_SIZE);
    RegistryReader reader(input, sizeOf(file.get()));
    if (!reader.read(registry.devices)) return reject(name);
    registry.size = reader.place();
    return true;
}

bool verifyRegistry(const std::string& name, const std::vector<Device>& meant,
                    SavedRegistry& registry)
{
    if (!loadRegistry(name, registry)) return false;
    if (registry.devices == meant) return true;
    ZEL_RAISE(RegistryError, REGISTRY_DIFFERS);
    return reject(name);
}

} // namespace deviceimport
