// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as a list of devices, as they are or in another encoding: the devices, the lines that
// they came from and the errors of all others must be what a slow reader finds. Short lists alone,
// as the blocks of long ones take the fuzzer too long.

#include <algorithm>
#include <climits>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include <Input.h>
#include <MemoryFile.h>
#include <support/LibraryText.h>
#include <support/OpenStorage.h>

#include "../../examples/device-import/src/DeviceList.h"
#include "DeviceErrors.h"
#include "SlowDevices.h"

namespace {

using fuzz::require;
using fuzz::requireSame;
using std::string;
using std::to_string;
using Bytes = fuzz::slow::Bytes;
namespace slow = fuzz::slow;

constexpr std::size_t LONGEST_LINE = 256;
constexpr std::size_t LONGEST_LIST = 160; // of an input, two lines and a bit

/// What a list comes to: a line for each device and each fault, in the order of the lines.
class Model
{
public:
    Model(string name, const Bytes& data) : m_name(std::move(name))
    {
        const slow::Encoding encoding = encodingOf(data);
        const std::size_t unit = encoding == slow::UTF8 ? 1 : encoding == slow::UCS4 ? 4 : 2;
        Bytes feed(unit);
        feed[encoding == slow::UTF16BE ? 1 : 0] = '\n';
        std::size_t begin = markOf(encoding, data);
        for (std::size_t at = begin; at < data.size();) {
            const bool isFeed =
                at + unit <= data.size() && std::memcmp(data.data() + at, feed.data(), unit) == 0;
            at = std::min(at + unit, data.size());
            if (!isFeed && at < data.size()) continue;
            ++lines;
            takeLine(encoding, slow::partOf(data, begin, at - (isFeed ? unit : 0)));
            begin = at;
        }
    }

    std::vector<string> devices;
    std::vector<string> faults;
    int lines = 0;
    int repaired = 0;

private:
    static bool beginsWith(const Bytes& data, const Bytes& mark)
    {
        return data.size() >= mark.size() && std::equal(mark.begin(), mark.end(), data.begin());
    }
    static slow::Encoding encodingOf(const Bytes& data)
    {
        if (beginsWith(data, {0xFF, 0xFE, 0, 0})) return slow::UCS4;
        if (beginsWith(data, {0xFF, 0xFE})) return slow::UTF16LE;
        if (beginsWith(data, {0xFE, 0xFF})) return slow::UTF16BE;
        return slow::UTF8;
    }
    static std::size_t markOf(slow::Encoding encoding, const Bytes& data)
    {
        if (encoding == slow::UTF8) return beginsWith(data, {0xEF, 0xBB, 0xBF}) ? 3 : 0;
        return encoding == slow::UCS4 ? 4 : 2;
    }

    void takeLine(slow::Encoding encoding, const Bytes& data)
    {
        const string line = "device list " + m_name + " rejected <- line " + to_string(lines);
        const bool isUtf8 = encoding == slow::UTF8;
        const std::size_t size =
            isUtf8 ? data.size() : slow::convert(encoding, slow::UTF8, data).size();
        string fault;
        if (size > LONGEST_LINE) fault = "line of more than 256 bytes";
        const slow::Characters text =
            fault.empty() ? slow::decoded(encoding, data, fault) : slow::Characters();
        if (fault.empty()) fault = parse(text);
        if (!fault.empty()) faults.push_back(line + " <- " + fault);
    }

    string parse(slow::Characters text)
    {
        const std::size_t first = text.find_first_not_of(U" \t\r");
        if (first == text.npos || text[first] == '#') return "";
        int repairs = 0;
        for (; text.back() == '\r'; ++repairs)
            text.pop_back();
        std::vector<slow::Characters> fields(1);
        for (const char32_t c : text) {
            if (c == ';')
                fields.emplace_back();
            else
                fields.back() += c;
        }
        const string count = to_string(fields.size());
        if (fields.size() < 3) return "too few fields: " + count + ", expected at least 3";
        if (fields.size() > 4) return "too many fields: " + count + ", expected at most 4";
        fields.resize(4);
        return take(fields, repairs);
    }

    string take(std::vector<slow::Characters>& fields, int repairs)
    {
        slow::SlowDevice device;
        string fault = takeUuid(fields[0], repairs);
        for (const std::size_t i : {1U, 2U}) {
            if (!fault.empty()) return fault;
            trim(fields[i], repairs);
            fault = i == 1 ? slow::nameFault(fields[i]) : slow::locationFault(fields[i]);
        }
        if (fault.empty()) fault = takeLevel(fields[3], repairs, device.level);
        if (!fault.empty()) return fault;
        device.uuid = slow::utf8Of(fields[0]);
        const auto found = m_used.emplace(device.uuid, lines);
        if (!found.second)
            return "uuid '" + device.uuid + "' is used in line " + to_string(found.first->second) +
                   " already";
        repaired += repairs > 0 ? 1 : 0;
        devices.push_back(to_string(lines) + " " + device.uuid + " " + slow::utf8Of(fields[1]) +
                          " " + slow::utf8Of(fields[2]) + " " + to_string(device.level));
        return "";
    }

