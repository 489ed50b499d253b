// SPDX-License-Identifier: Apache-2.0

#include "ListReport.h"

#include <utility>

#include <common/error/Error.h>
#include <common/error/ErrorStorage.h>

#include "DeviceTable.h"

namespace deviceimport {

ListReport::ListReport(std::string name, Errors errors, LineCounter& counter)
    : m_name(std::move(name)), m_errors(errors), m_counter(counter)
{}

void ListReport::setLines(int lines)
{
    m_counter += static_cast<std::uint64_t>(lines - m_lines);
    m_lines = lines;
}

void ListReport::addImported(int repairs)
{
    if (repairs > 0) ++m_repaired;
}

void ListReport::addRejected()
{
    ++m_rejected;
    dealWithError();
}

void ListReport::addFailure()
{
    m_failed = true;
    dealWithError();
}

void ListReport::addFound(const std::vector<Device>& devices)
{
    m_found = devices.size();
    if (!devices.empty()) m_text += deviceTable(devices);
}

void ListReport::finish(std::size_t imported)
{
    if (std::ErrorStorage::isError(true)) {
        m_text += "still pending:\n";
        collectError();
    }
    m_text += m_name + ": " + std::to_string(imported) + " imported (" +
              std::to_string(m_repaired) + " repaired), " + std::to_string(m_rejected) +
              " rejected" + (m_found ? ", " + std::to_string(*m_found) + " found" : "") +
              (m_failed ? ", not read to the end\n" : "\n");
}

void ListReport::dealWithError()
{
    if (m_errors == Errors::COLLECT) collectError();
}

void ListReport::collectError()
{
    m_text += zel_error.getReasonList();
    std::ErrorStorage::ack();
}

} // namespace deviceimport
