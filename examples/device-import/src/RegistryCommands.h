// SPDX-License-Identifier: Apache-2.0
//
// What the program does with registries, with what it prints about that to standard output: a table
// and a closing line, or the list of reasons for which there is none.
//
//     if (!outputRegistry(options.output, registry.devices())) return NOT_ALL_IMPORTED;

#ifndef DEVICE_IMPORT_REGISTRYCOMMANDS_H
#define DEVICE_IMPORT_REGISTRYCOMMANDS_H

#include <string>
#include <vector>

#include "DeviceLine.h"

namespace deviceimport {

/// Writes `devices`, which are in ascending order of their uuids, to the file `name`, reads them
/// back and prints them. Returns false if anything failed; the errors are acknowledged.
bool outputRegistry(const std::string& name, const std::vector<Device>& devices);

/// Prints the devices of the registry `name`. Returns false if it is none, or a damaged one; the
/// errors are acknowledged.
bool dumpRegistry(const std::string& name);

} // namespace deviceimport

#endif // DEVICE_IMPORT_REGISTRYCOMMANDS_H