    static void trim(slow::Characters& text, int& repairs)
    {
        if (!slow::hasOuterBlanks(text)) return;
        ++repairs;
        while (!text.empty() && slow::isBlank(text.front()))
            text.erase(0, 1);
        while (!text.empty() && slow::isBlank(text.back()))
            text.pop_back();
    }

    static string takeUuid(slow::Characters& text, int& repairs)
    {
        trim(text, repairs);
        while (text.size() >= 2 && text.front() == '{' && text.back() == '}') {
            text = text.substr(1, text.size() - 2);
            ++repairs;
            trim(text, repairs);
        }
        if (text.empty()) return "uuid is empty";
        if (text.size() != 36)
            return "uuid has " + to_string(text.size()) + " characters, expected 36";
        const string begin = "uuid '" + slow::quoted(text) + "' has no ";
        for (const std::size_t dash : {8U, 13U, 18U, 23U})
            if (text[dash] != '-') return begin + "dash at position " + to_string(dash + 1);
        return takeDigits(text, repairs, begin + "hexadecimal digit at position ");
    }
    static string takeDigits(slow::Characters& text, int& repairs, const string& fault)
    {
        const slow::Characters before = text;
        bool isNil = true;
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (i == 8 || i == 13 || i == 18 || i == 23) continue;
            if (text[i] >= 'A' && text[i] <= 'F') text[i] += 'a' - 'A';
            const bool isDigit =
                (text[i] >= '0' && text[i] <= '9') || (text[i] >= 'a' && text[i] <= 'f');
            if (!isDigit) return fault + to_string(i + 1);
            isNil = isNil && text[i] == '0';
        }
        repairs += text != before ? 1 : 0;
        return isNil ? "uuid is nil" : "";
    }

    static string takeLevel(slow::Characters& text, int& repairs, int& level)
    {
        trim(text, repairs);
        level = 50;
        repairs += text.empty() ? 1 : 0;
        if (text.empty()) return "";
        const bool isNegative = text.front() == '-';
        long long value = 0;
        for (std::size_t i = isNegative ? 1 : 0; i < text.size(); ++i) {
            if (text[i] < '0' || text[i] > '9') return noNumber(text);
            value = std::min(value * 10 + static_cast<long long>(text[i] - '0'), 1LL << 40);
        }
        if (text.size() == 1 && isNegative) return noNumber(text);
        if (isNegative) value = -value;
        level = static_cast<int>(std::max<long long>(INT_MIN, std::min<long long>(INT_MAX, value)));
        return slow::levelFault(level, text);
    }
    static string noNumber(const slow::Characters& text)
    {
        return "level '" + slow::quoted(text) + "' is not a whole number";
    }

    const string m_name;
    std::map<string, int> m_used;
};

/// What the program hands to the reaction of its storage.
std::vector<string> s_faults;

void noteFault(void*, const char*, const std::ErrorObject* error, unsigned int)
{
    s_faults.push_back(fuzz::reasonsOf(error));
}

string joined(const std::vector<string>& lines)
{
    string text;
    for (const string& line : lines)
        text += line + "\n";
    return text;
}

Bytes listFrom(fuzz::Input& input)
{
    const unsigned int form = input.byte();
    Bytes data = input.bytes(LONGEST_LIST);
    if (form < 0x80) return data;
    const auto encoding = static_cast<slow::Encoding>(form % 4);
    data.insert(data.begin(), {0xEF, 0xBB, 0xBF});
    return slow::convert(slow::UTF8, encoding, data);
}

string shown(const deviceimport::DeviceList& list)
{
    string text;
    for (const deviceimport::Device& device : list.devices())
        text += to_string(list.lineOf(device)) + " " + device.uuid.toString() + " " +
                device.name.toUtf8() + " " + device.location.toUtf8() + " " +
                to_string(device.level) + "\n";
    return text;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const fuzz::MemoryFile s_file;
    fuzz::Input input(data, size);
    const Bytes bytes = listFrom(input);
    const Model model(s_file.name(), bytes);

    s_file.set(string(bytes.begin(), bytes.end()));
    const support::OpenStorage errors(noteFault);
    deviceimport::LineCounter counter(0);
    deviceimport::ListReport report(s_file.name(), deviceimport::ListReport::Errors::LEAVE_PENDING,
                                    counter);
    deviceimport::DeviceList list;
    s_faults.clear();
    list.load(report);
    const string last = fuzz::takePending();
    if (!last.empty()) s_faults.push_back(last);

    requireSame(joined(model.devices), shown(list));
    requireSame(joined(model.faults), joined(s_faults));
    require(report.lines() == model.lines && !report.hasFailed());
    report.finish(list.devices().size());
    requireSame(s_file.name() + ": " + to_string(model.devices.size()) + " imported (" +
                    to_string(model.repaired) + " repaired), " + to_string(model.faults.size()) +
                    " rejected\n",
                report.text());
    return 0;
}
