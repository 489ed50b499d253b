// SPDX-License-Identifier: Apache-2.0
//
// A program with the trace client, for a script that plays the rest of the device. It does what the
// lines of its standard input say:
//
//     log               one message of each kind
//     trace TEXT        that text at level "trace", on net_tcp
//     restart           takes the client back and starts it anew
//     leave             ends without taking the client back
//
// What is called from outside is written to standard output. With the argument "port" the program
// prints a port that nobody listens on, and does nothing else.

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <zelcommon.h>

namespace {

using tracing::Channel;
using tracing::Levels;
using tracing::MessageTypes;
using tracing::Modifiers;

Channel s_net("net", Levels::LevelNONE, Channel::FLAG_REGISTER);
Channel s_tcp("net_tcp", Levels::LevelNONE, Channel::FLAG_REGISTER);
Channel s_two("net_two", Levels::LevelNONE, Channel::FLAG_REGISTER);

void say(const std::string& line)
{
    std::cout << line << std::endl;
}

std::string levelOf(const Channel& channel)
{
    return Levels::NAMES[__atomic_load_n(&channel.m_filterLevel, __ATOMIC_RELAXED)];
}

void showLevels(int, void*, unsigned int)
{
    say("levels " + levelOf(s_net) + " " + levelOf(s_tcp) + " " + levelOf(s_two));
}

void showBytes(int, void* data, unsigned int size)
{
    say("called with '" + std::string(static_cast<const char*>(data), size) + "'");
}

void endClient(int, void*, unsigned int)
{
    tracing::client_helper->deinit();
    say("still there");
}

void logAll()
{
    ZEL_LOG(s_net, Levels::LevelFATAL, "a fatal error");
    ZEL_LOG(s_net, Levels::LevelERROR, "an error");
    ZEL_LOG(s_net, Levels::LevelWARN, "a warning");
    ZEL_LOG(s_tcp, Levels::LevelINFO, "peer %d has come", 7);
    ZEL_LOG(s_tcp, Levels::LevelDEBUG, "not to be seen");
    s_two.logRaw(Levels::LevelINFO, MessageTypes::COMM, "\x01\x02\xff", 3);
    s_two.logCV(Levels::LevelINFO, Modifiers::NONE, 123456LL, "%s", "stamped");
    s_two.logC(Levels::LevelINFO, Modifiers::OBFUSCATE, "secret");
    s_two.log(Levels::LevelINFO, std::string(1383, 'a') + std::string(1383, 'b') + "c");
}

void start()
{
    if (!tracing::client_helper->init("pump-station")) std::abort();
    tracing::IClient::s_client->registerCallback("levels", showLevels);
    tracing::IClient::s_client->registerCallback("bytes", showBytes);
    tracing::IClient::s_client->registerCallback("end", endClient);
    say("started");
}

/// Returns false if the program is to end at once.
bool obey(const std::string& line)
{
    if (line == "leave") return false;
    if (line == "log") logAll();
    if (line.rfind("trace ", 0) == 0) ZEL_LOG(s_tcp, Levels::LevelTRACE, "%s", line.c_str() + 6);
    if (line == "restart") {
        tracing::client_helper->deinit();
        start();
    }
    return true;
}

int printFreePort()
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    if (bind(fd, any, size) != 0 || getsockname(fd, any, &size) != 0) return EXIT_FAILURE;
    close(fd);
    say(std::to_string(ntohs(address.sin_port)));
    return EXIT_SUCCESS;
}

} // namespace

int main(int count, char** arguments)
{
    if (count > 1 && std::string(arguments[1]) == "port") return printFreePort();
    start();
    std::string line;
    while (std::getline(std::cin, line))
        if (!obey(line)) return EXIT_SUCCESS;
    tracing::client_helper->deinit();
    say("ended");
    return EXIT_SUCCESS;
}
