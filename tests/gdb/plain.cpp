// SPDX-License-Identifier: Apache-2.0
//
// A program without debug information, with errors and channels.

#include <unistd.h>

#include "Channels.h"
#include "Errors.h"
#include "stop.h"

int main()
{
    std::StdoutDumpErrorStorage storage;
    pump::fail();
    Waiting waiting;
    waiting.start(stayWithOneError);
    waiting.start(stayWithoutStorage);
    Channels channels;
    stop();
    tracing::client_helper->init("plain");
    stop();
    _exit(0); // the threads stay to the end
}
