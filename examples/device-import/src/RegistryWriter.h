// SPDX-License-Identifier: Apache-2.0
//
// Writes devices as a registry to a binary stream, whatever that leads to.
//
//     if (!writeRegistry(devices, output) || output.flush(true)) return false;

#ifndef DEVICE_IMPORT_REGISTRYWRITER_H
#define DEVICE_IMPORT_REGISTRYWRITER_H

#include <vector>

#include <common/IBinOutputStream.h>

#include "DeviceLine.h"

namespace deviceimport {

/// Writes `devices`, which are in ascending order of their uuids, to `output`, which must be
/// blocking and is not flushed. Equal devices give equal bytes, whatever the encodings of their
/// texts.
/// Returns false if the stream failed, with its error raised.
bool writeRegistry(const std::vector<Device>& devices, std::IBinOutputStream& output);

} // namespace deviceimport

#endif // DEVICE_IMPORT_REGISTRYWRITER_H
