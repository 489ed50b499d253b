// SPDX-License-Identifier: Apache-2.0
//
// Tracing: named channels with levels, messages that cost nothing while they are suppressed, and a
// line that is put together from pieces. Linked with tracing-impl, which brings messages to
// standard error, or to where the variables of the environment say.

#include <cstdio>

#include <zelcommon.h>

namespace {

using tracing::Channel;
using tracing::Levels;

Channel s_net("net", Levels::LevelINFO, Channel::FLAG_REGISTER);
Channel s_tcp("net_tcp", Levels::LevelNONE, Channel::FLAG_REGISTER); // as the channel above: net

int s_asked = 0;

int packetsLost()
{
    ++s_asked;
    return 3;
}

/// One message, at the highest level of the pieces that pass.
void close(int peer, int lost)
{
    tracing::TraceBuffer line(&s_tcp);
    line.appendf(Levels::LevelINFO, "peer %d has gone", peer);
    line.append(Levels::LevelDEBUG, ", as was agreed");
    if (lost > 0) line.appendf(Levels::LevelWARN, ", %d packets lost", lost);
} // sent here

} // namespace

int main()
{
    tracing::client_helper->init("hello-tracing");
    ZEL_LOG(s_net, Levels::LevelINFO, "peer %d has come", 7);
    ZEL_LOG(s_tcp, Levels::LevelDEBUG, "%d packets lost", packetsLost()); // not even evaluated
    s_tcp.changeFilterLevel(Levels::LevelDEBUG);
    ZEL_LOG(s_tcp, Levels::LevelDEBUG, "%d packets lost so far", packetsLost());
    close(7, 3);
    s_net.changeFilterLevel(Levels::LevelERROR);
    s_tcp.changeFilterLevel(Levels::LevelNONE);
    close(8, 0); // the channel above lets errors pass alone
    s_tcp.log(Levels::LevelERROR, "no peer is left");
    tracing::client_helper->deinit(); // everything is out
    std::printf("asked %d time(s) for lost packets\n", s_asked);
}
