// Shared machinery of the CLP command builders.
//
// Every dialect is a constant table of CLP_LINE rows, one row per command line the dialect can
// write. A row names the code, how the prefix is produced (a template whose placeholder digits are
// patched, or a print format with numeric arguments), where the value comes from, how it is
// encoded, which planning-state value remembers what was sent, and whether the reply is parsed.
// RunClpLine() is the one interpreter of a row; the per-family builders are small frames around it
// (digit preparation, "exit", unknown codes).
//
// Rows are written with the constexpr helpers below, for example
//   Fmt(SET_PF_TAR_WWPN1, "set fcport%d OEMELX_TargetWWPN[%d]=", ArgPort, ArgZero).Text(SrcTarget1Wwpn, 16)
// so that one row reads like one line of the dialect's description.
#ifndef DRIVER_BUILDERS_BUILDER_COMMON_H_
#define DRIVER_BUILDERS_BUILDER_COMMON_H_

#include "Builders.h"

#define CLP_BUFFER_BYTES CLP_COMMAND_BUFFER_SIZE
// Capacity used to print a value behind its prefix.
#define CLP_VALUE_CAPACITY 256

// How the prefix of a line is produced.
enum CLP_LINE_FORM : UINT8 {
  LineTemplate, // copied, then the placeholder digits named by Digits are patched
  LineFormat,   // printed with AsciiSPrint and the Args
};

// Placeholder digits of a template (bit mask).
enum CLP_DIGIT : UINT8 {
  DigitNone = 0,
  DigitPort = 0x01,   // the digit after "port"
  DigitPf = 0x02,     // the digit after "/pf" or ".pf"
  DigitTarget = 0x04, // the digit after "target"
  DigitIndex = 0x08,  // the digit inside a closing "[0]="
};

// Numeric arguments of a format line.
enum CLP_ARG : UINT8 {
  ArgNone,
  ArgPort,             // PortIndex
  ArgPortPlus1,        // PortIndex + 1
  ArgPf,               // PfIndex
  ArgPfPlus1,          // PfIndex + 1
  ArgZero,             // boot target index 0
  ArgOne,              // boot target index 1
  ArgValue,            // the number of the row's value source
  ArgPfTypePfNumber,   // mPfTypePfNumber[mEmulexPfTypeSetIndex]
  ArgNextPfIndexPlus1, // mPfIndexTable[mPfTypeCount] + 1
};

// Where a row's value comes from. Sources that read through a platform pointer yield "absent"
// (no text, no bytes, the number 0) when the pointer or the entry is NULL.
enum CLP_SOURCE : UINT8 {
  SrcNone,
  // FUNCTION_SETTINGS entry of the Instance
  SrcPortEnable,
  SrcBootEnable,
  SrcSriovEnabled,
  SrcMfgWwnnText,    // slot 1 of MfgAddressText
  SrcMfgWwpnText,    // slot 2 of MfgAddressText
  SrcCurrentMac,     // slot 0 of CurrentAddress, 6 bytes
  SrcQLogicBootMode, // 0 BootEnable not 1, 1 enabled, 2 enabled on 1077:1656
  // discovered and planning state
  SrcActiveLinkConfig,
  SrcTargetPfCount,
  SrcTargetPersonality,
  SrcTargetUmc,
  SrcPfTypeOfSetIndex, // mPfTypeTable[mEmulexPfTypeSetIndex]
  // mCurAddressEntry
  SrcMac,
  SrcWwnn,
  SrcWwpn,
  // mCurFunctionEntry and function entry 0 of the port table
  SrcMinBandwidth,
  SrcMaxBandwidth,
  SrcFunctionVlanOr4095, // FunctionVlanId AND 0xFFF, 0 sent as 4095
  SrcFunctionVlanPxe,    // FunctionVlanId AND 0xFFF, 4095 sent as 0
  SrcRoceMode,
  // mCurBootEntry
  SrcBootVlanOr4095, // BootVlanId AND 0xFFF, 0 sent as 4095
  SrcBootVlan,       // BootVlanId AND 0xFFF
  SrcPxeBootVlan,    // BootVlanId AND 0xFFF when BootEnableToApply is 1, else 0
  SrcTarget1Wwpn,
  SrcTarget2Wwpn,
  SrcTarget1Lun,
  SrcTarget2Lun,
  SrcFcLinkSpeed,
  SrcFcTopology,
  SrcInitiatorOrigin,
  SrcInitiatorAddress,
  SrcInitiatorSubnetMask,
  SrcInitiatorGateway,
  SrcTargetOrigin,
  SrcTargetName,
  SrcTargetAddress,
  SrcTargetTcpPort,
  SrcTargetBootLun,
  SrcAuthMethod,
  SrcChapUserName,
  SrcChapSecret,
  SrcMutualChapSecret,
  // mNaloHeader
  SrcInitiatorName,
};

