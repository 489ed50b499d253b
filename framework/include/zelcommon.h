// SPDX-License-Identifier: Apache-2.0
//
// Everything that the library offers, in one include.

#ifndef ZELCOMMON_ZELCOMMON_H
#define ZELCOMMON_ZELCOMMON_H

#include <common/BinBuffer.h>
#include <common/IBinInputStream.h>
#include <common/IBinOutputStream.h>
#include <common/IBinStreamBase.h>
#include <common/UUID.h>
#include <common/buffers.h>
#include <common/error/Error.h>
#include <common/error/ErrorObject.h>
#include <common/error/ErrorStorage.h>
#include <common/error/ErrorStorages.h>
#include <common/error/ErrorType.h>
#include <common/error/GlobalErrorHandler.h>
#include <common/streams/fstream.h>
#include <common/tracing/Channel.h>
#include <common/tracing/ChannelList.h>
#include <common/tracing/IClient.h>
#include <common/tracing/Levels.h>
#include <common/tracing/SharedChannelMap.h>
#include <common/tracing/TraceBuffer.h>
#include <common/tracing/log.h>
#include <common/unicode/Codec.h>
#include <common/unicode/String.h>
#include <threadsafe/ConditionImpl-posix.h>
#include <threadsafe/MutexImpl-posix.h>
#include <threadsafe/TlsImpl-posix.h>
#include <zel/Condition.h>
#include <zel/Mutex.h>
#include <zel/Tls.h>
#include <zel/attributes.h>
#include <zel/report.h>
#include <zelbase/abort.h>
#include <zelbase/time.h>
#include <zelcommon/version.h>

#endif // ZELCOMMON_ZELCOMMON_H
