// SPDX-License-Identifier: Apache-2.0
//
// Misuse that the compiler must refuse, one case at a time; without a case it compiles.

#include <zelcommon.h>

bool isReady();

void report()
{
#if defined ASSERTION_WITH_A_STRAY_MESSAGE
    ZEL_ASSERT(isReady(), "not ready");
#elif defined WARNING_WITH_A_WRONG_VALUE
    ZEL_WARN("level %d", "three");
#elif defined ASSERTION_WITH_A_MISSING_VALUE
    ZEL_ASSERT_MSG(isReady(), "level %d");
#elif defined ABORT_WITH_A_WRONG_VALUE
    std::GlobalErrorHandler::doAbort("a", 1, "f", "%s", 3);
#elif defined OUT_OF_MEMORY_WITH_A_WRONG_VALUE
    std::GlobalErrorHandler::doOutOfMem("a", 1, "f", "%s", 3);
#elif defined LAST_RESORT_WITH_A_WRONG_VALUE
    zelbase::abort("a", 1, "f", "%s", 3);
#elif defined COPIED_STORAGE
    std::StdoutDumpErrorStorage errors;
    std::StdoutDumpErrorStorage copy(errors);
#elif defined COPIED_TYPE
    std::ErrorType copy(std::CommonError);
#else
    ZEL_ASSERT(isReady());
    ZEL_WARN("level %d", 3);
    ZEL_ASSERT_MSG(isReady(), "level %d", 3);
#endif
}
