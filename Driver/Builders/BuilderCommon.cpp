// The values of the CLP lines: where each comes from, how it is written behind the prefix, and the
// builders' small text helpers.
#include "BuilderCommon.h"

#include <Library/BaseLib.h>
#include <Library/PrintLib.h>
#include "ModuleState.h"
#include "Strings/DriverStrings.h"
#include "Strings/Vocabulary.h"

// --- Constant tables ---------------------------------------------------------------------------

// Fixed-size rows rather than pointers: a pointer costs a load-time relocation.
const CHAR8 mPfTypeNames[8][8] = {"NIC", "FC", "FCoE", "iSCSI", "IB", "UNKNOWN", "RoCE", "Disable"};

const UINT64 mPfIndexTable[16] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};

// A word list as written: its words, how many, and the word of a number that has none (ByIndex).
struct CLP_WORDS_TEXT {
  const char *Word[4];
  UINT8 Count;
  UINT8 Fallback;
};

// Indexed by CLP_WORD_LIST. Evaluated by the compiler only: the image holds kWordTable below.
static constexpr CLP_WORDS_TEXT kWordLists[] = {
    {{"disable", "enabled"}, 2, 0},                              // WordsLowerShort
    {{"Disable", "Enable"}, 2, 0},                               // WordsCapitalShort
    {{"Disabled", "Enabled"}, 2, 0},                             // WordsCapital
    {{"disabled", "enabled"}, 2, 0},                             // WordsLower
    {{"DHCP", "static"}, 2, 0},                                  // WordsOrigin
    {{"DHCP_ipv4", "static_ipv4"}, 2, 0},                        // WordsOriginIpv4
    {{"none", "CHAP", "mutualCHAP"}, 3, 0},                      // WordsAuthMethod
    {{"10G", "1G"}, 2, 0},                                       // WordsMode
    {{"ELX_2x10G", "ELX_4x1G", "ELX_1x40G", "ELX_4x10G"}, 4, 2}, // WordsLinkConfig
    {{"RoCE-2", "RoCE-1"}, 2, 0},                                // WordsRoceProfile
    {{"Disabled", "UNDI", "Ethernet"}, 3, 0},                    // WordsBootMode
};

constexpr UINTN kWordListCount = sizeof(kWordLists) / sizeof(kWordLists[0]);

// Stored: each list's words one after another in one text, each ended by a NUL; a list names the
// offset of its first word.
struct CLP_WORDS {
  UINT8 First;
  UINT8 Count;
  UINT8 Fallback;
};

constexpr UINTN ClpWordBytes() {
  UINTN Total = 0;
  for (const CLP_WORDS_TEXT &List : kWordLists) {
    for (UINTN Index = 0; Index < List.Count; Index++) {
      Total += ClpTextBytes(List.Word[Index]);
    }
  }
  return Total;
}

struct CLP_WORD_TABLE {
  CLP_WORDS List[kWordListCount];
  CHAR8 Text[ClpWordBytes()];
};
static_assert(ClpWordBytes() <= 0xFF, "word offsets are 8-bit");

constexpr CLP_WORD_TABLE PackClpWords() {
  CLP_WORD_TABLE Table{};
  UINTN Used = 0;
  for (UINTN ListIndex = 0; ListIndex < kWordListCount; ListIndex++) {
    const CLP_WORDS_TEXT &List = kWordLists[ListIndex];
    Table.List[ListIndex] = CLP_WORDS{(UINT8)Used, List.Count, List.Fallback};
    for (UINTN Index = 0; Index < List.Count; Index++) {
      for (UINTN Char = 0; Char < ClpTextBytes(List.Word[Index]); Char++) {
        Table.Text[Used++] = (CHAR8)List.Word[Index][Char];
      }
    }
  }
  return Table;
}

static constexpr CLP_WORD_TABLE kWordTable = PackClpWords();

struct CLP_NUMBER {
  char Format[5];
  UINT16 Capacity;
};

// Indexed by CLP_NUMBER_FORMAT.
static const CLP_NUMBER kNumberFormats[] = {
    {"%02x", CLP_VALUE_CAPACITY}, {"%02x", 3}, {"%04x", CLP_VALUE_CAPACITY}, {"%04d", CLP_VALUE_CAPACITY},
    {"%05d", CLP_VALUE_CAPACITY},
};

// --- Helpers of the builders -------------------------------------------------------------------

VOID HexEncodeBytes(const UINT8 *Source, UINTN Count, CHAR8 *Destination) {
  static const char kDigits[] = "0123456789ABCDEF";
  if (Destination == nullptr) {
    return;
  }
  if (Source == nullptr) {
    Destination[0] = 0;
    return;
  }
  for (UINTN Index = 0; Index < Count; Index++) {
    Destination[2 * Index] = (CHAR8)kDigits[Source[Index] >> 4];
    Destination[2 * Index + 1] = (CHAR8)kDigits[Source[Index] & 0x0F];
  }
  Destination[2 * Count] = 0;
}

