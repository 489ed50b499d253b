// SPDX-License-Identifier: Apache-2.0
//
// What the debugger is tested with: it stops with known objects, then with a trace client, then
// with a client that it does not know. With an argument the program ends by a signal instead.

#include <cstdlib>

#include <unistd.h>

#include "Channels.h"
#include "Errors.h"
#include "Values.h"
#include "stop.h"

int main(int count, char**)
{
    std::StdoutDumpErrorStorage storage;
    pump::fail();
    Texts texts;
    Values values;
    OddErrors odd;
    Channels channels;
    const Filled zeros(0);
    const Filled noise(0xA5);

    Waiting waiting;
    waiting.start(stayWithOneError);
    waiting.start(stayWithTwoStorages);
    waiting.start(stayWithoutStorage);
    waiting.start(stayWithoutStorageOfItsOwn);
    waiting.start(stayWithADamagedStorage);
    stop();
    if (count > 1) std::abort();

    tracing::client_helper->init("sample");
    stop();
    OtherListener other;
    tracing::ChannelList::getInstance()->setListener(&other);
    stop();
    _exit(0); // the threads stay to the end
}
