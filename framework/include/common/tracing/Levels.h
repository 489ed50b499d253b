// SPDX-License-Identifier: Apache-2.0
//
// The three small numbers that describe every trace message: its level, its modifiers and, for
// binary payloads, its message type. They are objects of the library with one address in the
// process, so that a client that is built elsewhere agrees on them.
//
//     if (tracing::Levels::LevelWARN >= channel.m_filterLevel)
//         puts(tracing::Levels::NAMES[tracing::Levels::LevelWARN]);        // "warning"

#ifndef ZELCOMMON_COMMON_TRACING_LEVELS_H
#define ZELCOMMON_COMMON_TRACING_LEVELS_H

#include <zel/attributes.h>

namespace tracing {

/// How severe a message is. A message passes a channel when its level is greater than or equal to
/// the channel's filter level. Messages have levels 0 to 5; 6 to 9 are filter settings and block
/// all.
class ZEL_EXPORT Levels
{
public:
    static const short LevelTRACE;    ///< 0, most verbose
    static const short LevelDEBUG;    ///< 1
    static const short LevelINFO;     ///< 2
    static const short LevelWARN;     ///< 3
    static const short LevelERROR;    ///< 4
    static const short LevelFATAL;    ///< 5, the highest level of a message
    static const short LevelOFF;      ///< 6, blocks every message; a new channel has it
    static const short LevelNONE;     ///< 7, no level of its own: the parent's counts
    static const short LevelDISABLED; ///< 8
    static const short LevelDEFAULT;  ///< 9

    /// The names, by level: "trace", "debug", "info", "warning", "error", "fatal", "off", "none",
    /// "disabled", "default". Configuration files and tools spell them so. The table may be written
    /// to; nothing checks its range.
    static const char* NAMES[10];
};

/// How the client is to treat a message: bits that may be combined. The library passes them on.
class ZEL_EXPORT Modifiers
{
public:
    static const short NONE;           ///< 0
    static const short EXPAND_NOW;     ///< 1
    static const short SAFE_TRANSPORT; ///< 2
    static const short OBFUSCATE;      ///< 4, without a name

    /// The names of the values 0, 1 and 2: "none", "expand_now", "safe_transport".
    static const char* NAMES[3];
};

/// What a raw message's bytes are. The numbers 4, 5, 132 to 136 and 138 to 144, and one that two
/// ASCII letters form (the first in the high byte), are reserved for particular producers and must
/// not be reused. One more producer's type has the value of `APP`, so 128 is ambiguous.
class ZEL_EXPORT MessageTypes
{
public:
    static const short STRING_OLD;    ///< 0
    static const short STRING_UTF8;   ///< 1
    static const short PROBE;         ///< 2
    static const short COMM;          ///< 3
    static const short APP;           ///< 128
    static const short BT_HCI;        ///< 129
    static const short TPEG;          ///< 130
    static const short ANNOTATION;    ///< 131
    static const short GNSS_RAW_DATA; ///< 137
    static const short USER;          ///< 256
};

} // namespace tracing

#endif // ZELCOMMON_COMMON_TRACING_LEVELS_H
