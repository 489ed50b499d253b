// SPDX-License-Identifier: Apache-2.0

#include "DeviceTable.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>

#include <common/unicode/String.h>

namespace deviceimport {

namespace {

using std::unicode::String;

constexpr const char* GAP = "  ";

enum {
    UUID,
    NAME,
    LOCATION,
    LEVEL,
    COLUMNS,
};

using Row = std::array<String, COLUMNS>;

String blanks(unsigned int count)
{
    return String(" ") * count;
}

Row rowOf(const Device& device)
{
    return {device.uuid.toString(), device.name, device.location, std::to_string(device.level)};
}

/// Fills each text up to the widest one of its column; numbers stand at the right.
void align(std::vector<Row>& rows)
{
    for (std::size_t column = 0; column < COLUMNS; ++column) {
        unsigned int width = 0;
        for (const Row& row : rows)
            width = std::max(width, row[column].size());
        for (Row& row : rows) {
            String& text = row[column];
            const String filler = blanks(width - text.size());
            text = column == LEVEL ? filler + text : text + filler;
        }
    }
}

} // namespace

std::string deviceTable(const std::vector<Device>& devices)
{
    std::vector<Row> rows = {Row{"UUID", "NAME", "LOCATION", "LEVEL"}};
    std::transform(devices.begin(), devices.end(), std::back_inserter(rows), rowOf);
    align(rows);

    std::string table;
    for (const Row& row : rows)
        table += String(GAP).join(row.begin(), row.end()).toUtf8() + "\n"; // joined in UTF-8
    return table;
}

} // namespace deviceimport
