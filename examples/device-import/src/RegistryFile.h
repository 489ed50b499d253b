// SPDX-License-Identifier: Apache-2.0
//
// Registries as files: written so that there never is half of one, and read back.
//
//     if (!saveRegistry("registry.bin", devices)) return complain();
//     if (!loadRegistry("registry.bin", saved)) return complain();

#ifndef DEVICE_IMPORT_REGISTRYFILE_H
#define DEVICE_IMPORT_REGISTRYFILE_H

#include <cstdint>
#include <string>
#include <vector>

#include "DeviceLine.h"

namespace deviceimport {

/// What was read from a registry.
struct SavedRegistry
{
    std::vector<Device> devices;
    /// Bytes of the file.
    std::uint64_t size = 0;
};

/// Writes `devices`, which are in ascending order of their uuids, to the file `name`. An older file
/// of that name is replaced when the new one is complete and on its medium, not before.
/// Returns false on failure, with RegistryError REGISTRY_NOT_WRITTEN raised, caused by what went
/// wrong.
bool saveRegistry(const std::string& name, const std::vector<Device>& devices);

/// Reads the file `name` into `registry`.
/// Returns false if it is no sound registry, with RegistryError REGISTRY_REJECTED raised, caused as
/// `RegistryReader::read` tells; or REGISTRY_UNREADABLE if it cannot be opened.
bool loadRegistry(const std::string& name, SavedRegistry& registry);

/// Reads the file `name` into `registry` and compares the devices with `meant`.
/// Returns false as above, and if they differ, with RegistryError REGISTRY_REJECTED raised, caused
/// by REGISTRY_DIFFERS.
bool verifyRegistry(const std::string& name, const std::vector<Device>& meant,
                    SavedRegistry& registry);

} // namespace deviceimport

#endif // DEVICE_IMPORT_REGISTRYFILE_H
