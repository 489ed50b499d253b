// SPDX-License-Identifier: Apache-2.0
//
// A descriptor of the operating system with an owner, for the binary streams, which own none.
//
//     FileDescriptor file;
//     if (!file.open(name, O_RDONLY)) return false;
//     zel::FdInputStream input(file.get());

#ifndef DEVICE_IMPORT_FILEDESCRIPTOR_H
#define DEVICE_IMPORT_FILEDESCRIPTOR_H

#include <string>

namespace deviceimport {

/// Raises zel::PosixError row 0, with what `call` left in errno. Returns false.
bool raiseSystemError(const char* call);

/// A descriptor, closed at the end. Not thread-safe.
class FileDescriptor
{
public:
    FileDescriptor() = default;
    ~FileDescriptor();
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    /// Opens the file `name`, which is not created, with `flags` of the system; it is closed in
    /// programs that this one starts. Requires that nothing is open.
    /// Returns false on failure, with a zel::PosixError raised.
    bool open(const std::string& name, int flags);
    /// Takes over `fd`, which is open. Requires that nothing is open.
    void adopt(int fd) { m_fd = fd; }
    /// Closes what is open.
    /// Returns false if the system failed to write what it still held, with a zel::PosixError
    /// raised. The descriptor is closed in any case.
    bool close();

    /// Returns the descriptor; -1 if none is open.
    int get() const { return m_fd; }

private:
    int m_fd = -1;
};

} // namespace deviceimport

#endif // DEVICE_IMPORT_FILEDESCRIPTOR_H