// How the value is written behind the prefix.
enum CLP_VALUE_KIND : UINT8 {
  ValNone,
  ValWord,          // a word of a CLP_WORD_LIST chosen by a CLP_WORD_RULE
  ValTypeName,      // mPfTypeNames word of the number; nothing for a number of 8 or more
  ValHexBytes,      // HexEncodeBytes of Param bytes
  ValMacColons,     // HexEncodeBytes, FormatMacWithColons, CopyCharsUpper n = 17
  ValText,          // CopyChars, n = Param
  ValTextUpper,     // CopyCharsUpper, n = Param
  ValBounded,       // CopyBoundedText, bound = Param; a longer text is cut to Param - 1
  ValNumber,        // AsciiSPrint with the CLP_NUMBER_FORMAT Param
  ValVlanHex,       // "%01x%02x" of the high and the low byte
  ValIpv4Hex,       // "%02x%02x%02x%02x" from the fourth stored byte to the first
  ValIpv4Dec,       // "%03d%03d%03d%03d" from the fourth stored byte to the first
  ValTextFromThird, // at most 2 characters from the third one (never past the end of the text)
  ValTopology,      // first two characters, "00"/"04"/"0C" converted to "02"/"01"/"00"
};

enum CLP_NUMBER_FORMAT : UINT8 {
  NumHex2,     // "%02x"
  NumHex2Cap3, // "%02x", capacity 3
  NumHex4,     // "%04x"
  NumDec4,     // "%04d"
  NumDec5,     // "%05d"
};

enum CLP_WORD_LIST : UINT8 {
  WordsLowerShort,   // "disable" / "enabled"
  WordsCapitalShort, // "Disable" / "Enable"
  WordsCapital,      // "Disabled" / "Enabled"
  WordsLower,        // "disabled" / "enabled"
  WordsOrigin,       // "DHCP" / "static"
  WordsOriginIpv4,   // "DHCP_ipv4" / "static_ipv4"
  WordsAuthMethod,   // "none" / "CHAP" / "mutualCHAP"
  WordsMode,         // "10G" / "1G"
  WordsLinkConfig,   // "ELX_2x10G" / "ELX_4x1G" / "ELX_1x40G" / "ELX_4x10G"
  WordsRoceProfile,  // "RoCE-2" / "RoCE-1"
  WordsBootMode,     // "Disabled" / "UNDI" / "Ethernet"
};

// Which word of the list a number selects.
enum CLP_WORD_RULE : UINT8 {
  IfOne,        // word 1 when the number is 1, else word 0
  IfNonZero,    // word 1 when the number is not 0, else word 0
  IfUsableVlan, // word 1 when 0 < number < 4095, else word 0
  ByIndex,      // word n when the list has one, else word 2 (ELX_1x40G) or word 0
};

// Row applies only when (first matching row of a code wins).
enum CLP_CONDITION : UINT8 {
  CondAlways,
  CondPartitioned,         // mCurrentUmc is 1
  CondUsableVlan,          // 0 < source number < 4095
  CondPfTypeSetIndexValid, // mEmulexPfTypeSetIndex < 16
  CondPfTypeCountValid,    // mPfTypeCount < 16
};

// Planning-state value that remembers what a line sent.
enum CLP_STORE : UINT8 {
  StoreNone,
  StorePortEnable, // mTargetPortEnable := the entry's PortEnable
  StoreBootEnable, // mTargetBootEnable := the entry's BootEnable
  StoreVlan,       // mTargetVlanId := the value's number
  StoreBandwidth,  // mTargetBandwidth := the value's number
  StoreRateLimit,  // mTargetRateLimit := the value's number
  StorePfTypeSet,  // mTargetPfTypeWork, then mEmulexPfTypeSetIndex + 1
  StorePxeVlan,    // mTargetBootEnable := BootEnableToApply, mTargetVlanId
};

struct CLP_LINE {
  UINT32 Code;
  UINT8 Condition;
  UINT8 Form;
  const char *Prefix; // template or print format
  UINT8 Digits;
  CHAR8 TargetDigit; // 0: mClpTargetDigit stays as prepared
  UINT8 Args[3];
  UINT8 Source;
  UINT8 Kind;
  UINT16 Param;
  UINT8 Rule;
  UINT8 Store;
  UINT8 Space; // bytes the value needs (CheckClpBufferSpace); 0: no such check for this dialect
  BOOLEAN ParseReply;

