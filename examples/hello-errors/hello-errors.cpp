// SPDX-License-Identifier: Apache-2.0
//
// Errors without exceptions: a table, a chain of causes, an acknowledgement, and a reaction to what
// nobody acknowledged.

#include <cstdio>

#include <zelcommon.h>

namespace {

/// Rows of PumpError, with their values.
enum {
    PUMP_SILENT,  ///< int pump
    PUMP_DRY,     ///< int pump
    PUMP_BLOCKED, ///< const char* station
};

constexpr std::ErrorID PUMP_TABLE[] = {
    {PUMP_SILENT, "pump %d does not answer", 1},
    {PUMP_DRY, "pump %d is dry", 1},
    {PUMP_BLOCKED, "station %s stands still", 1},
};
std::ErrorType PumpError(PUMP_TABLE, 3);

/// Prints an error and what caused it.
void printChain(const std::ErrorObject* error)
{
    for (; error != nullptr; error = error->m_cause)
        std::printf("  %s\n", error->reason());
}

/// Called with the errors that nobody acknowledged, when the next chain begins.
void tellOfUnhandled(void* /*data*/, const char* text, const std::ErrorObject* error,
                     unsigned int count)
{
    std::printf("%s, %u in its chain:\n", text, count);
    printChain(error);
}

bool startPump(int number)
{
    if (number < 8) return true;
    ZEL_RAISE(PumpError, number == 8 ? PUMP_DRY : PUMP_SILENT, number);
    return false;
}

bool startStation(const char* name, int pump)
{
    if (startPump(pump)) return true;
    ZEL_RAISE_ON(PumpError, PUMP_BLOCKED, name); // what the pump says is the cause
    return false;
}

} // namespace

int main()
{
    const std::CustomErrorStorage errors(tellOfUnhandled); // one on the stack of every thread

    if (startStation("north", 7)) std::puts("north runs");

    if (!startStation("east", 8) && std::ErrorStorage::isA(PumpError)) {
        std::puts("east does not run:");
        printChain(std::ErrorStorage::get());
        std::ErrorStorage::ack(); // dealt with: nobody else hears of it
    }
    startStation("south", 9); // failed, and nobody looks
    startStation("west", 8);  // the reaction tells of the chain before this one
    std::printf("pending at the end: %s\n", std::ErrorStorage::reason());
}
