// SPDX-License-Identifier: Apache-2.0
//
// The calls of the operating system on a descriptor, with all that may get in their way: signals
// that interrupt, descriptors that do not block, transfers that stop on their way and the signal of
// a closed peer.

#ifndef ZELPOSIX_SRC_ZELPOSIX_DESCRIPTOR_H
#define ZELPOSIX_SRC_ZELPOSIX_DESCRIPTOR_H

namespace posixcore {

/// How a closed peer is kept from sending SIGPIPE.
enum DescriptorKind : int {
    OTHER,  ///< it sends none
    PIPE,   ///< the signal is held back meanwhile
    SOCKET, ///< a flag of the call
};

/// What became of a transfer.
struct Transfer
{
    /// Bytes that were moved.
    unsigned int count;
    /// What stopped it, a value of `errno`; 0 if nothing did.
    int error;
};

/// Returns the kind of `fd`; OTHER for what is no descriptor, PIPE for one that cannot be
/// asked.
DescriptorKind kindOf(int fd);

/// Reads what there is, up to `size` bytes. None and no error is the end. Waits for a descriptor
/// that does not block if `waits`, and fails with EAGAIN if not.
Transfer readSome(int fd, void* data, unsigned int size, bool waits);

/// Writes `data[0..size)`: all of it if `waits`, and if not what one call takes, or fails with
/// EAGAIN.
Transfer writeSome(DescriptorKind kind, int fd, const void* data, unsigned int size, bool waits);

/// Has the system bring what was written to the medium; where it knows nothing of this, there is
/// nothing to do. Returns 0 or a value of `errno`.
int sync(int fd);

/// Closes the descriptor, which it is in any case then. Returns 0 or a value of `errno`.
int closeOnce(int fd);

} // namespace posixcore

#endif // ZELPOSIX_SRC_ZELPOSIX_DESCRIPTOR_H