VOID CopyBoundedText(CHAR8 *Destination, const CHAR8 *Source, UINTN Bound) {
  if (Destination == nullptr) {
    return;
  }
  if (Source == nullptr) {
    Destination[0] = 0;
    return;
  }
  const UINTN Length = BoundedLength(Source, Bound);
  for (UINTN Index = 0; Index < Length; Index++) {
    Destination[Index] = Source[Index];
  }
  for (UINTN Index = Length; Index < Bound; Index++) {
    Destination[Index] = 0;
  }
}

VOID FormatMacWithColons(CHAR8 *Destination, const CHAR8 *Digits) {
  if (Destination == nullptr) {
    return;
  }
  UINTN Out = 0;
  if (Digits != nullptr) {
    // A short digit text ends the copy at its terminator instead of reading past it.
    for (UINTN Index = 0; Index < 12 && Digits[Index] != 0; Index++) {
      if (Index != 0 && Index % 2 == 0) {
        Destination[Out++] = ':';
      }
      Destination[Out++] = Digits[Index];
    }
  }
  Destination[Out] = 0;
}

EFI_STATUS CheckClpBufferSpace(UINTN LengthUsed, UINTN LengthNeeded) {
  if (LengthUsed > CLP_BUFFER_BYTES || CLP_BUFFER_BYTES - LengthUsed < LengthNeeded) {
    return EFI_BUFFER_TOO_SMALL;
  }
  return EFI_SUCCESS;
}

// --- Values ------------------------------------------------------------------------------------

static UINT64 ReadByte(const UINT8 *Pointer) {
  return Pointer != nullptr ? *Pointer : 0;
}
static UINT64 ReadWord(const UINT16 *Pointer) {
  return Pointer != nullptr ? *Pointer : 0;
}

static UINT64 MaskedVlan(const UINT16 *Pointer) {
  return ReadWord(Pointer) & 0xFFF;
}

static CLP_VALUE Number(UINT64 Value) {
  return CLP_VALUE{Value, nullptr};
}
static CLP_VALUE Bytes(const void *Pointer) {
  return CLP_VALUE{0, (const UINT8 *)Pointer};
}

