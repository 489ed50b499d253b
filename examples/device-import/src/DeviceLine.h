// SPDX-License-Identifier: Apache-2.0
//
// One line of a device list: UUID;NAME;LOCATION;LEVEL. What can be set right is set right here, and
// acknowledged; everything else is left to the caller as a pending error. Nothing is copied: the
// fields share the bytes of the line, except what was set right.
//
//     if (!parseDeviceLine(line, device, repairs)) ZEL_RAISE_ON(LineError, LINE_REJECTED, number);

#ifndef DEVICE_IMPORT_DEVICELINE_H
#define DEVICE_IMPORT_DEVICELINE_H

#include <common/UUID.h>
#include <common/unicode/String.h>

namespace deviceimport {

/// One device of a building. Each text has the encoding of its list, or is in UTF-8.
struct Device
{
    std::UUID uuid;
    std::unicode::String name;
    /// FLOOR/ROOM.
    std::unicode::String location;
    /// Per cent.
    int level = 0;
};

/// Texts are equal if their characters are, whatever their encodings.
inline bool operator==(const Device& a, const Device& b)
{
    return a.uuid == b.uuid && a.name == b.name && a.location == b.location && a.level == b.level;
}

/// Returns true for a line that holds no device: blank, or a comment behind '#'.
bool isSkippedLine(const std::unicode::String& line);

/// Parses `line`, any characters without the line feed, into `device`.
/// Returns true if the line is valid, after as many repairs as `repairs` tells.
/// Returns false otherwise, with `device` half filled and a LineError or FieldError pending, which
/// may have a cause.
bool parseDeviceLine(const std::unicode::String& line, Device& device, int& repairs);

} // namespace deviceimport

#endif // DEVICE_IMPORT_DEVICELINE_H
