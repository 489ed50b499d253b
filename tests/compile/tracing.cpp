// SPDX-License-Identifier: Apache-2.0
//
// Misuse of the tracing calls that the compiler must refuse, one case at a time; without a case it
// compiles.

#include <zelcommon.h>

void log(tracing::Channel& channel)
{
#if defined LOG_WITH_A_WRONG_VALUE
    ZEL_LOG(channel, tracing::Levels::LevelINFO, "level %d", "three");
#elif defined LOG_WITH_A_MISSING_VALUE
    ZEL_LOG(channel, tracing::Levels::LevelINFO, "level %d");
#elif defined LOGCV_WITH_A_WRONG_VALUE
    channel.logCV(2, "level %d", "three");
#elif defined LOGCV_WITH_MODIFIERS_AND_A_WRONG_VALUE
    channel.logCV(2, 1, "level %d", "three");
#elif defined LOGCV_WITH_A_TIME_AND_A_WRONG_VALUE
    channel.logCV(2, 1, 9LL, "level %d", "three");
#elif defined LOGCVN_WITH_A_WRONG_VALUE
    channel.logCVN(2, 100, "level %d", "three");
#elif defined LOGCVN_WITH_MODIFIERS_AND_A_WRONG_VALUE
    channel.logCVN(2, 1, 100, "level %d", "three");
#elif defined LOGCVN_WITH_A_TIME_AND_A_WRONG_VALUE
    channel.logCVN(2, 1, 9LL, 100, "level %d", "three");
#elif defined LOGRAWV_WITHOUT_ITS_END
    channel.logRawV(2, 1, "raw", 3u);
#elif defined LOGRAWV_ENDED_BY_0
    channel.logRawV(2, 1, "raw", 3u, 0);
#elif defined LOG_ON_A_TEMPORARY
    ZEL_LOG(tracing::Channel("net", 2, 0), tracing::Levels::LevelINFO, "up");
#else
    ZEL_LOG(channel, tracing::Levels::LevelINFO, "text");
    ZEL_LOG(channel, tracing::Levels::LevelINFO, "level %d", 3);
    channel.logCV(2, "level %d", 3);
    channel.logCV(2, 1, "level %d", 3);
    channel.logCV(2, 1, 9LL, "level %d", 3);
    channel.logCVN(2, 100, "level %d", 3);
    channel.logCVN(2, 1, 100, "level %d", 3);
    channel.logCVN(2, 1, 9LL, 100, "level %d", 3);
    channel.logRawV(2, 1, nullptr);
    channel.logRawV(2, 1, "raw", 3u, nullptr);
    channel.logRawV(2, 1, 1, nullptr);
    channel.logRawV(2, 1, 1, "raw", 3u, nullptr);
#endif
}

void collect(tracing::TraceBuffer& line)
{
#if defined APPENDF_WITH_A_WRONG_VALUE
    line.appendf("level %d", "three");
#elif defined APPENDF_WITH_A_LEVEL_AND_A_WRONG_VALUE
    line.appendf(2, "level %d", "three");
#elif defined SETF_WITH_A_WRONG_VALUE
    line.setf(2, "level %d", "three");
#else
    line.appendf("level %d", 3);
    line.appendf(2, "level %d", 3);
    line.setf(2, "level %d", 3);
#endif
}

void copy(tracing::Channel& channel)
{
#if defined COPIED_CHANNEL
    tracing::Channel other(channel);
#elif defined COPIED_HANDLE
    tracing::SharedChannelPtr handle("net");
    tracing::SharedChannelPtr other(handle);
#elif defined COPIED_MAP
    tracing::SharedChannelMap other(*tracing::SharedChannelMap::getInstance());
#elif defined COPIED_LIST
    tracing::ChannelList other(*tracing::ChannelList::getInstance());
#elif defined COPIED_BUFFER
    tracing::TraceBuffer line(&channel);
    tracing::TraceBuffer other(line);
#else
    tracing::TraceBuffer line(&channel);
    tracing::SharedChannelPtr handle("net");
#endif
    static_cast<void>(channel);
}