CLP_VALUE ResolveValue(UINT8 Source, const FUNCTION_SETTINGS *Function) {
  const NALO_ADDRESS_ENTRY *Address = mModule.Tables.mCurAddressEntry;
  const NALO_FUNCTION_ENTRY *Entry = mModule.Tables.mCurFunctionEntry;
  const NALO_BOOT_ENTRY *Boot = mModule.Tables.mCurBootEntry;

  switch (Source) {
  case SrcPortEnable:
    return Number(Function->PortEnable);
  case SrcBootEnable:
    return Number(Function->BootEnable);
  case SrcSriovEnabled:
    return Number(Function->SriovEnabled);
  case SrcMfgWwnnText:
    return Bytes(Function->MfgAddressText[1]);
  case SrcMfgWwpnText:
    return Bytes(Function->MfgAddressText[2]);
  case SrcCurrentMac:
    return Bytes(Function->CurrentAddress[0]);
  case SrcQLogicBootMode:
    if (Function->BootEnable != 1) {
      return Number(0);
    }
    return Number(RecordVidDid(Function) == VIDDID_QLOGIC_1656 ? 2 : 1);
  case SrcActiveLinkConfig:
    return Number(mModule.Discovered.mActiveLinkConfig);
  case SrcTargetPfCount:
    return Number(mModule.Discovered.mTargetPfCount);
  case SrcTargetPersonality:
    return Number(mModule.Discovered.mTargetPersonality);
  case SrcTargetUmc:
    return Number(mModule.Discovered.mTargetUmc);
  case SrcPfTypeOfSetIndex:
    return Number(mModule.Builder.mEmulexPfTypeSetIndex < PF_TYPE_TABLE_ENTRIES
                      ? mModule.Discovered.mPfTypeTable[mModule.Builder.mEmulexPfTypeSetIndex]
                      : PF_TYPE_TABLE_ENTRIES);
  case SrcMac:
    return Bytes(Address != nullptr ? Address->Mac : nullptr);
  case SrcWwnn:
    return Bytes(Address != nullptr ? Address->Wwnn : nullptr);
  case SrcWwpn:
    return Bytes(Address != nullptr ? Address->Wwpn : nullptr);
  case SrcMinBandwidth:
    return Number(ReadByte(Entry != nullptr ? Entry->MinBandwidthShare : nullptr));
  case SrcMaxBandwidth:
    return Number(ReadByte(Entry != nullptr ? Entry->MaxBandwidthShare : nullptr));
  case SrcFunctionVlanOr4095: {
    const UINT64 Vlan = MaskedVlan(Entry != nullptr ? Entry->FunctionVlanId : nullptr);
    return Number(Vlan == 0 ? VLAN_NONE : Vlan);
  }
  case SrcFunctionVlanPxe: {
    const UINT64 Vlan = MaskedVlan(Entry != nullptr ? Entry->FunctionVlanId : nullptr);
    return Number(Vlan == VLAN_NONE ? 0 : Vlan);
  }
  case SrcRoceMode:
    return Number(mModule.Tables.mNaloPortTable.Function[0].RoceMode);
  case SrcBootVlanOr4095: {
    const UINT64 Vlan = MaskedVlan(Boot != nullptr ? Boot->BootVlanId : nullptr);
    return Number(Vlan == 0 ? VLAN_NONE : Vlan);
  }
  case SrcBootVlan:
    return Number(MaskedVlan(Boot != nullptr ? Boot->BootVlanId : nullptr));
  case SrcPxeBootVlan:
    if (Function->BootEnableToApply != 1) {
      return Number(0);
    }
    return Number(MaskedVlan(Boot != nullptr ? Boot->BootVlanId : nullptr));
  default:
    break;
  }

  if (Source == SrcInitiatorName) {
    return Bytes(mModule.Tables.mNaloHeader.InitiatorName);
  }
  if (Boot == nullptr) {
    return CLP_VALUE{0, nullptr};
  }
  switch (Source) {
  case SrcTarget1Wwpn:
    return Bytes(Boot->Target1Wwpn);
  case SrcTarget2Wwpn:
    return Bytes(Boot->Target2Wwpn);
  case SrcTarget1Lun:
    return Bytes(Boot->Target1Lun);
  case SrcTarget2Lun:
    return Bytes(Boot->Target2Lun);
  case SrcFcLinkSpeed:
    return Bytes(Boot->FcLinkSpeed);
  case SrcFcTopology:
    return Bytes(Boot->FcTopology);
  case SrcInitiatorOrigin:
    return Number(ReadByte(Boot->InitiatorOrigin));
  case SrcInitiatorAddress:
    return Bytes(Boot->InitiatorAddress);
  case SrcInitiatorSubnetMask:
    return Bytes(Boot->InitiatorSubnetMask);
  case SrcInitiatorGateway:
    return Bytes(Boot->InitiatorGateway);
  case SrcTargetOrigin:
    return Number(ReadByte(Boot->TargetOrigin));
  case SrcTargetName:
    return Bytes(Boot->TargetName);
  case SrcTargetAddress:
    return Bytes(Boot->TargetAddress);
  case SrcTargetTcpPort:
    return Number(ReadWord(Boot->TargetTcpPort));
  case SrcTargetBootLun:
    return Number(ReadByte(Boot->TargetBootLun));
  case SrcAuthMethod:
    return Number(ReadByte(Boot->AuthMethod));
  case SrcChapUserName:
    return Bytes(Boot->ChapUserName);
  case SrcChapSecret:
    return Bytes(Boot->ChapSecret);
  case SrcMutualChapSecret:
    return Bytes(Boot->MutualChapSecret);
  default:
    return CLP_VALUE{0, nullptr};
  }
}

static const char *SelectWord(UINT8 List, UINT8 Rule, UINT64 Number) {
  if (List >= kWordListCount) {
    return "";
  }
  const CLP_WORDS *Words = &kWordTable.List[List];
  UINT64 Index;
  switch (Rule) {
  case IfOne:
    Index = Number == 1 ? 1 : 0;
    break;
  case IfNonZero:
    Index = Number != 0 ? 1 : 0;
    break;
  case IfUsableVlan:
    Index = Number != 0 && Number < VLAN_NONE ? 1 : 0;
    break;
  default:
    Index = Number < Words->Count ? Number : Words->Fallback;
    break;
  }
  const CHAR8 *Word = &kWordTable.Text[Words->First];
  for (; Index > 0; Index--) {
    while (*Word != 0) {
      Word++;
    }
    Word++;
  }
  return (const char *)Word;
}

// Copies a constant word behind the prefix if it fits.
static VOID AppendWord(CHAR8 *End, UINTN Used, const CHAR8 *Word) {
  const UINTN Length = AsciiStrLen(Word);
  if (CheckClpBufferSpace(Used, Length + 1) == EFI_SUCCESS) {
    for (UINTN Index = 0; Index <= Length; Index++) {
      End[Index] = Word[Index];
    }
  }
}

