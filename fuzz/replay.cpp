// SPDX-License-Identifier: Apache-2.0
//
// Feeds every file of the directories named on the command line to a fuzz target, once, without the
// fuzzer: so the corpora run with the ordinary tests, under every compiler and on every machine.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include <Input.h>

namespace {

void replay(const std::string& name)
{
    std::ifstream file(name, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    // In memory of its own, of exactly its size.
    const std::unique_ptr<std::uint8_t[]> data(new std::uint8_t[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), data.get());
    LLVMFuzzerTestOneInput(data.get(), bytes.size());
}

} // namespace

int main(int argc, char** argv)
{
    int files = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            const std::string name = entry.path().string();
            std::fprintf(stderr, "%s\n", name.c_str());
            replay(name);
            ++files;
        }
    }
    std::fprintf(stderr, "replayed %d files\n", files);
    return files > 0 ? 0 : 1;
}
