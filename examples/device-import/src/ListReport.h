// SPDX-License-Identifier: Apache-2.0
//
// What is told about one device list: the errors of its broken lines, a table of the devices that
// were looked for, then a summary. The text is collected, so that lists that are read at the same
// time are printed one after another.
//
//     ListReport report("devices.csv", ListReport::Errors::COLLECT, counter);
//     list.load(report);
//     report.finish(list.devices().size());

#ifndef DEVICE_IMPORT_LISTREPORT_H
#define DEVICE_IMPORT_LISTREPORT_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "DeviceLine.h"

namespace deviceimport {

/// Counts the lines of all lists that are read at the same time.
using LineCounter = std::atomic<std::uint64_t>;

/// The report on one list. Used by one thread at a time; the calls that deal with errors by the
/// thread whose storage holds them.
class ListReport
{
public:
    /// What becomes of the error of a broken line.
    enum class Errors {
        COLLECT,       ///< it goes into the report and is acknowledged
        LEAVE_PENDING, ///< it is left to the reaction of the thread's storage
    };

    /// `counter` is not owned and must outlive this object.
    ListReport(std::string name, Errors errors, LineCounter& counter);

    /// The list's file.
    const std::string& name() const { return m_name; }

    /// Tells how many lines were read so far, of whatever kind; the counter gets those that are
    /// new.
    void setLines(int lines);
    /// Counts an imported line that took `repairs` repairs.
    void addImported(int repairs);
    /// Counts a broken line. Requires its error chain to be pending.
    void addRejected();
    /// Notes that the list could not be read to its end. Requires the reason to be pending.
    void addFailure();
    /// Adds the devices that were looked for, also if there are none.
    void addFound(const std::vector<Device>& devices);
    /// Ends the report on a list of `imported` devices: what is still pending, and the summary.
    void finish(std::size_t imported);

    /// Returns true if every line was imported.
    bool isClean() const { return m_rejected == 0 && !m_failed; }
    int lines() const { return m_lines; }
    int rejected() const { return m_rejected; }
    /// Returns true if the list could not be read to its end.
    bool hasFailed() const { return m_failed; }
    const std::string& text() const { return m_text; }

private:
    void dealWithError();
    void collectError();

    std::string m_name;
    Errors m_errors;
    LineCounter& m_counter;
    int m_lines = 0;
    int m_repaired = 0;
    int m_rejected = 0;
    bool m_failed = false;
    /// How many devices were found, if any were looked for.
    std::optional<std::size_t> m_found;
    std::string m_text;
};

} // namespace deviceimport

#endif // DEVICE_IMPORT_LISTREPORT_H
