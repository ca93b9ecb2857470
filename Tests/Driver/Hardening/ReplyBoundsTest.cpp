// Replies and blocks as a careless or hostile adapter driver returns them: the CLP dialogue log
// sent to the management controller must stay inside the reply's length and must log the command
// this driver handed out, whatever the parameter block says afterwards.
#include <cstring>
#include <string>
#include <vector>

#include "Support/DriverTest.h"

namespace {

class ReplyBoundsTest : public DriverTest {
protected:
  void SetUp() override {
    DriverTest::SetUp();
    ASSERT_EQ(EFI_SUCCESS, LoadDriver());
    AdapterSpec Spec;
    Spec.VendorId = 0x8086;
    Spec.DeviceId = 0x1572;
    Spec.Bus = 4;
    Spec.PlatformFlags = PLATFORM_FLAG_MANAGED_MODE_ENABLED;
    Adapter = AddAdapter(Fw(), Spec);
  }

  // Query of Instance 0; returns the command text handed out.
  std::string QueryFirst() {
    UINTN Instance = 0;
    EXPECT_EQ(EFI_SUCCESS, Protocol->Query(Protocol, Adapter.Handle(0, 0), nullptr, &Instance, &Guid,
                                           reinterpret_cast<VOID **>(&Block), &Size));
    return Block != nullptr ? std::string(reinterpret_cast<const char *>(Block->CLPCommand)) : std::string();
  }

  void RespondFailed(CHAR8 *Reply, UINT32 Length) {
    Block->CLPReturnString = Reply;
    Block->CLPReturnStringLength = Length;
    Block->CLPCmdStatus = 2;
    Block->CLPErrorValue = 1;
    UINTN Instance = 0;
    EXPECT_EQ(EFI_SUCCESS, Protocol->Response(Protocol, Adapter.Handle(0, 0), nullptr, &Instance, Guid, Block,
                                              Size, EfiPlatformConfigurationActionNone));
  }

  // The text of every CLP log message sent over IPMI, concatenated (5 header bytes each).
  std::string LoggedText() {
    std::string Text;
    for (const fake::Event &E : Fw().EventsOf(fake::EventKind::Ipmi)) {
      if (E.Data.size() > 5) {
        Text.append(E.Data.begin() + 5, E.Data.end());
      }
    }
    return Text;
  }

  BuiltAdapter Adapter;
  EFI_GUID *Guid = nullptr;
  EFI_CONFIGURE_CLP_PARAMETER_BLK *Block = nullptr;
  UINTN Size = 0;
};

TEST_F(ReplyBoundsTest, LogOfAReplyOfManyMessagesStopsAtTheReplyLength) {
  ASSERT_FALSE(QueryFirst().empty());
  // 130 characters: three messages of 61, 61 and 8; the ninth character after them is not sent.
  std::vector<CHAR8> Memory(1000, '#');
  std::memset(Memory.data(), 'r', 130);
  Memory.back() = 0;
  RespondFailed(Memory.data(), 130);
  const std::string Logged = LoggedText();
  EXPECT_EQ(Logged.find('#'), std::string::npos) << "the log read past the reply";
  EXPECT_NE(Logged.find(std::string(130, 'r')), std::string::npos);
}

} // namespace
