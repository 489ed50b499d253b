// SPDX-License-Identifier: Apache-2.0
//
// A directory for the files of a test.

#ifndef DEVICE_IMPORT_TEST_TESTDIRECTORY_H
#define DEVICE_IMPORT_TEST_TESTDIRECTORY_H

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace registrytest {

/// Removed at the end, with all that is in it.
class TestDirectory
{
public:
    TestDirectory()
    {
        const char* const base = std::getenv("TMPDIR");
        m_path = std::string(base == nullptr ? "/tmp" : base) + "/registryXXXXXX";
        if (mkdtemp(m_path.data()) == nullptr) std::abort();
    }
    ~TestDirectory() { std::filesystem::remove_all(m_path); }
    TestDirectory(const TestDirectory&) = delete;
    TestDirectory& operator=(const TestDirectory&) = delete;

    std::string file(const std::string& name) const { return m_path + "/" + name; }

    std::string write(const std::string& name, const std::string& text) const
    {
        std::ofstream(file(name), std::ios::binary) << text;
        return file(name);
    }

    std::string read(const std::string& name) const
    {
        std::ifstream stream(file(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    /// Returns the names of what is there, in order.
    std::vector<std::string> names() const
    {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(m_path))
            found.push_back(entry.path().filename());
        std::sort(found.begin(), found.end());
        return found;
    }

private:
    std::string m_path;
};

} // namespace registrytest

#endif // DEVICE_IMPORT_TEST_TESTDIRECTORY_H
