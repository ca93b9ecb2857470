// The driver's conversions and copy routines for CLP text. Each one reads its source no further
// than the first character that ends the value and writes its destination only within the size
// its caller documents.
#include "Strings/DriverStrings.h"
#include "Library/BaseLib.h"

UINTN BoundedLength(const CHAR8 *Src, UINTN Max) {
  UINTN Length = 0;
  while (Length < Max && Src[Length] != '\0') {
    Length++;
  }
  return Length;
}

namespace {

CHAR8 ToUpper(CHAR8 Char) {
  return (Char >= 'a' && Char <= 'z') ? (CHAR8)(Char - ('a' - 'A')) : Char;
}

// The three copies differ only in what they do with each character: the plain copy takes it,
// the upper-case copy converts it, the line copy stops at the line's end and leaves what lies
// beyond in Dest as it was.
enum COPY_MODE { CopyPlain, CopyUpper, CopyToLineEnd };

template <COPY_MODE Mode> VOID CopyText(CHAR8 *Dest, const CHAR8 *Src, UINTN Max) {
  if (Dest == nullptr) {
    return;
  }
  if (Src == nullptr) {
    Dest[0] = '\0';
    return;
  }
  UINTN Length = BoundedLength(Src, Max);
  for (UINTN Index = 0; Index < Length; Index++) {
    if (Mode == CopyToLineEnd && (Src[Index] == '\r' || Src[Index] == '\n')) {
      Dest[Index] = '\0';
      return;
    }
    Dest[Index] = Mode == CopyUpper ? ToUpper(Src[Index]) : Src[Index];
  }
  for (UINTN Index = Length; Index < Max; Index++) {
    Dest[Index] = '\0';
  }
  if (Mode != CopyToLineEnd || Length >= Max) {
    Dest[Max] = '\0';
  }
}

BOOLEAN IsVersionSeparator(CHAR8 Char) {
  return (Char == ',' || Char == ' ' || Char == '\n' || Char == '\r' || Char == '\0') ? TRUE : FALSE;
}

} // namespace

BOOLEAN IsHexDigitChar(UINT8 *Digit, CHAR8 Char) {
  UINT8 Value;
  if (Char >= '0' && Char <= '9') {
    Value = (UINT8)(Char - '0');
  } else if (Char >= 'A' && Char <= 'F') {
    Value = (UINT8)(Char - 'A' + 10);
  } else if (Char >= 'a' && Char <= 'f') {
    Value = (UINT8)(Char - 'a' + 10);
  } else {
    return FALSE;
  }
  if (Digit != nullptr) {
    *Digit = Value;
  }
  return TRUE;
}

EFI_STATUS AsciiHexStringToBuf(UINT8 *Buf, UINTN *Len, const CHAR8 *Str, UINTN *ConvertedStrLen) {
  if (Len == nullptr || Str == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  UINT8 Digit = 0;
  UINTN Count = 0;
  while (IsHexDigitChar(&Digit, Str[Count])) {
    Count++;
  }
  if (Count == 0) {
    *Len = 0;
    return EFI_SUCCESS;
  }
  UINTN Needed = (Count + 1) / 2;
  if (Needed > *Len) {
    *Len = Needed;
    return EFI_BUFFER_TOO_SMALL;
  }
  if (Buf == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *Len = Needed;
  // Digits are taken from the end of the run, so the last two digits form Buf[0].
  for (UINTN Index = 0; Index < Count; Index++) {
    IsHexDigitChar(&Digit, Str[Count - 1 - Index]);
    if ((Index & 1) == 0) {
      Buf[Index / 2] = Digit;
    } else {
      Buf[Index / 2] = (UINT8)((Buf[Index / 2] & 0x0F) | (Digit << 4));
    }
  }
  if (ConvertedStrLen != nullptr) {
    *ConvertedStrLen = Count;
  }
  return EFI_SUCCESS;
}

VOID ReverseBytes(UINT8 *Buf, UINT16 Len) {
  if (Buf == nullptr || Len <= 1) {
    return;
  }
  for (UINTN Index = 0; Index < (UINTN)Len / 2; Index++) {
    UINT8 Byte = Buf[Index];
    Buf[Index] = Buf[Len - 1 - Index];
    Buf[Len - 1 - Index] = Byte;
  }
}

VOID CopyLine(CHAR8 *Dest, const CHAR8 *Src, UINTN Max) {
  CopyText<CopyToLineEnd>(Dest, Src, Max);
}

VOID CopyChars(CHAR8 *Dest, const CHAR8 *Src, UINTN Max) {
  CopyText<CopyPlain>(Dest, Src, Max);
}

VOID CopyCharsUpper(CHAR8 *Dest, const CHAR8 *Src, UINTN Max) {
  CopyText<CopyUpper>(Dest, Src, Max);
}

EFI_STATUS SplitVersionList(UINT8 Count, const CHAR8 *Src, FUNCTION_SETTINGS *Settings) {
  if (Count > FUNCTION_FIRMWARE_VERSIONS || Src == nullptr || Settings == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  const UINTN MaxChars = FUNCTION_FIRMWARE_VERSION_SIZE - 1;
  UINTN Position = 0;
  BOOLEAN SourceEnded = FALSE;
  for (UINTN Slot = 0; Slot < Count; Slot++) {
    CHAR8 *Version = Settings->FirmwareVersion[Slot];
    UINTN Length = 0;
    while (!SourceEnded && Length < MaxChars) {
      CHAR8 Char = Src[Position];
      if (IsVersionSeparator(Char)) {
        if (Char == '\0') {
          SourceEnded = TRUE; // never read past the terminator
        } else {
          Position++;
        }
        break;
      }
      Version[Length++] = Char;
      Position++;
    }
    Version[Length] = '\0';
  }
  return EFI_SUCCESS;
}

VOID ParseDottedVersion(UINT8 *Out, const CHAR8 *Version) {
  const UINTN MaxWalk = 32;
  const UINTN MaxOut = 16;
  const UINTN ComponentSize = 8;
  if (Out == nullptr || Version == nullptr) {
    return;
  }
  CHAR8 Component[ComponentSize];
  UINTN ComponentLength = 0;
  UINTN OutCount = 0;
  for (UINTN Index = 0; Index < MaxWalk; Index++) {
    CHAR8 Char = Version[Index];
    if (Char == '.' || Char == '\0') {
      Component[ComponentLength] = '\0';
      // Components beyond the sixteenth have no place in Out and are dropped.
      if (OutCount < MaxOut) {
        Out[OutCount++] = (UINT8)AsciiStrDecimalToUintn(Component);
      }
      ComponentLength = 0;
      if (Char == '\0') {
        return;
      }
      continue;
    }
    // Characters beyond the seventh of a component do not fit its buffer and are dropped.
    if (ComponentLength < ComponentSize - 1) {
      Component[ComponentLength++] = Char;
    }
  }
}
