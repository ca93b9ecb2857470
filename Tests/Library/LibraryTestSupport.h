// Shared helpers of the library tests: failed assertions and serial output are captured instead of
// aborting the test binary, and CHAR8/CHAR16 buffers are compared as std::strings.
#ifndef TESTS_LIBRARY_LIBRARY_TEST_SUPPORT_H_
#define TESTS_LIBRARY_LIBRARY_TEST_SUPPORT_H_

#include <string>
#include <vector>

#include "Uefi.h"

namespace LibraryTest {

struct AssertRecord {
  std::string File;
  UINTN Line;
  std::string Description;
};

// While an instance lives, failed assertions are recorded instead of failing the test.
class ExpectAsserts {
public:
  ExpectAsserts();
  ~ExpectAsserts();
  const std::vector<AssertRecord> &Records() const;
};

// While an instance lives, serial output is collected.
class CaptureSerial {
public:
  CaptureSerial();
  ~CaptureSerial();
  std::string Text() const;
};

inline std::string Narrow(const CHAR8 *Text) {
  return std::string(reinterpret_cast<const char *>(Text));
}

inline std::u16string Wide(const CHAR16 *Text) {
  std::u16string Result;
  while (*Text != 0) {
    Result.push_back(static_cast<char16_t>(*Text++));
  }
  return Result;
}

inline const CHAR8 *A(const char *Text) {
  return reinterpret_cast<const CHAR8 *>(Text);
}
inline const CHAR16 *W(const char16_t *Text) {
  return reinterpret_cast<const CHAR16 *>(Text);
}

} // namespace LibraryTest

#endif
