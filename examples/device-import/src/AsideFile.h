// SPDX-License-Identifier: Apache-2.0
//
// A file that is written aside, under a name of its own in the same directory, and takes the name
// it is meant for when it is complete: whoever opens that name finds the old file or the new one,
// and never a part, also after a loss of power.
//
//     AsideFile file("registry.bin");
//     if (!file.create() || !write(file.stream()) || !file.commit()) return false;

#ifndef DEVICE_IMPORT_ASIDEFILE_H
#define DEVICE_IMPORT_ASIDEFILE_H

#include <optional>
#include <string>

#include <common/IBinOutputStream.h>
#include <zelposix/FdOutputStream.h>

#include "FileDescriptor.h"

namespace deviceimport {

/// A file on its way. Not thread-safe. Each call that fails raises why: a zel::PosixError, with a
/// StreamError on top if a stream has met it, or a RegistryError.
class AsideFile
{
public:
    /// Does nothing yet about the file `name`.
    explicit AsideFile(std::string name);
    /// Removes what was not committed. Raises nothing.
    ~AsideFile();
    AsideFile(const AsideFile&) = delete;
    AsideFile& operator=(const AsideFile&) = delete;

    /// Makes the file aside, with the permissions of any new file. Call once.
    /// Raises RegistryError REGISTRY_NO_FILE if the name stands for anything but a regular file: a
    /// device or a link would be replaced.
    bool create();

    /// What to write to. Requires `create`, and no `commit` yet.
    std::IBinOutputStream& stream() { return *m_stream; }

    /// Brings all that was written to the medium and puts the file in place. Call once, after
    /// `create`. After a failure the file of that name is the old one; only if the last step fails,
    /// which makes the new name last, is it the new one.
    bool commit();

private:
    bool checkPlace() const;
    bool setPermissions() const;

    const std::string m_name;
    /// The name aside; empty if there is nothing to remove.
    std::string m_aside;
    FileDescriptor m_directory;
    FileDescriptor m_file;
    std::optional<zel::FdOutputStream> m_stream;
};

} // namespace deviceimport

#endif // DEVICE_IMPORT_ASIDEFILE_H