  constexpr CLP_LINE When(CLP_CONDITION C) const {
    CLP_LINE L = *this;
    L.Condition = C;
    return L;
  }
  constexpr CLP_LINE Target(char Digit) const {
    CLP_LINE L = *this;
    L.TargetDigit = (CHAR8)Digit;
    return L;
  }
  constexpr CLP_LINE From(CLP_SOURCE S) const {
    CLP_LINE L = *this;
    L.Source = S;
    return L;
  }
  constexpr CLP_LINE Value(CLP_SOURCE S, CLP_VALUE_KIND K, UINT16 P = 0) const {
    CLP_LINE L = *this;
    L.Source = S;
    L.Kind = K;
    L.Param = P;
    return L;
  }
  constexpr CLP_LINE Word(CLP_SOURCE S, CLP_WORD_LIST W, CLP_WORD_RULE R) const {
    CLP_LINE L = Value(S, ValWord, W);
    L.Rule = R;
    return L;
  }
  constexpr CLP_LINE TypeName(CLP_SOURCE S) const { return Value(S, ValTypeName); }
  constexpr CLP_LINE Hex(CLP_SOURCE S) const { return Value(S, ValHexBytes, 6); }
  constexpr CLP_LINE MacColons(CLP_SOURCE S) const { return Value(S, ValMacColons); }
  constexpr CLP_LINE Text(CLP_SOURCE S, UINT16 N) const { return Value(S, ValText, N); }
  constexpr CLP_LINE Upper(CLP_SOURCE S, UINT16 N) const { return Value(S, ValTextUpper, N); }
  constexpr CLP_LINE Bounded(CLP_SOURCE S, UINT16 Bound) const { return Value(S, ValBounded, Bound); }
  constexpr CLP_LINE Number(CLP_SOURCE S, CLP_NUMBER_FORMAT F) const { return Value(S, ValNumber, F); }
  constexpr CLP_LINE Vlan(CLP_SOURCE S) const { return Value(S, ValVlanHex); }
  constexpr CLP_LINE Ipv4Hex(CLP_SOURCE S) const { return Value(S, ValIpv4Hex); }
  constexpr CLP_LINE Ipv4Dec(CLP_SOURCE S) const { return Value(S, ValIpv4Dec); }
  constexpr CLP_LINE FromThirdChar(CLP_SOURCE S) const { return Value(S, ValTextFromThird); }
  constexpr CLP_LINE Topology(CLP_SOURCE S) const { return Value(S, ValTopology); }
  constexpr CLP_LINE Keep(CLP_STORE S) const {
    CLP_LINE L = *this;
    L.Store = S;
    return L;
  }
  constexpr CLP_LINE Needs(UINT8 N) const {
    CLP_LINE L = *this;
    L.Space = N;
    return L;
  }
  constexpr CLP_LINE Parse() const {
    CLP_LINE L = *this;
    L.ParseReply = TRUE;
    return L;
  }
};

// A template line; Digits names the placeholders patched.
constexpr CLP_LINE Tpl(UINT32 Code, const char *Text, UINT8 Digits = DigitNone) {
  return CLP_LINE{
      Code,    CondAlways, LineTemplate, Text,      Digits, 0,    {ArgNone, ArgNone, ArgNone}, SrcNone,
      ValNone, 0,          IfOne,        StoreNone, 0,      FALSE};
}

// A format line printed with up to three numeric arguments.
constexpr CLP_LINE Fmt(UINT32 Code, const char *Text, CLP_ARG A0 = ArgNone, CLP_ARG A1 = ArgNone,
                       CLP_ARG A2 = ArgNone) {
  return CLP_LINE{Code,    CondAlways, LineFormat, Text,  DigitNone, 0, {A0, A1, A2},
                  SrcNone, ValNone,    0,          IfOne, StoreNone, 0, FALSE};
}

// A row as the image stores it: the CLP_LINE with its prefix as an offset into the text pool of
// its dialect, so that the tables hold no pointers (each would cost a load-time relocation), and
// its small fields packed into bits: 10 bytes a row.
struct CLP_ROW {
  UINT16 Prefix; // offset of the template or print format in the dialect's text pool
  UINT8 Param;
  UINT8 Code; // codes above 255 have no line
  UINT16 Arg0 : 4, Arg1 : 4, Arg2 : 4, Form : 1, Rule : 2, ParseReply : 1;
  UINT16 Source : 6, Kind : 4, Store : 3, Condition : 3;
  UINT16 Digits : 4, TargetDigit : 2, Space : 5; // TargetDigit: 0 keep, else '0' + TargetDigit - 1
};
static_assert(sizeof(CLP_ROW) == 10, "CLP_ROW is packed into 10 bytes");

