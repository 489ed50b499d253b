// SPDX-License-Identifier: Apache-2.0

#include "RegistryCommands.h"

#include <cstdio>

#include <common/error/Error.h>
#include <common/error/ErrorStorage.h>

#include "DeviceTable.h"
#include "RegistryFile.h"

namespace deviceimport {

namespace {

bool printReasons()
{
    std::fputs(zel_error.getReasonList().c_str(), stdout);
    std::ErrorStorage::ack();
    return false;
}

/// `done` is what was done with the devices.
bool print(const std::string& name, const char* done, const SavedRegistry& registry)
{
    if (!registry.devices.empty()) std::fputs(deviceTable(registry.devices).c_str(), stdout);
    std::printf("%s: %zu devices %s, %llu bytes\n", name.c_str(), registry.devices.size(), done,
                static_cast<unsigned long long>(registry.size));
    return true;
}

} // namespace

bool outputRegistry(const std::string& name, const std::vector<Device>& devices)
{
    SavedRegistry saved;
    if (!saveRegistry(name, devices) || !verifyRegistry(name, devices, saved))
        return printReasons();
    return print(name, "written and verified", saved);
}

bool dumpRegistry(const std::string& name)
{
    SavedRegistry saved;
    if (!loadRegistry(name, saved)) return printReasons();
    return print(name, "read", saved);
}

} // namespace deviceimport
