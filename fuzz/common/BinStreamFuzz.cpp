// SPDX-License-Identifier: Apache-2.0
//
// A binary stream and its slow model: the input tells the form of the stream, what its primitive
// answers, and the operations. What is printed is compared, too.

#include <string>
#include <vector>

#include <CapturedStream.h>
#include <Input.h>
#include <support/OpenStorage.h>
#include <support/SlowBinStreams.h>

namespace {

using fuzz::Input;
using fuzz::requireSame;
using support::Transfer;

constexpr unsigned int SIZES = 10; // 0 to 9
constexpr unsigned int MOST_TRANSFERS = 16;
constexpr unsigned int MOST_STEPS = 32;
/// More than is ever asked for, so that a count that is too large still tells which bytes.
constexpr const char* BYTES = "abcdefghijklmnopqrstuvwxyz";

/// The lower half of a byte is the count, and 15 is the greatest count; the upper one is what else
/// the primitive does.
Transfer transferOf(unsigned int byte, std::size_t number)
{
    const unsigned int count = byte % 16;
    Transfer transfer = support::deliver(BYTES + number % 8);
    transfer = transfer.claiming(count == 15 ? 4294967295U : count);
    if ((byte & 0x10) != 0) transfer = transfer.leavingCount();
    if ((byte & 0x60) == 0x40) transfer = transfer.failing();
    if ((byte & 0x60) == 0x60) transfer = transfer.raising();
    return transfer;
}

std::vector<Transfer> scriptFrom(Input& input)
{
    std::vector<Transfer> script(input.below(MOST_TRANSFERS + 1));
    for (std::size_t i = 0; i < script.size(); ++i)
        script[i] = transferOf(input.byte(), i);
    return script;
}

/// A stream and its model, and what the operations on both have in common.
template <typename Stream, typename Model>
class Machine
{
public:
    Machine(Input& input, Stream& stream, Model& model)
        : m_input(input), m_stream(stream), m_model(model)
    {
        stream.check = [&model] { return model.checkFails; };
    }

    void run()
    {
        for (unsigned int i = 0; i < MOST_STEPS && !m_input.isEmpty(); ++i) {
            const unsigned int byte = m_input.byte();
            if (byte >= 0xF0) {
                m_errors.clear();
                m_model.hasError = false;
            }
            m_model.checkFails = (byte & 0xE0) == 0xC0;
            m_model.syncFails = (byte & 0xE0) == 0xA0;
            step(m_stream, m_model, byte % 32);
            requireSame(m_model.state(), support::stateOf(m_stream));
            requireSame(m_model.takeWarnings(), m_printed.take());
            fuzz::require(m_model.hasError ==
                          std::ErrorStorage::isA(std::IBinStreamBase::StreamError));
        }
    }

private:
    void step(support::HookedInput& stream, support::SlowInput& model, unsigned int operation)
    {
        const unsigned int size = operation % 16;
        requireSame(model.read(size), support::readText(stream, size));
    }
    void step(support::HookedOutput& stream, support::SlowOutput& model, unsigned int operation)
    {
        if (operation < 4) {
            const bool isDeep = operation % 2 == 1;
            fuzz::require(model.flush(isDeep) == stream.flush(isDeep));
            return;
        }
        const std::string data(BYTES + operation % 8, operation % 16);
        requireSame(model.write(data), support::writeText(stream, data));
    }

    Input& m_input;
    Stream& m_stream;
    Model& m_model;
    support::OpenStorage m_errors;
    fuzz::CapturedStderr m_printed;
};

void runInput(Input& input, unsigned int size, bool isBlocking)
{
    const std::vector<Transfer> script = scriptFrom(input);
    support::HookedInput stream(size, script, isBlocking);
    support::SlowInput model(script, size, true);
    Machine(input, stream, model).run();
}

void runOutput(Input& input, unsigned int size, bool isBlocking)
{
    const std::vector<Transfer> script = scriptFrom(input);
    support::HookedOutput stream(size, script, isBlocking);
    support::SlowOutput model(script, size, true, isBlocking);
    stream.sync = [&] { return model.syncFails; };
    Machine(input, stream, model).run();
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    const unsigned int form = input.byte();
    const unsigned int bufferSize = form / 4 % SIZES;
    const bool isBlocking = form % 4 / 2 == 1;
    if (form % 2 == 0)
        runInput(input, bufferSize, isBlocking);
    else
        runOutput(input, bufferSize, isBlocking);
    return 0;
}
