// SPDX-License-Identifier: Apache-2.0

#include "Registry.h"

#include <common/error/Error.h>
#include <common/error/ErrorStorage.h>
#include <zel/report.h>

#include "ImportErrors.h"

namespace deviceimport {

std::string Registry::add(const std::string& name, const DeviceList& list)
{
    m_names.push_back(name);
    std::string report;
    int leftOut = 0;
    for (const Device& device : list.devices()) {
        if (insert(device)) continue;
        ZEL_RAISE_ON(LineError, LINE_REJECTED, list.lineOf(device));
        ZEL_RAISE_ON(ListError, LIST_REJECTED, name.c_str());
        report += zel_error.getReasonList();
        std::ErrorStorage::ack();
        ++leftOut;
    }
    if (leftOut > 0)
        report += name + ": " + std::to_string(leftOut) + " left out of the registry\n";
    return report;
}

std::vector<Device> Registry::devices() const
{
    std::vector<Device> devices;
    devices.reserve(m_entries.size());
    for (const auto& [uuid, entry] : m_byUuid)
        devices.push_back(entry->device);
    return devices;
}

/// Takes in a device of the newest list. Returns false if its uuid is taken, with an error raised.
bool Registry::insert(const Device& device)
{
    const auto found = m_byUuid.find(&device.uuid);
    if (found != m_byUuid.end()) {
        ZEL_RAISE(FieldError, UUID_LISTED, device.uuid.toString().c_str(),
                  m_names[found->second->list].c_str());
        return false;
    }
    m_entries.push_back({device, m_names.size() - 1});
    m_byUuid.emplace(&m_entries.back().device.uuid, &m_entries.back());
    return true;
}

} // namespace deviceimport
