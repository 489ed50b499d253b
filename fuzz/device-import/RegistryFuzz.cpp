// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as a registry, also with a right header and checksum around them, from a stream that
// gives them in pieces and from a file: the devices or what is wrong must be what a slow reader
// finds, and a sound registry is written as the same bytes.

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include <Input.h>
#include <MemoryFile.h>
#include <common/IBinInputStream.h>
#include <support/OpenStorage.h>
#include <zelposix/MemoryInputStream.h>
#include <zelposix/MemoryOutputStream.h>

#include "../../examples/device-import/src/RegistryFile.h"
#include "../../examples/device-import/src/RegistryReader.h"
#include "../../examples/device-import/src/RegistryWriter.h"
#include "DeviceErrors.h"
#include "SlowDevices.h"

namespace {

using deviceimport::Device;
using fuzz::require;
using fuzz::requireSame;
using std::string;
namespace slow = fuzz::slow;

/// The bits of the checksum one by one.
unsigned int checksumOf(const string& text)
{
    unsigned int rest = 0xFFFFFFFF;
    for (const char c : text) {
        rest ^= static_cast<unsigned char>(c);
        for (int bit = 0; bit < 8; ++bit)
            rest = rest % 2 == 1 ? rest / 2 ^ 0xEDB88320 : rest / 2;
    }
    return ~rest;
}

string numberBytes(unsigned int number)
{
    string bytes;
    for (const int shift : {24, 16, 8, 0})
        bytes += static_cast<char>(number >> shift);
    return bytes;
}

/// Reads a registry as its form is told, and stops at the first fault.
class Model
{
public:
    Model(string text, bool sizeIsKnown) : m_text(std::move(text)), m_sizeIsKnown(sizeIsKnown)
    {
        unsigned int records = 0;
        if (!readHeader(records)) {
            m_fault = "header at byte 0 <- " + m_fault;
            return;
        }
        for (unsigned int i = 1; i <= records; ++i) {
            const string begin = std::to_string(m_place);
            if (readRecord()) continue;
            m_fault = "record " + std::to_string(i) + " at byte " + begin + " <- " + m_fault;
            return;
        }
        const string begin = std::to_string(m_place);
        if (!readTrailer()) m_fault = "checksum at byte " + begin + " <- " + m_fault;
    }

    const string& fault() const { return m_fault; }
    const std::vector<slow::SlowDevice>& devices() const { return m_devices; }

private:
    bool fail(const string& fault)
    {
        m_fault = fault;
        return fault.empty();
    }
    bool take(std::size_t size, const string& what, string& part)
    {
        if (m_text.size() - m_place < size) return fail(what + " runs past the end");
        part = m_text.substr(m_place, size);
        m_place += size;
        return true;
    }
    static unsigned int numberOf(const string& bytes)
    {
        unsigned int number = 0;
        for (const char c : bytes)
            number = number * 256 + static_cast<unsigned char>(c);
        return number;
    }

    bool readHeader(unsigned int& records)
    {
        string header;
        if (!take(12, "header", header)) return false;
        if (header.substr(0, 4) != "DREG") return fail("the file does not begin with DREG");
        const string version = std::to_string(numberOf(header.substr(4, 2)));
        const string reserved = std::to_string(numberOf(header.substr(6, 2)));
        if (version != "1") return fail("version is " + version + ", expected 1");
        if (reserved != "0") return fail("reserved field is " + reserved + ", expected 0");
        records = numberOf(header.substr(8));
        const bool isTold = m_sizeIsKnown && m_text.size() >= 16;
        if (!isTold || records * 19ULL <= m_text.size() - 16) return true;
        return fail(std::to_string(records) + " records do not fit into a file of " +
                    std::to_string(m_text.size()) + " bytes");
    }

    bool readRecord()
    {
        string part;
        if (!take(19, "record", part)) return false;
        slow::SlowDevice device;
        for (std::size_t i = 0; i < 16; ++i) {
            device.uuid += i == 4 || i == 6 || i == 8 || i == 10 ? "-" : "";
            device.uuid += slow::hexOf(numberOf(part.substr(i, 1)), 2, slow::SMALL_DIGITS);
        }
        if (part.substr(0, 16) == string(16, '\0')) return fail("uuid is nil");
        if (!m_devices.empty() && device.uuid <= m_devices.back().uuid)
            return fail("uuid '" + device.uuid + "' is not greater than the one before");
        device.level = static_cast<int>(numberOf(part.substr(16, 1)));
        const string digits = std::to_string(device.level);
        return fail(slow::levelFault(device.level, {digits.begin(), digits.end()})) &&
               readText(part[17], "name", device.name) && fail(slow::nameFault(device.name)) &&
               readText(part[18], "location", device.location) &&
               fail(slow::locationFault(device.location)) && keep(device);
    }
    bool readText(char size, const string& what, slow::Characters& text)
    {
        string part;
        if (!take(static_cast<unsigned char>(size), what, part)) return false;
        string fault;
        text = slow::decoded(slow::UTF8, {part.begin(), part.end()}, fault);
        if (!fault.empty()) return fail(what + " is not in UTF-8 <- " + fault);
        return fail(slow::hasOuterBlanks(text) ? what + " is surrounded by blanks" : "");
    }
    bool keep(const slow::SlowDevice& device)
    {
        m_devices.push_back(device);
        return true;
    }

