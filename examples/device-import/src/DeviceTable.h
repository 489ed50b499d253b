// SPDX-License-Identifier: Apache-2.0
//
// Devices as a table in plain text.
//
//     std::fputs(deviceTable(list.devices()).c_str(), stdout);

#ifndef DEVICE_IMPORT_DEVICETABLE_H
#define DEVICE_IMPORT_DEVICETABLE_H

#include <string>
#include <vector>

#include "DeviceLine.h"

namespace deviceimport {

/// Returns one line for each device below a line of headings, in UTF-8. Columns are aligned by
/// characters, each of which counts as one place on the screen.
std::string deviceTable(const std::vector<Device>& devices);

} // namespace deviceimport

#endif // DEVICE_IMPORT_DEVICETABLE_H
