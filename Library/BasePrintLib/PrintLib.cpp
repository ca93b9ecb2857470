// One formatter for ASCII and UCS-2 output. What differs from C's printf is deliberate EDK II
// behaviour that the driver's bytes depend on: upper-case "%x", "%X" as zero-padded "%x", "\n" of
// the format written as "\r\n", "%r" status names, and a buffer size in bytes.
#include "Library/PrintLib.h"
#include "Library/DebugLib.h"

// Keeps the compiler from replacing the length loops with strlen(), which the firmware image lacks.
#define LOOP_BARRIER() __asm__ __volatile__("")

namespace {

const UINTN kLeftJustify = 0x1;
const UINTN kZeroPad = 0x2;
const UINTN kLong = 0x4;
const UINTN kHasPrecision = 0x8;

// Fixed-size rows rather than pointers: a pointer table costs a load-time relocation per entry.
const char kErrorNames[][18] = {
    "",
    "Load Error",
    "Invalid Parameter",
    "Unsupported",
    "Bad Buffer Size",
    "Buffer Too Small",
    "Not Ready",
    "Device Error",
    "Write Protected",
    "Out of Resources",
    "Volume Corrupt",
    "Volume Full",
    "No Media",
    "Media changed",
    "Not Found",
    "Access Denied",
    "No Response",
    "No mapping",
    "Time out",
    "Not started",
    "Already started",
    "Aborted",
    "ICMP Error",
    "TFTP Error",
    "Protocol Error",
};

const char kWarningNames[][25] = {
    "",
    "Warning Unknown Glyph",
    "Warning Delete Failure",
    "Warning Write Failure",
    "Warning Buffer Too Small",
};

const char *StatusName(EFI_STATUS Status) {
  const EFI_STATUS HighBit = (EFI_STATUS)1 << (sizeof(EFI_STATUS) * 8 - 1);
  if (Status == 0) {
    return "Success";
  }
  if ((Status & HighBit) != 0) {
    EFI_STATUS Index = Status & ~HighBit;
    if (Index > 0 && Index < sizeof(kErrorNames) / sizeof(kErrorNames[0])) {
      return kErrorNames[Index];
    }
    return nullptr;
  }
  if (Status < sizeof(kWarningNames) / sizeof(kWarningNames[0])) {
    return kWarningNames[Status];
  }
  return nullptr;
}

// The ASCII and the UCS-2 formatter are one routine: the format and the output have the same
// character width, chosen at run time, so the image carries the formatting code once.

// Bounded output: keeps writing characters while there is room for them and the terminator, and
// counts only what was written.
struct Output {
  VOID *Buffer;
  BOOLEAN Wide;   // CHAR16 characters, else CHAR8
  UINTN Capacity; // characters, terminator excluded
  UINTN Count;

  void Store(UINTN Index, UINT32 Char) {
    if (Wide) {
      ((CHAR16 *)Buffer)[Index] = (CHAR16)Char;
    } else {
      ((CHAR8 *)Buffer)[Index] = (CHAR8)Char;
    }
  }
  void Put(UINT32 Char) {
    if (Count < Capacity) {
      Store(Count, Char);
      Count++;
    }
  }
  void Repeat(UINT32 Char, UINTN Times) {
    for (; Times > 0 && Count < Capacity; Times--) {
      Store(Count, Char);
      Count++;
    }
  }
};

// Text of one conversion before padding: either a string of 8- or 16-bit characters or digits.
struct Piece {
  const CHAR8 *Narrow;
  const CHAR16 *Wide;
  UINTN Length;
};

UINTN Larger(UINTN First, UINTN Second) {
  return First > Second ? First : Second;
}

void EmitPiece(Output &Out, const Piece &Text, UINTN Flags, UINTN Width, UINTN Precision) {
  // Every caller names one of the two texts; a piece with neither is empty.
  UINTN Length = Text.Narrow != nullptr || Text.Wide != nullptr ? Text.Length : 0;
  if ((Flags & kHasPrecision) != 0 && Precision < Length) {
    Length = Precision;
  }
  const UINTN Pad = Larger(Width, Length) - Length;
  if ((Flags & kLeftJustify) == 0) {
    Out.Repeat(' ', Pad);
  }
  for (UINTN Index = 0; Index < Length; Index++) {
    Out.Put(Text.Narrow != nullptr ? (UINT32)Text.Narrow[Index] : (UINT32)Text.Wide[Index]);
  }
  if ((Flags & kLeftJustify) != 0) {
    Out.Repeat(' ', Pad);
  }
}

UINTN NarrowLength(const CHAR8 *String) {
  UINTN Length = 0;
  while (String[Length] != 0) {
    LOOP_BARRIER();
    Length++;
  }
  return Length;
}

UINTN WideLength(const CHAR16 *String) {
  UINTN Length = 0;
  while (String[Length] != 0) {
    LOOP_BARRIER();
    Length++;
  }
  return Length;
}

void EmitNumber(Output &Out, UINT64 Magnitude, BOOLEAN Negative, UINT32 Radix, UINTN Flags, UINTN Width,
                UINTN Precision) {
  static const char kDigits[] = "0123456789ABCDEF";
  char Digits[24];
  UINTN DigitCount = 0;
  do {
    Digits[DigitCount++] = kDigits[Magnitude % Radix];
    Magnitude /= Radix;
  } while (Magnitude != 0);

  UINTN MinimumDigits = (Flags & kHasPrecision) != 0 ? Larger(Precision, DigitCount) : DigitCount;
  UINTN Length = MinimumDigits + (Negative ? 1 : 0);
  if ((Flags & (kZeroPad | kLeftJustify | kHasPrecision)) == kZeroPad) {
    MinimumDigits += Larger(Width, Length) - Length;
    Length = Larger(Width, Length);
  }
  const UINTN Pad = Larger(Width, Length) - Length;
  if ((Flags & kLeftJustify) == 0) {
    Out.Repeat(' ', Pad);
  }
  if (Negative) {
    Out.Put('-');
  }
  Out.Repeat('0', MinimumDigits - DigitCount);
  while (DigitCount > 0) {
    Out.Put((UINT32)(UINT8)Digits[--DigitCount]);
  }
  if ((Flags & kLeftJustify) != 0) {
    Out.Repeat(' ', Pad);
  }
}

// The format string; a character as an unsigned code (a plain char above 0x7F must not
// sign-extend).
struct FormatText {
  const VOID *Start;
  BOOLEAN Wide;
  UINTN Index;

