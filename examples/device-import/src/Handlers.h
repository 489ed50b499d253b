// SPDX-License-Identifier: Apache-2.0
//
// What the program adds to the process-wide reports: a line of its own for each, and memory held
// back for the day when there is none.
//
//     registerHandlers();
//     provoke(Provocation::WARNING);

#ifndef DEVICE_IMPORT_HANDLERS_H
#define DEVICE_IMPORT_HANDLERS_H

namespace deviceimport {

/// The kinds of reports.
enum class Provocation {
    NONE,
    ASSERT,
    WARNING,
    ABORT,
    MEMORY,
};

/// Hands a failed `new` to std::GlobalErrorHandler::doOutOfMem and tries again if that returns,
/// instead of throwing.
void installNewHandler();

/// Has a write beyond the limit for the size of a file fail, as on a full device, instead of ending
/// the process by a signal.
void ignoreSizeSignal();

/// Registers a handler of each kind that prints one line to standard error. The one for exhausted
/// memory releases a reserve, once, and so lets the program go on. Call once.
void registerHandlers();

/// Brings about a report of `kind`, with an error pending that it can show as its context. Does
/// nothing for Provocation::NONE. Requires installNewHandler().
/// Ends the process for Provocation::ABORT.
void provoke(Provocation kind);

} // namespace deviceimport

#endif // DEVICE_IMPORT_HANDLERS_H
