// SPDX-License-Identifier: Apache-2.0

#include <zelcommon.h>

#include "Bracket.h"
#include "Cases.h"
#include "SampleText.h"

using std::unicode::String;

namespace {

/// What is sought is at the end of a long text, and nowhere else.
void search(const counts::Kind& kind)
{
    const String text(counts::sampleText(kind, counts::LONG) + "#needle");
    const String needle("needle");
    const String needleUtf16(std::unicode::UTF16LE, "needle");
    const String set("#$<>");
    const auto measure = [&](const char* name, auto body) {
        counts::measure(std::string("text/") + name + "/" + kind.name + "/64K", counts::LONG_UNITS,
                        [&] { counts::keep(body().position); });
    };
    measure("find", [&] { return text.find(needle); });
    measure("find/across", [&] { return text.find(needleUtf16); });
    measure("rfind", [&] { return text.rfind(needle); });
    measure("find_first_of", [&] { return text.find_first_of(set); });
    measure("find_last_of", [&] { return text.find_last_of(set); });
    measure("find_last_not_of", [&] { return text.find_last_not_of(needle); });
}

} // namespace

void counts::textSearch()
{
    const String text(sampleText(MIXED, KILOBYTE));
    const unsigned int middle = text.size() / 2;
    const int quarter = static_cast<int>(text.size() / 4);
    measure("text/at/mixed/1K", 1, [&] { keep(text.at(middle)); });
    measure("text/substr/mixed/1K", 1, [&] { keep(text.substr(quarter, 3 * quarter)); });
    search(ASCII);
    search(LATIN);
}
