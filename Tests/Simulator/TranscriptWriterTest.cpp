// The transcript writer both the simulator and the firmware stand-in print through: names, string
// escaping and separators. The shapes of events, steps and run ends are held by the golden
// transcript and by the firmware cross-check, which compares both platforms' transcripts.
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

} // namespace
