// The transcript writer both the simulator and the firmware stand-in print through: names, string
// escaping and the exact text of each event shape, step and run end.
#include <string>

#include <gtest/gtest.h>

#include "Scenario/TranscriptWriter.h"

namespace {

struct Sink {
  std::string Text;
  void Put(char C) { Text += C; }
};

template <class Write> std::string Json(ptd::HighBytes High, const Write &WriteValue) {
  Sink Out;
  ptd::JsonWriter<Sink> Writer(Out, High);
  WriteValue(Writer);
  return Out.Text;
}

std::string EventJson(const ptd::EventFields &E) {
  return Json(ptd::HighBytes::Escape, [&](ptd::JsonWriter<Sink> &W) { ptd::WriteEvent(W, E); });
}

TEST(TranscriptNames, StatusAndActionNamesFallBackToTheirValue) {
  ptd::StatusText Status;
  EXPECT_STREQ(ptd::StatusName(EFI_SUCCESS, Status), "EFI_SUCCESS");
  EXPECT_STREQ(ptd::StatusName(EFI_NOT_FOUND, Status), "EFI_NOT_FOUND");
  EXPECT_STREQ(ptd::StatusName(EFI_INCOMPATIBLE_VERSION, Status), "EFI_INCOMPATIBLE_VERSION");
  EXPECT_STREQ(ptd::StatusName(0x8000000000000063ULL, Status), "0x8000000000000063");
  EXPECT_STREQ(ptd::StatusName(0x1234, Status), "0x0000000000001234");
  ptd::ActionText Action;
  EXPECT_STREQ(ptd::ActionName(0, Action), "None");
  EXPECT_STREQ(ptd::ActionName(2, Action), "RestartController");
  EXPECT_STREQ(ptd::ActionName(5, Action), "UnsupportedGuid");
  EXPECT_STREQ(ptd::ActionName(6, Action), "6");
  EXPECT_STREQ(ptd::ActionName(4294967295u, Action), "4294967295");
  EXPECT_STREQ(ptd::ResetTypeName(EfiResetWarm), "warm");
  EXPECT_STREQ(ptd::ResetTypeName(EfiResetShutdown), "shutdown");
  EXPECT_STREQ(ptd::ResetTypeName(static_cast<EFI_RESET_TYPE>(3)), "unknown");
}

TEST(TranscriptWriter, StringsEscapeControlBytesAndHighBytesOnlyWhenAsked) {
  const std::string Text = std::string("a\"b\\c\n\r\t\x01 \x1F~\x7F") + "\xE9";
  auto Write = [&](ptd::JsonWriter<Sink> &W) { W.String(Text.data(), Text.size()); };
  EXPECT_EQ(Json(ptd::HighBytes::Escape, Write), "\"a\\\"b\\\\c\\n\\r\\t\\u0001 \\u001F~\\u007F\\u00E9\"");
  EXPECT_EQ(Json(ptd::HighBytes::Raw, Write), "\"a\\\"b\\\\c\\n\\r\\t\\u0001 \\u001F~\x7F\xE9\"");
}

TEST(TranscriptWriter, MembersAndElementsAreSeparatedAtEveryDepth) {
  EXPECT_EQ(Json(ptd::HighBytes::Escape,
                 [](ptd::JsonWriter<Sink> &W) {
                   W.BeginObject();
                   W.Key("a");
                   W.Unsigned(0);
                   W.Key("b");
                   W.BeginArray();
                   W.Unsigned(18446744073709551615ULL);
                   W.BeginObject();
                   W.EndObject();
                   W.Null();
                   W.Bool(false);
                   W.EndArray();
                   W.Key("c");
                   W.BeginArray();
                   W.EndArray();
                   W.Key("d");
                   W.Bool(true);
                   W.EndObject();
                 }),
            "{\"a\":0,\"b\":[18446744073709551615,{},null,false],\"c\":[],\"d\":true}");
}

TEST(TranscriptWriter, EachEventKindHasItsShape) {
  static const UINT8 Request[] = {0x0A, 0x1B, 0xFF};
  static const EFI_GUID Caller = {
      0x12345678, 0x9ABC, 0xDEF0, {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}};
  static const CHAR8 Name[] = "ToolMode";
  static const CHAR8 Controller[] = "E200/p0/f1";
  using Fields = ptd::EventFields;
  struct Case {
    const char *What;
    void (*Fill)(Fields &E);
    const char *Expected;
  } Cases[] = {
      {"ipmi",
       [](Fields &E) {
         E = Fields{};
         E.Kind = ptd::EventKind::Ipmi;
         E.NetFn = 0x2E, E.Lun = 1, E.Command = 0xF5, E.CompletionCode = 0xC0, E.Data = Request,
         E.DataSize = 3;
       },
       R"({"kind":"ipmi","netFn":46,"lun":1,"command":245,"data":"0A1BFF","completionCode":192})"},
      {"ipmi without data",
       [](Fields &E) {
         E = Fields{};
         E.Kind = ptd::EventKind::Ipmi;
         E.NetFn = 6, E.Command = 1;
       },
       R"({"kind":"ipmi","netFn":6,"lun":0,"command":1,"data":"","completionCode":0})"},
      {"status code",
       [](Fields &E) {
         E = Fields{};
         E.Kind = ptd::EventKind::StatusCode;
         E.Type = 0x80000002, E.Value = 0x3051005, E.Instance = 7, E.CallerId = &Caller;
       },
       R"({"kind":"statusCode","type":"0x80000002","value":"0x03051005","instance":"0x00000007",)"
       R"("callerId":"12345678-9ABC-DEF0-0123-456789ABCDEF"})"},
      {"status code without caller",
       [](Fields &E) {
         E = Fields{};
         E.Kind = ptd::EventKind::StatusCode;
         E.Type = 2;
       },
       R"({"kind":"statusCode","type":"0x00000002","value":"0x00000000","instance":"0x00000000","callerId":""})"},
      {"set variable",
       [](Fields &E) {
         E = Fields{};
         E.Kind = ptd::EventKind::SetVariable;
         E.Text = Name, E.TextLength = 8, E.Attributes = 7, E.Data = Request, E.DataSize = 2;
       },
       R"({"kind":"setVariable","name":"ToolMode","attributes":7,"data":"0A1B"})"},
      {"console",
       [](Fields &E) {
         E = Fields{};
         E.Kind = ptd::EventKind::Console;
         E.Text = Name, E.TextLength = 4;
       },
       R"({"kind":"console","text":"Tool"})"},
      {"connect",
       [](Fields &E) {
         E = Fields{};
         E.Kind = ptd::EventKind::Connect;
         E.Status = EFI_NOT_FOUND;
       },
       R"({"kind":"connect","status":"EFI_NOT_FOUND"})"},
      {"disconnect",
       [](Fields &E) {
         E = Fields{};
         E.Kind = ptd::EventKind::Disconnect;
       },
       R"({"kind":"disconnect","status":"EFI_SUCCESS"})"},
      {"reset",
       [](Fields &E) {
         E = Fields{};
         E.Kind = ptd::EventKind::Reset;
         E.ResetType = EfiResetCold;
       },
       R"({"kind":"reset","type":"cold"})"},
      {"restart notification",
       [](Fields &E) {
         E = Fields{};
         E.Kind = ptd::EventKind::RestartNotification;
       },
       R"({"kind":"restartNotification"})"},
      {"start",
       [](Fields &E) {
         E = Fields{};
         E.Kind = ptd::EventKind::Start;
         E.Text = Controller, E.TextLength = 10, E.Run = 3;
       },
       R"({"kind":"start","controller":"E200/p0/f1","run":3})"},
  };
  for (const Case &C : Cases) {
    Fields E = {};
    C.Fill(E);
    EXPECT_EQ(EventJson(E), C.Expected) << C.What;
  }
}

TEST(TranscriptWriter, StepAndRunEndCarryTheirEventsInOrder) {
  const CHAR8 Command[] = "show fcport0 OEMELX_PortEnable";
  const CHAR8 Reply[] = "retdata=enabled";
  const ptd::StepFields Step = {12,   "EFI_SUCCESS",       Command,           30, Reply, 15, 2,
                                0xF7, "RestartController", ptd::ResetResponse};
  auto TwoEvents = [](ptd::JsonWriter<Sink> &W) {
    ptd::EventFields Event = {};
    Event.Kind = ptd::EventKind::RestartNotification;
    ptd::WriteEvent(W, Event);
    Event.Kind = ptd::EventKind::Reset;
    Event.ResetType = EfiResetWarm;
    ptd::WriteEvent(W, Event);
  };
  const std::string StepText =
      R"({"instance":12,"query":"EFI_SUCCESS","command":"show fcport0 OEMELX_PortEnable",)"
      R"("reply":"retdata=enabled","cmdStatus":2,"errorValue":247,"action":"RestartController",)"
      R"x("response":"(reset)","events":[{"kind":"restartNotification"},{"kind":"reset","type":"warm"}]})x";
  EXPECT_EQ(
      Json(ptd::HighBytes::Escape, [&](ptd::JsonWriter<Sink> &W) { ptd::WriteStep(W, Step, TwoEvents); }),
      StepText);
  const std::string EndText = R"({"instance":4,"query":"EFI_NOT_FOUND","events":[]})";
  auto NoEvents = [](ptd::JsonWriter<Sink> &) {};
  EXPECT_EQ(Json(ptd::HighBytes::Escape,
                 [&](ptd::JsonWriter<Sink> &W) { ptd::WriteRunEnd(W, 4, "EFI_NOT_FOUND", NoEvents); }),
            EndText);
}

} // namespace
