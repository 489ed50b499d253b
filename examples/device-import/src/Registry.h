// SPDX-License-Identifier: Apache-2.0
//
// The devices of all lists, merged: of several devices with one uuid the first one counts.
//
//     Registry registry;
//     text += registry.add("east.csv", list);
//     save(registry.devices());

#ifndef DEVICE_IMPORT_REGISTRY_H
#define DEVICE_IMPORT_REGISTRY_H

#include <cstddef>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include <common/UUID.h>

#include "DeviceLine.h"
#include "DeviceList.h"

namespace deviceimport {

/// Devices in the order of their uuids. Not thread-safe.
class Registry
{
public:
    Registry() = default;
    Registry(const Registry&) = delete;
    Registry& operator=(const Registry&) = delete;

    /// Takes in the devices of `list`, which was read from the file `name`, except those whose
    /// uuids an earlier list has. Each of these raises a chain: ListError LIST_REJECTED, caused by
    /// LineError LINE_REJECTED, caused by FieldError UUID_LISTED. All are acknowledged.
    /// Returns a report on what was left out; an empty text if nothing was.
    std::string add(const std::string& name, const DeviceList& list);

    /// Returns the devices in ascending order of their uuids.
    std::vector<Device> devices() const;

private:
    struct Entry
    {
        Device device;
        /// Index in `m_names`.
        std::size_t list;
    };

    bool insert(const Device& device);

    std::vector<std::string> m_names;
    /// Entries stay where they are when others are added: the map points to them.
    std::deque<Entry> m_entries;
    std::map<const std::UUID*, const Entry*, std::UUIDSort> m_byUuid;
};

} // namespace deviceimport

#endif // DEVICE_IMPORT_REGISTRY_H
