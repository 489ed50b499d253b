// SPDX-License-Identifier: Apache-2.0

#include <common/tracing/Levels.h>

#include "../../zelbase/constantInit.h"

namespace tracing {

static_assert(sizeof(short) == 2, "levels, modifiers and message types travel as 16 bits");

const short Levels::LevelTRACE = 0;
const short Levels::LevelDEBUG = 1;
const short Levels::LevelINFO = 2;
const short Levels::LevelWARN = 3;
const short Levels::LevelERROR = 4;
const short Levels::LevelFATAL = 5;
const short Levels::LevelOFF = 6;
const short Levels::LevelNONE = 7;
const short Levels::LevelDISABLED = 8;
const short Levels::LevelDEFAULT = 9;

// "warning", not "warn": configuration files match the names.
ZELCOMMON_CONSTANT_INIT const char* Levels::NAMES[10] = {
    "trace", "debug", "info", "warning", "error", "fatal", "off", "none", "disabled", "default"};

const short Modifiers::NONE = 0;
const short Modifiers::EXPAND_NOW = 1;
const short Modifiers::SAFE_TRANSPORT = 2;
const short Modifiers::OBFUSCATE = 4;

ZELCOMMON_CONSTANT_INIT const char* Modifiers::NAMES[3] = {"none", "expand_now", "safe_transport"};

const short MessageTypes::STRING_OLD = 0;
const short MessageTypes::STRING_UTF8 = 1;
const short MessageTypes::PROBE = 2;
const short MessageTypes::COMM = 3;
const short MessageTypes::APP = 0x80;
const short MessageTypes::BT_HCI = 0x81;
const short MessageTypes::TPEG = 0x82;
const short MessageTypes::ANNOTATION = 0x83;
const short MessageTypes::GNSS_RAW_DATA = 0x89;
const short MessageTypes::USER = 0x100;

} // namespace tracing