  UINT32 Peek(UINTN Ahead = 0) const {
    return Wide ? (UINT32)((const CHAR16 *)Start)[Index + Ahead]
                : (UINT32)((const UINT8 *)Start)[Index + Ahead];
  }
};

UINTN ReadNumber(FormatText &Format) {
  UINTN Value = 0;
  // A width beyond the buffer is cut by it like any other; an absurd one just wraps.
  while (Format.Peek() >= '0' && Format.Peek() <= '9') {
    Value = Value * 10 + (UINTN)(Format.Peek() - '0');
    Format.Index++;
  }
  return Value;
}

// The analyzer does not follow a va_list handed in as a parameter (it is initialised by the
// caller's va_start) and reports every va_arg here as reading an uninitialised list.
// NOLINTBEGIN(clang-analyzer-valist.Uninitialized)
UINTN FormatTo(VOID *Buffer, BOOLEAN Wide, UINTN Capacity, const VOID *FormatString, va_list Marker) {
  Output Out = {Buffer, Wide, Capacity, 0};
  FormatText Format = {FormatString, Wide, 0};

  while (Format.Peek() != 0 && Out.Count < Out.Capacity) {
    if (!Wide) {
      // Plain ASCII characters, the bulk of every CLP line, are copied without the general
      // path's per-character width tests.
      const UINT8 *Text = (const UINT8 *)FormatString;
      CHAR8 *Narrow = (CHAR8 *)Buffer;
      UINT8 Plain = Text[Format.Index];
      while (Plain != 0 && Plain != '%' && Plain != '\n' && Plain != '\r' && Out.Count < Out.Capacity) {
        Narrow[Out.Count++] = (CHAR8)Plain;
        Plain = Text[++Format.Index];
      }
      if (Plain == 0 || Out.Count == Out.Capacity) {
        break;
      }
    }
    UINT32 Char = Format.Peek();
    if (Char == '\n') {
      Out.Put('\r');
      Out.Put('\n');
      Format.Index++;
      if (Format.Peek() == '\r') {
        Format.Index++;
      }
      continue;
    }
    if (Char == '\r' && Format.Peek(1) == '\n') {
      Out.Put('\r');
      Out.Put('\n');
      Format.Index += 2;
      continue;
    }
    if (Char != '%') {
      Out.Put(Char);
      Format.Index++;
      continue;
    }

    Format.Index++;
    UINTN Flags = 0;
    UINTN Width = 0;
    UINTN Precision = 0;
    for (;;) {
      if (Format.Peek() == '-') {
        Flags |= kLeftJustify;
      } else if (Format.Peek() == '0') {
        Flags |= kZeroPad;
      } else if (Format.Peek() == 'L' || Format.Peek() == 'l') {
        Flags |= kLong;
      } else if (Format.Peek() == '*') {
        Width = (UINTN)(UINT32)va_arg(Marker, int);
      } else if (Format.Peek() >= '1' && Format.Peek() <= '9') {
        Width = ReadNumber(Format);
        continue;
      } else if (Format.Peek() == '.') {
        Format.Index++;
        Flags |= kHasPrecision;
        if (Format.Peek() == '*') {
          Precision = (UINTN)(UINT32)va_arg(Marker, int);
          Format.Index++;
        } else {
          Precision = ReadNumber(Format);
        }
        continue;
      } else {
        break;
      }
      Format.Index++;
    }
    if (Format.Peek() == 0) {
      break; // a format ending in a lone '%' prints nothing for it
    }

    Piece Text = {};
    UINT32 Type = Format.Peek();
    Format.Index++;
    switch (Type) {
    case 'X':
      Flags |= kZeroPad;
      [[fallthrough]];
    case 'x':
    case 'u':
    case 'd': {
      const BOOLEAN Long = (Flags & kLong) != 0;
      const UINT64 Unsigned = Long ? va_arg(Marker, UINT64) : (UINT64)va_arg(Marker, unsigned int);
      const INT64 Signed = Long ? (INT64)Unsigned : (INT64)(int)(unsigned int)Unsigned;
      if (Type == 'd' && Signed < 0) {
        EmitNumber(Out, (UINT64)0 - (UINT64)Signed, TRUE, 10, Flags, Width, Precision);
      } else {
        EmitNumber(Out, Unsigned, FALSE, Type == 'x' || Type == 'X' ? 16 : 10, Flags, Width, Precision);
      }
      continue;
    }
    case 'p':
      EmitNumber(Out, (UINT64)(UINTN)va_arg(Marker, void *), FALSE, 16, kZeroPad, sizeof(void *) * 2, 0);
      continue;
    case 'r': {
      EFI_STATUS Status = va_arg(Marker, EFI_STATUS);
      const char *Name = StatusName(Status);
      if (Name == nullptr) {
        EmitNumber(Out, (UINT64)Status, FALSE, 16, kZeroPad, 8, 0);
        continue;
      }
      Text.Narrow = (const CHAR8 *)Name;
      Text.Length = NarrowLength(Text.Narrow);
      break;
    }
    case 'a':
      Text.Narrow = va_arg(Marker, const CHAR8 *);
      if (Text.Narrow == nullptr) {
        Text.Narrow = (const CHAR8 *)"<null string>";
      }
      Text.Length = NarrowLength(Text.Narrow);
      break;
    case 's':
    case 'S':
      Text.Wide = va_arg(Marker, const CHAR16 *);
      if (Text.Wide == nullptr) {
        Text.Narrow = (const CHAR8 *)"<null string>";
        Text.Length = NarrowLength(Text.Narrow);
      } else {
        Text.Length = WideLength(Text.Wide);
      }
      break;
    case 'c': {
      static_assert(sizeof(CHAR16) == 2, "UCS-2");
      CHAR16 Single = (CHAR16)va_arg(Marker, int);
      Piece One = {nullptr, &Single, 1};
      EmitPiece(Out, One, Flags, Width, Precision);
      continue;
    }
    case '%':
    default: {
      // "%%" and unknown types print the type character itself.
      CHAR16 Single = (CHAR16)Type;
      Piece One = {nullptr, &Single, 1};
      EmitPiece(Out, One, Flags & kLeftJustify, Width, 0);
      continue;
    }
    }
    EmitPiece(Out, Text, Flags, Width, Precision);
  }

  Out.Store(Out.Count, 0);
  return Out.Count;
}
// NOLINTEND(clang-analyzer-valist.Uninitialized)

} // namespace

