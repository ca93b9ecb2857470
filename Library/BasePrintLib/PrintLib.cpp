// One formatter for ASCII and UCS-2 output. What differs from C's printf is deliberate EDK II
// behaviour that the driver's bytes depend on: upper-case "%x", "%X" as zero-padded "%x", "\n" of
// the format written as "\r\n", "%r" status names, and a buffer size in bytes.
//
// It formats what the driver's formats use and nothing more: "%a", "%d", "%x", "%X" and "%r",
// each with an optional '0' flag and a width. Any other type character ('%' among them) prints
// itself and takes no argument. EDK II's other conversions and flags ("%s", "%c", "%p", "%u",
// '-', '.', '*', 'L') would be code in the image that nothing calls; a test holds every format
// of the driver to this set.
#include "Library/PrintLib.h"
#include "Library/DebugLib.h"

// Keeps the compiler from replacing the length loops with strlen(), which the firmware image lacks.
#define LOOP_BARRIER() __asm__ __volatile__("")

namespace {

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

UINTN NarrowLength(const CHAR8 *String) {
  UINTN Length = 0;
  while (String[Length] != 0) {
    LOOP_BARRIER();
    Length++;
  }
  return Length;
}

// Right-justified in Width characters.
void EmitText(Output &Out, const CHAR8 *Text, UINTN Width) {
  const UINTN Length = NarrowLength(Text);
  if (Width > Length) {
    Out.Repeat(' ', Width - Length);
  }
  for (UINTN Index = 0; Index < Length; Index++) {
    Out.Put((UINT8)Text[Index]);
  }
}

// Right-justified in Width characters, padded with spaces before the sign or with zeros after it.
void EmitNumber(Output &Out, UINT64 Magnitude, BOOLEAN Negative, UINT32 Radix, BOOLEAN ZeroPad, UINTN Width) {
  static const char kDigits[] = "0123456789ABCDEF";
  char Digits[24];
  UINTN DigitCount = 0;
  do {
    Digits[DigitCount++] = kDigits[Magnitude % Radix];
    Magnitude /= Radix;
  } while (Magnitude != 0);

  const UINTN Length = DigitCount + (Negative ? 1 : 0);
  const UINTN Pad = Width > Length ? Width - Length : 0;
  if (!ZeroPad) {
    Out.Repeat(' ', Pad);
  }
  if (Negative) {
    Out.Put('-');
  }
  if (ZeroPad) {
    Out.Repeat('0', Pad);
  }
  while (DigitCount > 0) {
    Out.Put((UINT32)(UINT8)Digits[--DigitCount]);
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
    BOOLEAN ZeroPad = FALSE;
    while (Format.Peek() == '0') {
      ZeroPad = TRUE;
      Format.Index++;
    }
    const UINTN Width = ReadNumber(Format);
    if (Format.Peek() == 0) {
      break; // a format ending in a lone '%' prints nothing for it
    }

    const UINT32 Type = Format.Peek();
    Format.Index++;
    switch (Type) {
    case 'X':
      ZeroPad = TRUE;
      [[fallthrough]];
    case 'x':
    case 'd': {
      const UINT32 Value = va_arg(Marker, unsigned int);
      const BOOLEAN Negative = Type == 'd' && (INT32)Value < 0;
      const UINT64 Magnitude = Negative ? (UINT64)0 - (UINT64)(INT64)(INT32)Value : (UINT64)Value;
      EmitNumber(Out, Magnitude, Negative, Type == 'd' ? 10 : 16, ZeroPad, Width);
      break;
    }
    case 'r': {
      const EFI_STATUS Status = va_arg(Marker, EFI_STATUS);
      const char *Name = StatusName(Status);
      if (Name == nullptr) {
        EmitNumber(Out, (UINT64)Status, FALSE, 16, TRUE, 8);
      } else {
        EmitText(Out, (const CHAR8 *)Name, Width);
      }
      break;
    }
    case 'a': {
      const CHAR8 *Text = va_arg(Marker, const CHAR8 *);
      EmitText(Out, Text != nullptr ? Text : (const CHAR8 *)"<null string>", Width);
      break;
    }
    default:
      if (Width > 1) {
        Out.Repeat(' ', Width - 1);
      }
      Out.Put(Type);
      break;
    }
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
