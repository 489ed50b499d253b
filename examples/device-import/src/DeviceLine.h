// SPDX-License-Identifier: Apache-2.0
//
// One line of a device list: UUID;NAME;LOCATION;LEVEL. What can be set right is set right here, and
// acknowledged; everything else is left to the caller as a pending error.
//
//     if (!parseDeviceLine(line, device, repairs)) ZEL_RAISE_ON(LineError, LINE_REJECTED, number);

#ifndef DEVICE_IMPORT_DEVICELINE_H
#define DEVICE_IMPORT_DEVICELINE_H

#include <string>

namespace deviceimport {

/// One device of a building.
struct Device
{
    /// 36 characters, lower case.
    std::string uuid;
    std::string name;
    /// FLOOR/ROOM.
    std::string location;
    /// Per cent.
    int level = 0;
};

/// Returns true for a line that holds no device: blank, or a comment behind '#'.
bool isSkippedLine(const std::string& line);

/// Parses `line`, any bytes without the line feed, into `device`.
/// Returns true if the line is valid, after as many repairs as `repairs` tells.
/// Returns false otherwise, with `device` half filled and a LineError or FieldError pending, which
/// may have a cause.
bool parseDeviceLine(const std::string& line, Device& device, int& repairs);

} // namespace deviceimport

#endif // DEVICE_IMPORT_DEVICELINE_H
