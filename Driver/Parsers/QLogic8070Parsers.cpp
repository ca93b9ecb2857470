// QLogic8070 reply parsers. The family answers with short values after "data=", mostly in double
// quotes: a type word, a quoted comma list with one number per PF, a colon MAC, tagged firmware
// versions. Several replies describe the whole port and are spread over the record's Functions.
#include "ModuleState.h"
#include "Parsers/QLogic8070Parsers.h"
#include "Parsers/RecordStore.h"
#include "Strings/DriverStrings.h"
#include "Library/BaseLib.h"
#include "Library/BaseMemoryLib.h"

#define BANDWIDTH_ELEMENT_CHARS 3
#define PXE_VLAN_DIGITS 4
#define COLON_MAC_MIN_CHARS 17
#define MAC_DIGITS 12
#define VERSION_CHARS (FUNCTION_FIRMWARE_VERSION_SIZE - 1)

typedef struct {
  char Text[12];
  UINT32 Type;
} QUOTED_TYPE;

// Searched in this order within the first 10 characters of the value. The quoted Ethernet fills
// the whole window and so only matches at the value start; the disabled text omits its closing
// quote, so "Disabled" matches as well.
static const QUOTED_TYPE mQuotedTypes[] = {
    {"\"Ethernet\"", PF_TYPE_NIC},
    {"\"FCoE\"", PF_TYPE_FCOE},
    {"\"iSCSI\"", PF_TYPE_ISCSI},
    {"\"Disable", PF_TYPE_DISABLED},
};

#define PF_TYPE_WINDOW 10

static const char mVersionTags[][6] = {"MBI:", "UEFI:", "MFW:"};
#define VERSION_TAG_COUNT (sizeof(mVersionTags) / sizeof(mVersionTags[0]))

VOID ParsePfTypeQLogic8070(const REPLY_VIEW &Value, FUNCTION_SETTINGS *Settings) {
  if (!mModule.Run.mFamily.QLogic8070 || Settings == nullptr) {
    return;
  }
  UINT32 Type = PF_TYPE_UNKNOWN;
  for (const QUOTED_TYPE &Candidate : mQuotedTypes) {
    if (FindInValue(Value, PF_TYPE_WINDOW, Candidate.Text) != nullptr) {
      Type = Candidate.Type;
      break;
    }
  }
  Settings->PfType = Type;
  // One reply per PF, in reply order; a seventeenth reply has no entry and is not counted, so the
  // count never points past the table for the builder that reads it.
  if (mModule.Discovered.mPfTypeCount < PF_TYPE_TABLE_ENTRIES) {
    mModule.Discovered.mPfTypeTable[mModule.Discovered.mPfTypeCount] = Type;
    mModule.Discovered.mPfTypeCount++;
  }
}

VOID ParseSriovQLogic8070(const REPLY_VIEW &Value, FUNCTION_SETTINGS *Settings) {
  if (!mModule.Run.mFamily.QLogic8070 || Settings == nullptr) {
    return;
  }
  Settings->SriovEnabled = FindKeyword(Value, "Enable") != nullptr ? 1 : 0;
}

VOID ParseUmcQLogic8070(const REPLY_VIEW &Value) {
  if (!mModule.Run.mFamily.QLogic8070) {
    return;
  }
  const UINT8 Partitioned = FindKeyword(Value, "NPAR") != nullptr ? 1 : 0;
  mModule.Discovered.mCurrentUmc = Partitioned;
  mModule.Discovered.mTargetUmc = Partitioned;
}

// The list holds percentages, so an element has at most three characters. A longer element is
// cut to its first three characters and the rest of it, up to the separator, is skipped: the
// element still belongs to its own PF and the following PFs stay aligned with their numbers.
// The closing quote separates like a comma, so with more PFs than numbers the next PF reads what
// follows the quote, up to the next separator or the end of the reply. The PF list ends at its
// first NULL entry.
VOID ParseBandwidthListQLogic8070(const REPLY_VIEW &Value, FUNCTION_SETTINGS *Settings,
                                  BOOLEAN MaximumBandwidth) {
  if (!mModule.Run.mFamily.QLogic8070 || Value.Text == nullptr || Settings == nullptr) {
    return;
  }
  const CHAR8 *Text = Value.Text;
  const UINTN Length = Value.Length;
  if (Length == 0 || Text[0] != '"') {
    return;
  }
  UINTN Position = 1;
  FUNCTION_SETTINGS *Function;
  for (UINTN Pf = 0; (Function = FunctionListEntry(Settings, Pf)) != nullptr; Pf++) {
    CHAR8 Element[BANDWIDTH_ELEMENT_CHARS + 1];
    UINTN Count = 0;
    while (Position < Length && Text[Position] != ',' && Text[Position] != '"') {
      if (Count < BANDWIDTH_ELEMENT_CHARS) {
        Element[Count++] = Text[Position];
      }
      Position++;
    }
    if (Position >= Length) {
      return; // this PF and the later ones keep their values
    }
    Element[Count] = 0;
    Position++; // over the separator
    const UINT8 Percent = (UINT8)AsciiStrDecimalToUintn(Element);
    if (MaximumBandwidth) {
      Function->MaxBandwidth = Percent;
    } else {
      Function->MinBandwidth = Percent;
    }
  }
}

