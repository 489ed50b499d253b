// SPDX-License-Identifier: Apache-2.0
//
// The devices of one file. Broken lines are told to the report and left out.
//
//     DeviceList list;
//     list.load(report);
//     for (const Device& device : list.devices()) use(device);

#ifndef DEVICE_IMPORT_DEVICELIST_H
#define DEVICE_IMPORT_DEVICELIST_H

#include <unordered_map>
#include <vector>

#include <common/unicode/String.h>

#include "DeviceLine.h"
#include "ListReport.h"

namespace deviceimport {

/// A list of devices, each with a uuid of its own.
class DeviceList
{
public:
    /// Adds the devices of the file that `report` is about, and tells `report` about each line.
    /// A line that cannot be used, also for bytes that are no characters in the file's encoding,
    /// raises ListError LIST_REJECTED, caused by LineError LINE_REJECTED, caused by what is wrong
    /// with it. A file that cannot be read to its end raises ListError LIST_UNREADABLE, caused by
    /// what stopped the reading; the devices before that stay.
    void load(ListReport& report);

    /// The devices in the order of their lines.
    const std::vector<Device>& devices() const { return m_devices; }

    /// Returns the devices whose name contains `name`, of whatever encodings both are. An empty
    /// `name` is in all of them.
    std::vector<Device> find(const std::unicode::String& name) const;

private:
    void takeLine(const std::unicode::String& line, int number, ListReport& report);
    bool insert(const Device& device, int number);

    std::vector<Device> m_devices;
    /// The line of each uuid. Equal ones are found whatever their encodings.
    std::unordered_map<std::unicode::String, int> m_lines;
};

} // namespace deviceimport

#endif // DEVICE_IMPORT_DEVICELIST_H
