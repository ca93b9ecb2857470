// Host build: a failed assertion goes to the installed handler (the test harness turns it into a
// test failure); without one it is printed to stderr and the process aborts, as a dead loop would
// only hang the test run. Tests may also widen the print mask.
#include "DebugLibInternal.h"
#include "Library/HostHooks.h"

#include <cstdio>
#include <cstdlib>

namespace {

void DefaultAssertHandler(const CHAR8 *File, UINTN Line, const CHAR8 *Description) {
  std::fprintf(stderr, "ASSERT %s(%llu): %s\n", (const char *)File, (unsigned long long)Line,
               (const char *)Description);
  std::abort();
}

HOST_ASSERT_HANDLER gAssertHandler = DefaultAssertHandler;

} // namespace

void HostSetAssertHandler(HOST_ASSERT_HANDLER Handler) {
  gAssertHandler = Handler != nullptr ? Handler : DefaultAssertHandler;
}

void HostSetDebugPrintErrorLevel(UINTN Level) {
  mDebugPrintErrorLevel = Level;
}

void DebugAssertFinish(const char *FileName, UINTN LineNumber, const char *Description) {
  gAssertHandler((const CHAR8 *)FileName, LineNumber, (const CHAR8 *)Description);
}