// Called only when a row does not fit CLP_ROW: not constexpr, so packing such a row fails to
// compile.
VOID ClpLineDoesNotFit(VOID);

// Called only when the lines of a dialect are not in code order; packing such a table fails to
// compile the same way.
VOID ClpLinesOutOfOrder(VOID);

// A dialect as stored: this head (row count and format capacity), then its rows ordered by code,
// then the texts they name, each text once (CLP_TABLE). The builders hand around the address of
// the head, which code takes directly; a descriptor holding the addresses of rows and texts
// would need load-time relocations.
struct CLP_DIALECT {
  UINT16 Count;
  UINT16 FormatCapacity; // capacity of a format line printed into the whole buffer
};

template <UINTN RowCount, UINTN PoolBytes> struct CLP_TABLE {
  CLP_DIALECT Dialect;
  CLP_ROW Rows[RowCount];
  CHAR8 Pool[PoolBytes];
};

inline const CLP_ROW *ClpRows(const CLP_DIALECT *Dialect) {
  return (const CLP_ROW *)(Dialect + 1);
}

inline const CHAR8 *ClpPool(const CLP_DIALECT *Dialect) {
  return (const CHAR8 *)(ClpRows(Dialect) + Dialect->Count);
}

constexpr UINTN ClpTextBytes(const char *Text) {
  UINTN Length = 0;
  while (Text[Length] != 0) {
    Length++;
  }
  return Length + 1;
}

constexpr BOOLEAN ClpTextsEqual(const char *A, const char *B) {
  UINTN Index = 0;
  while (A[Index] != 0 && A[Index] == B[Index]) {
    Index++;
  }
  return A[Index] == B[Index];
}

// Index of the first line before Index with the same prefix as line Index (Index itself if none).
template <UINTN N> constexpr UINTN ClpFirstWithPrefix(const CLP_LINE (&Lines)[N], UINTN Index) {
  for (UINTN Earlier = 0; Earlier < Index; Earlier++) {
    if (ClpTextsEqual(Lines[Earlier].Prefix, Lines[Index].Prefix)) {
      return Earlier;
    }
  }
  return Index;
}

template <UINTN N> constexpr UINTN ClpPoolBytes(const CLP_LINE (&Lines)[N]) {
  UINTN Total = 0;
  for (UINTN Index = 0; Index < N; Index++) {
    if (ClpFirstWithPrefix(Lines, Index) == Index) {
      Total += ClpTextBytes(Lines[Index].Prefix);
    }
  }
  return Total;
}

// Turns the readable lines into the stored table; evaluated by the compiler only.
template <UINTN PoolBytes, UINTN N>
constexpr CLP_TABLE<N, PoolBytes> PackClpLines(const CLP_LINE (&Lines)[N], UINT16 FormatCapacity) {
  static_assert(PoolBytes <= 0xFFFF, "a dialect's texts must be reachable with 16-bit offsets");
  static_assert(N <= 0xFFFF, "a dialect's rows are counted in 16 bits");
  static_assert(__builtin_offsetof(CLP_TABLE<N, PoolBytes>, Rows) == sizeof(CLP_DIALECT) &&
                    __builtin_offsetof(CLP_TABLE<N, PoolBytes>, Pool) ==
                        sizeof(CLP_DIALECT) + N * sizeof(CLP_ROW),
                "the rows follow the head and the texts follow the rows");
  CLP_TABLE<N, PoolBytes> Table{};
  Table.Dialect.Count = (UINT16)N;
  Table.Dialect.FormatCapacity = FormatCapacity;
  UINTN Used = 0;
  for (UINTN Index = 0; Index < N; Index++) {
    const CLP_LINE &Line = Lines[Index];
    CLP_ROW &Row = Table.Rows[Index];
    const UINTN First = ClpFirstWithPrefix(Lines, Index);
    if (First == Index) {
      Row.Prefix = (UINT16)Used;
      for (UINTN Char = 0; Char < ClpTextBytes(Line.Prefix); Char++) {
        Table.Pool[Used++] = (CHAR8)Line.Prefix[Char];
      }
    } else {
      Row.Prefix = Table.Rows[First].Prefix;
    }
    Row.Param = (UINT8)Line.Param;
    Row.Code = (UINT8)Line.Code;
    Row.Arg0 = Line.Args[0];
    Row.Arg1 = Line.Args[1];
    Row.Arg2 = Line.Args[2];
    Row.Form = Line.Form;
    Row.Rule = Line.Rule;
    Row.ParseReply = Line.ParseReply ? 1 : 0;
    Row.Source = Line.Source;
    Row.Kind = Line.Kind;
    Row.Store = Line.Store;
    Row.Condition = Line.Condition;
    Row.Digits = Line.Digits;
    Row.TargetDigit = Line.TargetDigit != 0 ? (UINT8)(Line.TargetDigit - '0' + 1) : 0;
    Row.Space = Line.Space;
    // A value too large for its field would be cut without a word: the row must read back as the
    // line it was packed from.
    if (Row.Param != Line.Param || Row.Code != Line.Code || Row.Arg0 != Line.Args[0] ||
        Row.Arg1 != Line.Args[1] || Row.Arg2 != Line.Args[2] || Row.Form != Line.Form ||
        Row.Rule != Line.Rule || Row.Source != Line.Source || Row.Kind != Line.Kind ||
        Row.Store != Line.Store || Row.Condition != Line.Condition || Row.Digits != Line.Digits ||
        Row.Space != Line.Space ||
        (Line.TargetDigit != 0 && (Row.TargetDigit == 0 || Row.TargetDigit != Line.TargetDigit - '0' + 1))) {
      ClpLineDoesNotFit();
    }
  }
  // Lines are written in code order, the lines of one code in the order their conditions are
  // tried, so that a lookup can search instead of scanning the table.
  for (UINTN Index = 1; Index < N; Index++) {
    if (Table.Rows[Index - 1].Code > Table.Rows[Index].Code) {
      ClpLinesOutOfOrder();
    }
  }
  return Table;
}

