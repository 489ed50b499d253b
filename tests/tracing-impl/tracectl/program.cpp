// SPDX-License-Identifier: Apache-2.0
//
// A program to be controlled: it logs each line of its input on "net_tcp" at the level "info", and
// ends with its input. What the tool calls is printed.

#include <cstdio>
#include <iostream>
#include <string>

#include <unistd.h>

#include <common/tracing/Channel.h>
#include <common/tracing/IClient.h>
#include <common/tracing/Levels.h>

namespace {

tracing::Channel s_net("net", tracing::Levels::LevelINFO, tracing::Channel::FLAG_REGISTER);
tracing::Channel s_tcp("net_tcp", tracing::Levels::LevelNONE, tracing::Channel::FLAG_REGISTER);

void print(const std::string& line)
{
    std::puts(line.c_str());
    std::fflush(stdout);
}

void restart(int, void* data, unsigned int size)
{
    print("restart: " + std::string(static_cast<const char*>(data), size));
}

void leave(int, void*, unsigned int)
{
    _exit(3);
}

} // namespace

int main()
{
    tracing::client_helper->init("program");
    tracing::IClient::s_client->registerCallback("restart", restart);
    tracing::IClient::s_client->registerCallback("leave", leave);
    print("ready");
    for (std::string line; std::getline(std::cin, line);)
        s_tcp.log(tracing::Levels::LevelINFO, line);
    tracing::client_helper->deinit();
}
