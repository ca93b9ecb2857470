// HxStringLib: search over text that need not be terminated, and decimal parsing that is bounded
// by a digit count or reports where the number ended.
#include "Library/HxStringLib.h"
#include "Library/DebugLib.h"

// Failed argument checks are reported under the library's name, not the source path.
#define HX_ASSERT_FAILED()                                                                                   \
  do {                                                                                                       \
    if (DebugAssertEnabled()) {                                                                              \
      DebugAssert("HxStringLib", __LINE__, "0");                                                             \
    }                                                                                                        \
  } while (FALSE)

// Replies of kilobytes are searched, so a word that cannot hold the pattern's first byte is
// skipped whole: XOR with the byte repeated makes a matching byte zero, and the zero-byte test
// flags every zero byte (it may also flag a 0x01 byte above a zero). A flagged word is looked at
// byte by byte, in order, so the first match is returned, as a bytewise scan would.
typedef UINT64 __attribute__((may_alias, aligned(1))) HX_UNALIGNED_UINT64;

static BOOLEAN HxMatchesAt(const CHAR8 *Candidate, const CHAR8 *Pattern, UINTN PatternLength) {
  for (UINTN Index = 1; Index < PatternLength; Index++) {
    if (Candidate[Index] != Pattern[Index]) {
      return FALSE;
    }
  }
  return TRUE;
}

CHAR8 *HxMemSearch(const CHAR8 *Buffer, UINTN BufferLength, const CHAR8 *Pattern, UINTN PatternLength) {
  if (Buffer == nullptr || Pattern == nullptr || BufferLength < PatternLength) {
    return nullptr;
  }
  if (PatternLength == 0) {
    return (CHAR8 *)Buffer;
  }
  const UINTN Starts = BufferLength - PatternLength + 1; // candidate positions 0 .. Starts - 1
  const UINT64 Ones = 0x0101010101010101ULL;
  const UINT64 Repeated = Ones * (UINT8)Pattern[0];
  UINTN Start = 0;
  while (Start < Starts) {
    // A whole word inside the buffer that holds no candidate is skipped at once; most of a reply
    // is such words.
    if (Start + 8 <= BufferLength) {
      const UINT64 Word = *(const HX_UNALIGNED_UINT64 *)(Buffer + Start) ^ Repeated;
      if (((Word - Ones) & ~Word & (Ones << 7)) == 0) {
        Start += 8;
        continue;
      }
    }
    // Otherwise the word (or the buffer's last bytes) is looked at byte by byte, in order.
    const UINTN End = Starts - Start > 8 ? Start + 8 : Starts;
    for (; Start < End; Start++) {
      if (Buffer[Start] == Pattern[0] && HxMatchesAt(Buffer + Start, Pattern, PatternLength)) {
        return (CHAR8 *)(Buffer + Start);
      }
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
