// SPDX-License-Identifier: Apache-2.0
//
// The devices of one file. Broken lines are told to the report and left out.
//
//     DeviceList list;
//     list.load(report);
//     for (const Device& device : list.devices()) use(device);

#ifndef DEVICE_IMPORT_DEVICELIST_H
#define DEVICE_IMPORT_DEVICELIST_H

#include <deque>
#include <map>
#include <vector>

#include <common/UUID.h>
#include <common/unicode/String.h>

#include "DeviceLine.h"
#include "ListReport.h"

namespace deviceimport {

/// A list of devices, each with a uuid of its own.
class DeviceList
{
public:
    DeviceList() = default;
    DeviceList(DeviceList&&) = default;
    DeviceList& operator=(DeviceList&&) = default;

    /// Adds the devices of the file that `report` is about, and tells `report` about each line.
    /// A line that cannot be used, also for bytes that are no characters in the file's encoding,
    /// raises ListError LIST_REJECTED, caused by LineError LINE_REJECTED, caused by what is wrong
    /// with it. A file that cannot be read to its end raises ListError LIST_UNREADABLE, caused by
    /// what stopped the reading; the devices before that stay.
    void load(ListReport& report);

    /// The devices in the order of their lines.
    const std::deque<Device>& devices() const { return m_devices; }

    /// Returns the line of `device`, which is one of `devices()`.
    int lineOf(const Device& device) const { return m_lines.at(&device.uuid); }

    /// Returns the devices whose name contains `name`, of whatever encodings both are. An empty
    /// `name` is in all of them.
    std::vector<Device> find(const std::unicode::String& name) const;

private:
    void takeLine(const std::unicode::String& line, int number, ListReport& report);
    bool insert(const Device& device, int number);

    /// Devices stay where they are when others are added, and when the list is moved: the map
    /// points to their uuids.
    std::deque<Device> m_devices;
    /// The line of each uuid.
    std::map<const std::UUID*, int, std::UUIDSort> m_lines;
};

} // namespace deviceimport

#endif // DEVICE_IMPORT_DEVICELIST_H