static VOID AppendTopology(CHAR8 *End, const CHAR8 *Topology) {
  static const struct {
    char From[3];
    char To[3];
  } kTopologies[] = {{"00", "02"}, {"04", "01"}, {"0C", "00"}};
  CHAR8 Text[3];
  CopyChars(Text, Topology, 2);
  const CHAR8 *Sent = Text;
  for (const auto &Topo : kTopologies) {
    if (AsciiStriCmp(Text, ASTR(Topo.From)) == 0) {
      Sent = ASTR(Topo.To);
      break;
    }
  }
  AsciiStrCpy(End, Sent);
}

// Bytes a value may write behind the prefix, terminator included (printed values are cut to
// the room left instead).
static UINTN ValueNeed(const CLP_ROW *Line) {
  switch (Line->Kind) {
  case ValHexBytes:
    return 2u * Line->Param + 1;
  case ValMacColons:
    return 18;
  case ValText:
  case ValTextUpper:
    return (UINTN)Line->Param + 1;
  case ValBounded:
    return Line->Param;
  case ValTextFromThird:
  case ValTopology:
    return 3;
  default:
    return 0;
  }
}

VOID AppendValue(const CLP_ROW *Line, const CLP_VALUE *Value) {
  CHAR8 *Buffer = mModule.Builder.ClpCommandBuffer;
  const UINTN Used = BoundedLength(Buffer, CLP_BUFFER_BYTES - 1);
  CHAR8 *End = Buffer + Used;
  const UINTN Room = CLP_BUFFER_BYTES - Used;
  const UINT8 *Data = Value->Bytes;
  const CHAR8 *Text = (const CHAR8 *)Data;

  if (CheckClpBufferSpace(Used, ValueNeed(Line)) != EFI_SUCCESS) {
    return;
  }
  const UINTN PrintRoom = Room < CLP_VALUE_CAPACITY ? Room : CLP_VALUE_CAPACITY;

  switch (Line->Kind) {
  case ValWord:
    AppendWord(End, Used, ASTR(SelectWord((UINT8)Line->Param, Line->Rule, Value->Number)));
    break;
  case ValTypeName:
    // A type number outside the table has no CLP word: the line goes out without a value and
    // the adapter's refusal is reported like any failed command.
    if (Value->Number < sizeof(mPfTypeNames) / sizeof(mPfTypeNames[0])) {
      AppendWord(End, Used, mPfTypeNames[Value->Number]);
    }
    break;
  case ValHexBytes:
    if (Data != nullptr) {
      HexEncodeBytes(Data, Line->Param, End);
    }
    break;
  case ValMacColons:
    if (Data != nullptr) {
      CHAR8 Digits[13];
      CHAR8 WithColons[18];
      HexEncodeBytes(Data, 6, Digits);
      FormatMacWithColons(WithColons, Digits);
      CopyCharsUpper(End, WithColons, 17);
    }
    break;
  case ValText:
    if (Text != nullptr) {
      CopyChars(End, Text, Line->Param);
    }
    break;
  case ValTextUpper:
    if (Text != nullptr) {
      CopyCharsUpper(End, Text, Line->Param);
    }
    break;
  case ValBounded:
    if (Text != nullptr && Line->Param != 0) {
      CopyBoundedText(End, Text, Line->Param);
      // A text as long as the bound would leave the command unterminated: cut it by one.
      if (BoundedLength(Text, Line->Param) == Line->Param) {
        End[Line->Param - 1] = 0;
      }
    }
    break;
  case ValNumber:
    if (Line->Param < sizeof(kNumberFormats) / sizeof(kNumberFormats[0])) {
      const CLP_NUMBER *Format = &kNumberFormats[Line->Param];
      AsciiSPrint(End, Format->Capacity < PrintRoom ? Format->Capacity : PrintRoom, Format->Format,
                  (UINT32)Value->Number);
    }
    break;
  case ValVlanHex:
    AsciiSPrint(End, PrintRoom, "%01x%02x", (UINT32)((Value->Number >> 8) & 0xFF),
                (UINT32)(Value->Number & 0xFF));
    break;
  case ValIpv4Hex:
    if (Data != nullptr) {
      AsciiSPrint(End, PrintRoom, "%02x%02x%02x%02x", (UINT32)Data[3], (UINT32)Data[2], (UINT32)Data[1],
                  (UINT32)Data[0]);
    }
    break;
  case ValIpv4Dec:
    if (Data != nullptr) {
      AsciiSPrint(End, PrintRoom, "%03d%03d%03d%03d", (UINT32)Data[3], (UINT32)Data[2], (UINT32)Data[1],
                  (UINT32)Data[0]);
    }
    break;
  case ValTextFromThird:
    if (Text != nullptr) {
      // A text shorter than two characters starts the copy at its own terminator.
      CopyChars(End, Text + BoundedLength(Text, 2), 2);
    }
    break;
  case ValTopology:
    if (Text != nullptr) {
      AppendTopology(End, Text);
    }
    break;
  default:
    break;
  }
}
