// HxStringLib: search over text that need not be terminated, and decimal parsing that is bounded
// by a digit count or reports where the number ended.
#include "Library/HxStringLib.h"
#include "Library/DebugLib.h"

// Failed argument checks are reported under the library's name, not the source path.
#define HX_ASSERT_FAILED() DebugAssert("HxStringLib", __LINE__, "0")

CHAR8 *HxMemSearch(const CHAR8 *Buffer, UINTN BufferLength, const CHAR8 *Pattern, UINTN PatternLength) {
  if (Buffer == nullptr || Pattern == nullptr || BufferLength < PatternLength) {
    return nullptr;
  }
  for (UINTN Start = 0; Start <= BufferLength - PatternLength; Start++) {
    UINTN Matched = 0;
    while (Matched < PatternLength && Buffer[Start + Matched] == Pattern[Matched]) {
      Matched++;
    }
    if (Matched == PatternLength) {
      return (CHAR8 *)(Buffer + Start);
    }
  }
  return nullptr;
}

UINTN HxStrnDecimalToUint(const CHAR8 *String, UINT8 MaxDigits) {
  if (String == nullptr) {
    HX_ASSERT_FAILED();
    return 0;
  }
  UINTN Value = 0;
  for (UINTN Index = 0; Index < MaxDigits && String[Index] >= '0' && String[Index] <= '9'; Index++) {
    Value = Value * 10 + (UINTN)(String[Index] - '0');
  }
  return Value;
}

EFI_STATUS HxStrDecimalToUintnAdvance(const CHAR8 **String, UINTN *Value) {
  if (String == nullptr || Value == nullptr || *String == nullptr) {
    HX_ASSERT_FAILED();
    return EFI_INVALID_PARAMETER;
  }
  const CHAR8 *Cursor = *String;
  if (*Cursor < '0' || *Cursor > '9') {
    return EFI_INVALID_PARAMETER;
  }
  const UINTN MaxValue = ~(UINTN)0;
  UINTN Result = 0;
  while (*Cursor >= '0' && *Cursor <= '9') {
    UINTN Digit = (UINTN)(*Cursor - '0');
    // Refuse any step that would wrap, not only the ones whose wrapped value happens to come out
    // smaller than the previous one.
    if (Result > (MaxValue - Digit) / 10) {
      return EFI_INVALID_PARAMETER;
    }
    Result = Result * 10 + Digit;
    Cursor++;
  }
  *Value = Result;
  *String = Cursor;
  return EFI_SUCCESS;
}