UINTN AsciiVSPrint(CHAR8 *StartOfBuffer, UINTN BufferSize, const char *FormatString, va_list Marker) {
  if (BufferSize <= 1 || StartOfBuffer == nullptr) {
    return 0;
  }
  ASSERT(FormatString != nullptr);
  if (FormatString == nullptr) {
    StartOfBuffer[0] = 0;
    return 0;
  }
  return FormatTo(StartOfBuffer, FALSE, BufferSize - 1, FormatString, Marker);
}

UINTN AsciiSPrint(CHAR8 *StartOfBuffer, UINTN BufferSize, const char *FormatString, ...) {
  va_list Marker;
  va_start(Marker, FormatString);
  UINTN Count = AsciiVSPrint(StartOfBuffer, BufferSize, FormatString, Marker);
  va_end(Marker);
  return Count;
}

UINTN UnicodeVSPrint(CHAR16 *StartOfBuffer, UINTN BufferSize, const CHAR16 *FormatString, va_list Marker) {
  UINTN Characters = BufferSize / sizeof(CHAR16);
  if (Characters == 0 || StartOfBuffer == nullptr) {
    return 0;
  }
  ASSERT(FormatString != nullptr);
  if (FormatString == nullptr) {
    StartOfBuffer[0] = 0;
    return 0;
  }
  return FormatTo(StartOfBuffer, TRUE, Characters - 1, FormatString, Marker);
}

UINTN UnicodeSPrint(CHAR16 *StartOfBuffer, UINTN BufferSize, const CHAR16 *FormatString, ...) {
  va_list Marker;
  va_start(Marker, FormatString);
  UINTN Count = UnicodeVSPrint(StartOfBuffer, BufferSize, FormatString, Marker);
  va_end(Marker);
  return Count;
}