// Packs a constexpr array of CLP_LINE rows into a constexpr CLP_TABLE named Table; its dialect is
// &Table.Dialect.
#define CLP_PACKED_TABLE(Table, Lines, FormatCapacity)                                                       \
  static constexpr auto Table = PackClpLines<ClpPoolBytes(Lines)>(Lines, FormatCapacity)

// How a builder prepares the digit characters before anything else.
enum CLP_DIGIT_MODE : UINT8 {
  DigitsUnused, // the buffer is only made empty
  DigitsFromZero,
  DigitsFromOne,
};

// What a builder does with an unknown code besides setting ConfigDone.
enum CLP_UNKNOWN_RULE : UINT8 {
  UnknownKeepsReconfigure,
  UnknownClearsReconfigure,
};

VOID PrepareClpDigits(const FUNCTION_SETTINGS *Function, CLP_DIGIT_MODE Mode);

// A resolved value (BuilderCommon.cpp): a number, or bytes/text (NULL when the platform supplied none).
struct CLP_VALUE {
  UINT64 Number;
  const UINT8 *Bytes;
};
CLP_VALUE ResolveValue(UINT8 Source, const FUNCTION_SETTINGS *Function);
// Writes the value behind the prefix already in ClpCommandBuffer, as the row's conversion says.
VOID AppendValue(const CLP_ROW *Line, const CLP_VALUE *Value);

// First row of Dialect for Code whose condition holds, or NULL. Codes above 255 never match.
const CLP_ROW *FindClpLine(const CLP_DIALECT *Dialect, UINT64 Code, const FUNCTION_SETTINGS *Function);

// Writes the row of Dialect into ClpCommandBuffer (after making it empty), performs its store and
// sets the parse flag when the row says so. Returns EFI_BUFFER_TOO_SMALL (and leaves the buffer
// empty) only when the row has a Space and CheckClpBufferSpace refuses it.
EFI_STATUS RunClpLine(const CLP_DIALECT *Dialect, const CLP_ROW *Line, const FUNCTION_SETTINGS *Function,
                      BOOLEAN *ParseResponse);

VOID WriteClpExit(VOID);
EFI_STATUS RefuseClpCode(ADAPTER_SETTINGS *Adapter, CLP_UNKNOWN_RULE Rule);

// The frame shared by the builders that have one dialect table: digits, EXIT, the table, unknown
// codes.
EFI_STATUS BuildFromDialect(const CLP_DIALECT *Dialect, CLP_DIGIT_MODE DigitMode,
                            CLP_UNKNOWN_RULE UnknownRule, ADAPTER_SETTINGS *Adapter,
                            const FUNCTION_SETTINGS *Function, UINT64 Code, BOOLEAN *ParseResponse);

// A record to read from when the dispatcher hands over no FUNCTION_SETTINGS: every field absent.
const FUNCTION_SETTINGS *ClpFunctionOrAbsent(const FUNCTION_SETTINGS *Function);

#endif
