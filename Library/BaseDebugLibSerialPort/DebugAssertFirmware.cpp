// Firmware: after a failed assertion the processor spins here, so a debugger attached to the
// platform finds the failing driver stopped with its state intact.
#include "DebugLibInternal.h"

void DebugAssertFinish(const char *, UINTN, const char *) {
  volatile BOOLEAN Spin = TRUE;
  while (Spin) {
  }
}
