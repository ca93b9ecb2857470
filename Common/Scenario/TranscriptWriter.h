// The transcript's JSON: its key names, the shape of each event, of a step and of the end of a run.
// The host simulator and the firmware stand-in both write through this, so that the two transcripts
// can only differ where the platforms do. Freestanding: the writer puts characters into a sink of
// the caller's (a std::string on the host, the serial line buffer on firmware).
#pragma once

#include "Uefi.h"
#include "Scenario/TranscriptNames.h"

namespace ptd {

namespace key {
// Events
inline constexpr const char Kind[] = "kind";
inline constexpr const char NetFn[] = "netFn";
inline constexpr const char Lun[] = "lun";
inline constexpr const char Command[] = "command";
inline constexpr const char Data[] = "data";
inline constexpr const char CompletionCode[] = "completionCode";
inline constexpr const char Type[] = "type";
inline constexpr const char Value[] = "value";
inline constexpr const char Instance[] = "instance";
inline constexpr const char CallerId[] = "callerId";
inline constexpr const char Name[] = "name";
inline constexpr const char Attributes[] = "attributes";
inline constexpr const char Text[] = "text";
inline constexpr const char Status[] = "status";
inline constexpr const char Controller[] = "controller";
inline constexpr const char Run[] = "run";
// Steps and ends of runs
inline constexpr const char Query[] = "query";
inline constexpr const char Reply[] = "reply";
inline constexpr const char CmdStatus[] = "cmdStatus";
inline constexpr const char ErrorValue[] = "errorValue";
inline constexpr const char Action[] = "action";
inline constexpr const char Response[] = "response";
inline constexpr const char Events[] = "events";
// The whole transcript (host) and its lines (firmware)
inline constexpr const char Scenario[] = "scenario";
inline constexpr const char Load[] = "load";
inline constexpr const char LoadEvents[] = "loadEvents";
inline constexpr const char Boots[] = "boots";
inline constexpr const char Controllers[] = "controllers";
inline constexpr const char Runs[] = "runs";
inline constexpr const char Steps[] = "steps";
inline constexpr const char End[] = "end";
inline constexpr const char Nested[] = "nested";
inline constexpr const char Reset[] = "reset";
inline constexpr const char Records[] = "records";
inline constexpr const char Problems[] = "problems";
inline constexpr const char ExitStatus[] = "exitStatus";
inline constexpr const char Step[] = "step";
inline constexpr const char Problem[] = "problem";
inline constexpr const char ScenarioEnd[] = "scenarioEnd";
inline constexpr const char Done[] = "done";
inline constexpr const char Error[] = "error";
} // namespace key

// A step's Response text when a reset inside Response ended the boot before it returned.
inline constexpr const char ResetResponse[] = "(reset)";

// How string bytes above 0x7E are written: the host's strings are UTF-8 and go out as they are; the
// firmware's come from CHAR16 text cut to its low byte, taken as Latin-1 and escaped.
enum class HighBytes { Raw, Escape };

// Writes JSON into Sink, which needs `void Put(char)`. Separators between members and elements
// are put in by the writer; nesting deeper than MaxDepth is not supported.
template <class Sink> class JsonWriter {
public:
  JsonWriter(Sink &Out, HighBytes High) : Out(Out), High(High) {}

  void BeginObject() { Open('{'); }
  void EndObject() { Close('}'); }
  void BeginArray() { Open('['); }
  void EndArray() { Close(']'); }

  void Key(const char *Name) {
    Separate();
    Quoted(Name);
    Out.Put(':');
    AfterKey = true;
  }

  void Unsigned(UINT64 Value) {
    BeforeValue();
    char Digits[20];
    int Count = 0;
    do {
      Digits[Count++] = (char)('0' + Value % 10);
      Value /= 10;
    } while (Value != 0);
    while (Count > 0) {
      Out.Put(Digits[--Count]);
    }
  }

  void Bool(bool Value) {
    BeforeValue();
    Put(Value ? "true" : "false");
  }

  void Null() {
    BeforeValue();
    Put("null");
  }

  void String(const char *Text, UINTN Length) {
    BeforeValue();
    Out.Put('"');
    for (UINTN I = 0; I < Length; I++) {
      Escaped((UINT8)Text[I]);
    }
    Out.Put('"');
  }

  void String(const char *Text) {
    UINTN Length = 0;
    while (Text != nullptr && Text[Length] != 0) {
      Length++;
    }
    String(Text, Length);
  }

  void String(const CHAR8 *Text, UINTN Length) { String((const char *)Text, Length); }
  void String(const CHAR8 *Text) { String((const char *)Text); }

  // Bytes as one string of uppercase hexadecimal pairs.
  void HexBytes(const UINT8 *Data, UINTN Size) {
    BeforeValue();
    Out.Put('"');
    for (UINTN I = 0; I < Size; I++) {
      HexDigits(Data[I], 2);
    }
    Out.Put('"');
  }

  // "0x" and eight uppercase digits.
  void Hex32(UINT32 Value) {
    BeforeValue();
    Put("\"0x");
    HexDigits(Value, 8);
    Out.Put('"');
  }

  void Guid(const EFI_GUID &G) {
    BeforeValue();
    Out.Put('"');
    HexDigits(G.Data1, 8);
    Out.Put('-');
    HexDigits(G.Data2, 4);
    Out.Put('-');
    HexDigits(G.Data3, 4);
    Out.Put('-');
    HexDigits(G.Data4[0], 2);
    HexDigits(G.Data4[1], 2);
    Out.Put('-');
    for (int I = 2; I < 8; I++) {
      HexDigits(G.Data4[I], 2);
    }
    Out.Put('"');
  }

  void Status(EFI_STATUS Value) {
    StatusText Buffer;
    String(StatusName(Value, Buffer));
  }

  // A value that is already JSON text.
  void Json(const char *Text, UINTN Length) {
    BeforeValue();
    for (UINTN I = 0; I < Length; I++) {
      Out.Put(Text[I]);
    }
  }

private:
  static constexpr UINTN MaxDepth = 16;

  void Put(const char *Text) {
    for (; *Text != 0; Text++) {
      Out.Put(*Text);
    }
  }

  void HexDigits(UINT64 Value, int Digits) {
    static const char Hex[] = "0123456789ABCDEF";
    for (int Shift = (Digits - 1) * 4; Shift >= 0; Shift -= 4) {
      Out.Put(Hex[(Value >> Shift) & 15]);
    }
  }

  void Escaped(UINT8 C) {
    if (C == '"' || C == '\\') {
      Out.Put('\\');
      Out.Put((char)C);
    } else if (C == '\n') {
      Put("\\n");
    } else if (C == '\r') {
      Put("\\r");
    } else if (C == '\t') {
      Put("\\t");
    } else if (C < 0x20 || (C >= 0x7F && High == HighBytes::Escape)) {
      Put("\\u00");
      HexDigits(C, 2);
    } else {
      Out.Put((char)C);
    }
  }

  void Quoted(const char *Name) {
    Out.Put('"');
    Put(Name);
    Out.Put('"');
  }

  // A member's value follows its key directly; an element of an array after the first gets a comma.
  void Separate() {
    if (Depth > 0 && !First[Depth - 1]) {
      Out.Put(',');
    }
    if (Depth > 0) {
      First[Depth - 1] = false;
    }
  }

  void BeforeValue() {
    if (AfterKey) {
      AfterKey = false;
    } else {
      Separate();
    }
  }

  void Open(char C) {
    BeforeValue();
    Out.Put(C);
    if (Depth < MaxDepth) {
      First[Depth] = true;
    }
    Depth++;
  }

  void Close(char C) {
    if (Depth > 0) {
      Depth--;
    }
    Out.Put(C);
  }

  Sink &Out;
  HighBytes High;
  bool First[MaxDepth] = {};
  UINTN Depth = 0;
  bool AfterKey = false;
};

// One event as both platforms capture it; only the fields of its Kind are read.
struct EventFields {
  EventKind Kind;
  UINT8 NetFn, Lun, Command, CompletionCode; // ipmi
  const UINT8 *Data;                         // ipmi request bytes, setVariable data
  UINTN DataSize;
  UINT32 Type, Value, Instance; // statusCode
  const EFI_GUID *CallerId;     // statusCode; null: none was passed
  const CHAR8 *Text;            // setVariable name, console and debug text, start: controller
  UINTN TextLength;
  UINT32 Attributes;        // setVariable
  EFI_STATUS Status;        // disconnect, connect
  EFI_RESET_TYPE ResetType; // reset
  UINT64 Run;               // start: the nested run's number
};

template <class Sink> void WriteEvent(JsonWriter<Sink> &W, const EventFields &E) {
  W.BeginObject();
  W.Key(key::Kind);
  W.String(EventKindName(E.Kind));
  switch (E.Kind) {
  case EventKind::Ipmi:
    W.Key(key::NetFn);
    W.Unsigned(E.NetFn);
    W.Key(key::Lun);
    W.Unsigned(E.Lun);
    W.Key(key::Command);
    W.Unsigned(E.Command);
    W.Key(key::Data);
    W.HexBytes(E.Data, E.DataSize);
    W.Key(key::CompletionCode);
    W.Unsigned(E.CompletionCode);
    break;
  case EventKind::StatusCode:
    W.Key(key::Type);
    W.Hex32(E.Type);
    W.Key(key::Value);
    W.Hex32(E.Value);
    W.Key(key::Instance);
    W.Hex32(E.Instance);
    W.Key(key::CallerId);
    if (E.CallerId != nullptr) {
      W.Guid(*E.CallerId);
    } else {
      W.String("", 0);
    }
    break;
  case EventKind::SetVariable:
    W.Key(key::Name);
    W.String(E.Text, E.TextLength);
    W.Key(key::Attributes);
    W.Unsigned(E.Attributes);
    W.Key(key::Data);
    W.HexBytes(E.Data, E.DataSize);
    break;
  case EventKind::Console:
  case EventKind::Debug:
    W.Key(key::Text);
    W.String(E.Text, E.TextLength);
    break;
  case EventKind::Disconnect:
  case EventKind::Connect:
    W.Key(key::Status);
    W.Status(E.Status);
    break;
  case EventKind::Reset:
    W.Key(key::Type);
    W.String(ResetTypeName(E.ResetType));
    break;
  case EventKind::RestartNotification:
    break;
  case EventKind::Start:
    W.Key(key::Controller);
    W.String(E.Text, E.TextLength);
    W.Key(key::Run);
    W.Unsigned(E.Run);
    break;
  }
  W.EndObject();
}

// One Query and Response of a run. Query, Action and Response are names (see TranscriptNames.h);
// Response is ResetResponse when the boot ended inside it.
struct StepFields {
  UINT64 Instance;
  const char *Query;
  const CHAR8 *Command;
  UINTN CommandLength;
  const CHAR8 *Reply;
  UINTN ReplyLength;
  UINT8 CmdStatus, ErrorValue;
  const char *Action;
  const char *Response;
};

// WriteEvents(W) writes the step's events as the elements of an array.
template <class Sink, class EventWriter>
void WriteStep(JsonWriter<Sink> &W, const StepFields &S, const EventWriter &WriteEvents) {
  W.BeginObject();
  W.Key(key::Instance);
  W.Unsigned(S.Instance);
  W.Key(key::Query);
  W.String(S.Query);
  W.Key(key::Command);
  W.String(S.Command, S.CommandLength);
  W.Key(key::Reply);
  W.String(S.Reply, S.ReplyLength);
  W.Key(key::CmdStatus);
  W.Unsigned(S.CmdStatus);
  W.Key(key::ErrorValue);
  W.Unsigned(S.ErrorValue);
  W.Key(key::Action);
  W.String(S.Action);
  W.Key(key::Response);
  W.String(S.Response);
  W.Key(key::Events);
  W.BeginArray();
  WriteEvents(W);
  W.EndArray();
  W.EndObject();
}

// The end of a run: the Instance whose Query answered an error, that error, and its events.
template <class Sink, class EventWriter>
void WriteRunEnd(JsonWriter<Sink> &W, UINT64 Instance, const char *Query, const EventWriter &WriteEvents) {
  W.BeginObject();
  W.Key(key::Instance);
  W.Unsigned(Instance);
  W.Key(key::Query);
  W.String(Query);
  W.Key(key::Events);
  W.BeginArray();
  WriteEvents(W);
  W.EndArray();
  W.EndObject();
}

} // namespace ptd
