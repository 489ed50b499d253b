// SPDX-License-Identifier: Apache-2.0

#include "DeviceList.h"

#include <algorithm>
#include <ios>
#include <iterator>

#include <common/tracing/SharedChannelMap.h>
#include <common/tracing/log.h>
#include <zel/report.h>
#include <zelposix/FileBuf.h>

#include "FileEncoding.h"
#include "ImportErrors.h"
#include "LineReader.h"

namespace deviceimport {

namespace {

using std::unicode::String;
using tracing::Levels;

constexpr unsigned int FILE_BUFFER = 16 * 1024;

/// Never destroyed: a thread that hangs may log at any time, to the process's end.
const tracing::SharedChannelPtr& s_list = *new tracing::SharedChannelPtr("list");

/// The bytes of a line, as a text of them may hold anything.
void traceRecord(const String& line)
{
    if (!s_list || !s_list->passes(Levels::LevelDEBUG)) return;
    s_list->logRaw(Levels::LevelDEBUG, tracing::MessageTypes::USER, line.data(), line.byteLength());
}

/// Puts the line and the list on top of the pending error.
void reject(int number, ListReport& report)
{
    if (s_list)
        ZEL_LOG(*s_list, Levels::LevelDEBUG, "%s, line %d rejected", report.name().c_str(), number);
    ZEL_RAISE_ON(LineError, LINE_REJECTED, number);
    ZEL_RAISE_ON(ListError, LIST_REJECTED, report.name().c_str());
    report.addRejected();
}

/// Puts the list on top of the pending error.
void giveUp(ListReport& report)
{
    ZEL_RAISE_ON(ListError, LIST_UNREADABLE, report.name().c_str());
    report.addFailure();
}

/// Returns `text` in bytes of its own, in the same encoding: a view of a line would keep the whole
/// block alive that was read with it.
String ownCopy(const String& text)
{
    return text * 1;
}

} // namespace

void DeviceList::load(ListReport& report)
{
    zel::FileBuf file(FILE_BUFFER);
    if (file.open(report.name().c_str(), std::ios_base::in) == nullptr) {
        giveUp(report);
        return;
    }
    LineReader reader(file);
    for (String line;;) {
        const LineReader::Result result = reader.next(line);
        report.setLines(reader.number());
        switch (result) {
        case LineReader::Result::LINE: takeLine(line, reader.number(), report); break;
        case LineReader::Result::BROKEN: reject(reader.number(), report); break;
        case LineReader::Result::END: return;
        case LineReader::Result::FAILED: giveUp(report); return;
        }
    }
}

std::vector<Device> DeviceList::find(const String& name) const
{
    std::vector<Device> found;
    const auto isMeant = [&name](const Device& device) { return !device.name.find(name).atEnd(); };
    std::copy_if(m_devices.begin(), m_devices.end(), std::back_inserter(found), isMeant);
    return found;
}

void DeviceList::takeLine(const String& line, int number, ListReport& report)
{
    // A broken sequence may hide what makes a line blank, a comment or one of four fields.
    const bool isSound = checkDecodable(line);
    if (isSound && isSkippedLine(line)) return;
    Device device;
    int repairs = 0;
    if (!isSound || !parseDeviceLine(line, device, repairs) || !insert(device, number)) {
        reject(number, report);
        traceRecord(line);
        return;
    }
    report.addImported(repairs);
}

/// Returns false if the uuid is taken, with a FieldError raised.
bool DeviceList::insert(const Device& device, int number)
{
    const auto found = m_lines.find(&device.uuid);
    if (found != m_lines.end()) {
        ZEL_RAISE(FieldError, UUID_USED, device.uuid.toString().c_str(), found->second);
        return false;
    }
    m_devices.push_back(
        {device.uuid, ownCopy(device.name), ownCopy(device.location), device.level});
    m_lines.emplace(&m_devices.back().uuid, number);
    return true;
}

} // namespace deviceimport