    bool readTrailer()
    {
        const unsigned int expected = checksumOf(m_text.substr(0, m_place));
        string part;
        if (!take(4, "checksum", part)) return false;
        if (numberOf(part) != expected)
            return fail("checksum is " + slow::hexOf(numberOf(part), 8, slow::CAPITAL_DIGITS) +
                        ", expected " + slow::hexOf(expected, 8, slow::CAPITAL_DIGITS));
        if (m_place < m_text.size()) return fail("the file goes on behind the checksum");
        return true;
    }

    const string m_text;
    const bool m_sizeIsKnown;
    std::size_t m_place = 0;
    std::vector<slow::SlowDevice> m_devices;
    string m_fault;
};

/// Gives a few bytes at a time, and none at the end.
class PieceStream : public std::IBinInputStream
{
public:
    PieceStream(const string& text, unsigned int size, unsigned int most)
        : IBinInputStream(true, size), m_text(text), m_most(most)
    {}

protected:
    bool performRead(void* data, unsigned int size, unsigned int& got) override
    {
        const auto left = static_cast<unsigned int>(m_text.size() - m_place);
        got = std::min({size, m_most, left});
        std::memcpy(data, m_text.data() + m_place, got);
        m_place += got;
        return false;
    }

private:
    const string& m_text;
    const unsigned int m_most;
    std::size_t m_place = 0;
};

string shown(const Device& device)
{
    return device.uuid.toString() + " " + std::to_string(device.level) + " " +
           device.name.toUtf8() + " " + device.location.toUtf8() + "\n";
}

string shown(const slow::SlowDevice& device)
{
    return device.uuid + " " + std::to_string(device.level) + " " + slow::utf8Of(device.name) +
           " " + slow::utf8Of(device.location) + "\n";
}

/// Devices before a fault are kept.
template <typename Devices>
string shown(const Devices& devices, const string& fault)
{
    string text = fault + "\n";
    for (const auto& device : devices)
        text += shown(device);
    return text;
}

string read(std::IBinInputStream& input, std::optional<std::uint64_t> size)
{
    std::vector<Device> devices;
    const bool isSound = deviceimport::RegistryReader(input, size).read(devices);
    const string fault = fuzz::takePending();
    require(isSound == fault.empty());
    return shown(devices, fault);
}

void checkWriting(const std::vector<Device>& devices, const string& text)
{
    zel::MemoryOutputStream output;
    require(deviceimport::writeRegistry(devices, output));
    requireSame(text, string(reinterpret_cast<const char*>(output.data()), output.size()));
}

void checkFile(const string& text, const Model& model)
{
    static const fuzz::MemoryFile s_file;
    s_file.set(text);
    deviceimport::SavedRegistry found;
    const bool isSound = deviceimport::loadRegistry(s_file.name(), found);
    string fault = model.fault();
    if (!fault.empty()) fault = "registry " + s_file.name() + " rejected <- " + fault;
    requireSame(shown(model.devices(), fault), shown(found.devices, fuzz::takePending()));
    require(isSound == fault.empty());
    if (!isSound) return;
    require(found.size == text.size());
    checkWriting(found.devices, text);
    deviceimport::SavedRegistry again;
    require(deviceimport::verifyRegistry(s_file.name(), found.devices, again));
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const support::OpenStorage errors;
    fuzz::Input input(data, size);
    const unsigned int form = input.byte();
    const unsigned int most = 1 + input.below(40);
    const string header("DREG\0\1\0\0", 8);
    string text = form % 2 == 1 ? header + numberBytes(input.below(4)) : "";
    text += input.text(size);
    if (form / 2 % 2 == 1) text += numberBytes(checksumOf(text));

    const Model unknown(text, false);
    PieceStream pieces(text, form / 4, most);
    requireSame(shown(unknown.devices(), unknown.fault()), read(pieces, std::nullopt));
    const Model known(text, true);
    zel::MemoryInputStream whole(text.data(), static_cast<unsigned int>(text.size()));
    requireSame(shown(known.devices(), known.fault()), read(whole, text.size()));
    checkFile(text, known);
    return 0;
}
