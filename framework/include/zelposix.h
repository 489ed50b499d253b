// SPDX-License-Identifier: Apache-2.0
//
// All of the companion library `zelposix`: binary streams over descriptors and memory, and file
// streams.

#ifndef ZELPOSIX_ZELPOSIX_H
#define ZELPOSIX_ZELPOSIX_H

#include <zelposix/FdInputStream.h>
#include <zelposix/FdOutputStream.h>
#include <zelposix/FileBuf.h>
#include <zelposix/FileStream.h>
#include <zelposix/MemoryInputStream.h>
#include <zelposix/MemoryOutputStream.h>
#include <zelposix/PosixError.h>

#endif // ZELPOSIX_ZELPOSIX_H