VOID ParseColonMacQLogic8070(CHAR8 *DestText, const REPLY_VIEW &Value) {
  if (!mModule.Run.mFamily.QLogic8070 || DestText == nullptr || Value.Text == nullptr) {
    return;
  }
  const CHAR8 *Text = Value.Text;
  // The text ends at a NUL or at the reply's end; one too short for a MAC leaves the slot as it was.
  UINTN TextLength = 0;
  while (TextLength < Value.Length && Text[TextLength] != 0) {
    TextLength++;
  }
  if (TextLength < COLON_MAC_MIN_CHARS) {
    return;
  }
  CHAR8 Digits[MAC_DIGITS + 1];
  UINTN Count = 0;
  for (UINTN Position = 1; Position < TextLength && Count < MAC_DIGITS; Position++) {
    if (Text[Position] != ':') {
      Digits[Count++] = Text[Position];
    }
  }
  Digits[Count] = 0;
  CopyCharsUpper(DestText, Digits, MAC_DIGITS);
}

VOID ParseVersionsQLogic8070(UINT8 TagCount, const REPLY_VIEW &Value, FUNCTION_SETTINGS *Settings) {
  if (!mModule.Run.mFamily.QLogic8070 || Value.Text == nullptr || Settings == nullptr) {
    return;
  }
  for (UINTN Tag = 0; Tag < TagCount && Tag < VERSION_TAG_COUNT; Tag++) {
    const REPLY_VIEW Version = FindValueAfter(Value, mVersionTags[Tag]);
    if (Version.Text == nullptr) {
      continue; // the slot keeps its version
    }
    CHAR8 *Slot = Settings->FirmwareVersion[Tag];
    UINTN Count = 0;
    while (Count < VERSION_CHARS && Count < Version.Length) {
      const CHAR8 Char = Version.Text[Count];
      if (Char == ',' || Char == '"' || Char == 0) {
        break;
      }
      Slot[Count++] = Char;
    }
    Slot[Count] = 0;
  }
}

// The PXE VLAN replies describe the port: every function of it boots on the same VLAN.
static VOID SetPortVlanId(FUNCTION_SETTINGS *Settings, UINT16 VlanId) {
  FUNCTION_SETTINGS *Function;
  for (UINTN Pf = 0; (Function = FunctionListEntry(Settings, Pf)) != nullptr; Pf++) {
    Function->VlanId = VlanId;
  }
}

VOID ParsePxeVlanIdQLogic8070(const REPLY_VIEW &Value, FUNCTION_SETTINGS *Settings) {
  if (!mModule.Run.mFamily.QLogic8070 || Value.Text == nullptr || Settings == nullptr) {
    return;
  }
  const CHAR8 *Text = Value.Text;
  if (Value.Length == 0 || Text[0] != '"') {
    return;
  }
  // One to four digits and the closing quote: the quote must come within the next five characters.
  CHAR8 Digits[PXE_VLAN_DIGITS + 1] = {};
  UINTN Count = 0;
  UINTN Position = 1;
  for (;;) {
    if (Position >= Value.Length) {
      return;
    }
    if (Text[Position] == '"') {
      break;
    }
    if (Count == PXE_VLAN_DIGITS) {
      return;
    }
    Digits[Count++] = Text[Position++];
  }
  // Unlike the other families, 4095 is kept as it is.
  SetPortVlanId(Settings, (UINT16)AsciiStrDecimalToUintn(Digits));
}

VOID ParsePxeVlanQLogic8070(const REPLY_VIEW &Value, FUNCTION_SETTINGS *Settings) {
  if (!mModule.Run.mFamily.QLogic8070 || Settings == nullptr) {
    return;
  }
  mModule.Discovered.mPxeVlanEnabled = 0;
  if (FindKeyword(Value, "Enable") != nullptr) {
    mModule.Discovered.mPxeVlanEnabled = 1;
    return;
  }
  // Without PXE VLAN tagging no function boots on a VLAN.
  SetPortVlanId(Settings, 0);
}
