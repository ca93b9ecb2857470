// ASCII string routines with EDK II BaseLib behaviour: unsigned byte comparison, and assertions on
// nullptr arguments and on strings longer than the platform's maximum ASCII string length.
#include "Library/BaseLib.h"
#include "Library/DebugLib.h"

namespace {

// Assertion-checked length that also survives a returning assertion handler: a nullptr string counts
// as empty, and counting goes on past the limit (the caller's bytes are still valid memory).
UINTN CheckedLength(const CHAR8 *String) {
  ASSERT(String != nullptr);
  if (String == nullptr) {
    return 0;
  }
  UINTN Length = 0;
  while (String[Length] != '\0') {
    Length++;
  }
  // Checked once at the end rather than at every character; it fires for the same strings.
  ASSERT(Length <= PCD_MAXIMUM_ASCII_STRING_LENGTH);
  return Length;
}

CHAR8 ToUpper(CHAR8 Char) {
  return (Char >= 'a' && Char <= 'z') ? (CHAR8)(Char - ('a' - 'A')) : Char;
}

} // namespace

UINTN AsciiStrLen(const CHAR8 *String) {
  return CheckedLength(String);
}

INTN AsciiStrCmp(const CHAR8 *FirstString, const CHAR8 *SecondString) {
  CheckedLength(FirstString);
  CheckedLength(SecondString);
  if (FirstString == nullptr || SecondString == nullptr) {
    return 0;
  }
  while (*FirstString != '\0' && *FirstString == *SecondString) {
    FirstString++;
    SecondString++;
  }
  return (INTN)*FirstString - (INTN)*SecondString;
}

INTN AsciiStrnCmp(const CHAR8 *FirstString, const CHAR8 *SecondString, UINTN Length) {
  if (Length == 0) {
    return 0;
  }
  ASSERT(FirstString != nullptr);
  ASSERT(SecondString != nullptr);
  ASSERT(Length <= PCD_MAXIMUM_ASCII_STRING_LENGTH);
  if (FirstString == nullptr || SecondString == nullptr) {
    return 0;
  }
  while (*FirstString != '\0' && *SecondString != '\0' && *FirstString == *SecondString && Length > 1) {
    FirstString++;
    SecondString++;
    Length--;
  }
  return (INTN)*FirstString - (INTN)*SecondString;
}

INTN AsciiStriCmp(const CHAR8 *FirstString, const CHAR8 *SecondString) {
  CheckedLength(FirstString);
  CheckedLength(SecondString);
  if (FirstString == nullptr || SecondString == nullptr) {
    return 0;
  }
  while (*FirstString != '\0' && ToUpper(*FirstString) == ToUpper(*SecondString)) {
    FirstString++;
    SecondString++;
  }
  return (INTN)ToUpper(*FirstString) - (INTN)ToUpper(*SecondString);
}

CHAR8 *AsciiStrCpy(CHAR8 *Destination, const CHAR8 *Source) {
  ASSERT(Destination != nullptr);
  UINTN Length = CheckedLength(Source);
  if (Destination == nullptr || Source == nullptr) {
    return Destination;
  }
  // Overlap makes the copy meaningless in EDK II too; report it rather than corrupting quietly.
  ASSERT((UINTN)(Destination - Source) > Length);
  for (UINTN Index = 0; Index <= Length; Index++) {
    Destination[Index] = Source[Index];
  }
  return Destination;
}
