// The builders' helpers and the guards against absent or oversized platform data.
#include "BuilderFixture.h"

TEST(BuilderHelpers, HexEncodeBytes) {
  const UINT8 Mac[] = {0x00, 0x1B, 0x21, 0x0A, 0xFF, 0x3C};
  CHAR8 Text[16];
  memset(Text, 'X', sizeof(Text));
  HexEncodeBytes(Mac, 6, Text);
  EXPECT_STREQ((char *)Text, "001B210AFF3C");
  HexEncodeBytes(Mac, 6, nullptr); // no destination: nothing happens
}

TEST(BuilderHelpers, CopyBoundedTextPadsWithoutTerminatingAFullBound) {
  CHAR8 Out[24];
  memset(Out, 'X', sizeof(Out));
  CopyBoundedText(Out, (const CHAR8 *)"abcde", 17);
  EXPECT_EQ(std::string((char *)Out, 5), "abcde");
  for (int Index = 5; Index < 17; Index++) {
    EXPECT_EQ(Out[Index], 0) << Index;
  }
  EXPECT_EQ(Out[17], 'X');

  memset(Out, 'X', sizeof(Out));
  CopyBoundedText(Out, (const CHAR8 *)"0123456789", 4);
  EXPECT_EQ(std::string((char *)Out, 5), "0123X");

  memset(Out, 'X', sizeof(Out));
  CopyBoundedText(Out, nullptr, 4);
  EXPECT_EQ(Out[0], 0);
  EXPECT_EQ(Out[1], 'X');
}

TEST(BuilderHelpers, FormatMacWithColons) {
  CHAR8 Out[20];
  FormatMacWithColons(Out, (const CHAR8 *)"021122ABCDEF");
  EXPECT_STREQ((char *)Out, "02:11:22:AB:CD:EF");
  FormatMacWithColons(Out, (const CHAR8 *)"0211");
  EXPECT_STREQ((char *)Out, "02:11");
}

TEST(BuilderHelpers, CheckClpBufferSpace) {
  EXPECT_EQ(CheckClpBufferSpace(1016, 8), EFI_SUCCESS);
  EXPECT_EQ(CheckClpBufferSpace(1017, 8), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(CheckClpBufferSpace(2000, 0), EFI_BUFFER_TOO_SMALL);
}

TEST(BuilderHelpers, PfTypeNames) {
  const char *Expected[] = {"NIC", "FC", "FCoE", "iSCSI", "IB", "UNKNOWN", "RoCE", "Disable"};
  for (int Index = 0; Index < 8; Index++) {
    EXPECT_STREQ((const char *)mPfTypeNames[Index], Expected[Index]);
  }
  for (int Index = 0; Index < 16; Index++) {
    EXPECT_EQ(mPfIndexTable[Index], (UINT64)Index);
  }
}

// Secrets and names as long as their bound or longer still leave a terminated command: the value
// is cut to the bound minus one.
TEST_F(BuilderTest, BoundedValuesStayTerminated) {
  const struct {
    CLP_BUILDER Builder;
    UINT64 Code;
    char *Field;
    size_t Length;
    const char *Prefix;
    size_t Sent;
  } Cases[] = {
      {BuildDefaultClpCommand, 42, E.ChapSecret, 17, "set port0/pf0/target0 OEMVDR_ChapSecret=", 16},
      {BuildDefaultClpCommand, 43, E.MutualSecret, 40,
       "set port0/pf0/target0 OEMVDR_InitiatorChapSecret=", 16},
      {BuildDefaultClpCommand, 31, E.InitiatorName, 300, "set port0/pf0 OEMVDR_InitiatorIscsiName=", 223},
      {BuildEmulex0720ClpCommand, 41, E.ChapUser, 128, "set port0/pf0 OEMELX_ChapName[0]=", 127},
      {BuildEmulex0720ClpCommand, 36, E.TargetName, 224, "set port0/pf0 OEMELX_TargetIscsiName[0]=", 223},
  };
  for (const auto &C : Cases) {
    SetUp();
    E.Function.VendorId = 0x19A2;
    memset(C.Field, 'k', C.Length);
    C.Field[C.Length] = 0;
    BOOLEAN Parse = FALSE;
    EXPECT_EQ(Build(C.Builder, C.Code, &Parse), EFI_SUCCESS);
    EXPECT_EQ(Command(), std::string(C.Prefix) + std::string(C.Sent, 'k')) << C.Prefix;
  }
}

// NULL entries and NULL pointers inside entries are absent values: empty text or bytes, 0 for
// numbers; nothing is read through them.
TEST_F(BuilderTest, AbsentPlatformValues) {
  const struct {
    CLP_BUILDER Builder;
    UINT64 Code;
    const char *Expected;
  } Cases[] = {
      {BuildDefaultClpCommand, 14, "set port0/pf1 OEMVDR_PfMAC="},
      {BuildDefaultClpCommand, 17, "set port0/pf1 OEMVDR_WWNN="},
      {BuildDefaultClpCommand, 21, "set port0/pf1 OEMVDR_PfVLANID=FFF"},
      {BuildDefaultClpCommand, 22, "set port0/pf1 OEMVDR_PfBandwidth=00"},
      {BuildDefaultClpCommand, 24, "set port0/pf1/target0 OEMVDR_TargetWWPN="},
      {BuildDefaultClpCommand, 30, "set port0/pf1 OEMVDR_InitiatorAddressOrigin=DHCP"},
      {BuildDefaultClpCommand, 31, "set port0/pf1 OEMVDR_InitiatorIscsiName="},
      {BuildDefaultClpCommand, 32, "set port0/pf1 OEMVDR_IPv4InitiatorAddress="},
      {BuildDefaultClpCommand, 38, "set port0/pf1/target0 OEMVDR_TcpPort=0000"},
      {BuildDefaultClpCommand, 42, "set port0/pf1/target0 OEMVDR_ChapSecret="},
      {BuildEmulex0720ClpCommand, 37, "set port0/pf1 OEMELX_IPv4TargetAddress[0]="},
      {BuildEmulex0720ClpCommand, 53, "set port0/pf1 OEMELX_PXEVlanID=0000"},
      {BuildMellanox1013ClpCommand, 21, "set netport1 VlanID=4095"},
      {BuildMellanox1013ClpCommand, 14, "set netport1 MAC="},
      {BuildQLogic8070ClpCommand, 53, ""},
  };
  for (int Variant = 0; Variant < 2; Variant++) {
    for (const auto &C : Cases) {
      SetUp();
      E.Function.VendorId = 0x19A2;
      mModule.mNaloHeader.InitiatorName = nullptr;
      if (Variant == 0) {
        mModule.mCurAddressEntry = nullptr;
        mModule.mCurFunctionEntry = nullptr;
        mModule.mCurBootEntry = nullptr;
      } else {
        memset(&mModule.mNaloAddressTable[0], 0, sizeof(NALO_ADDRESS_ENTRY));
        memset(&mModule.mNaloPortTable.Function[0], 0, sizeof(NALO_FUNCTION_ENTRY));
        memset(&mModule.mNaloBootTable[0], 0, sizeof(NALO_BOOT_ENTRY));
      }
      E.Function.PfIndex = 1;
      BOOLEAN Parse = FALSE;
      EXPECT_EQ(Build(C.Builder, C.Code, &Parse), EFI_SUCCESS) << C.Expected;
      EXPECT_EQ(Command(), C.Expected) << "variant " << Variant;
    }
  }
}

TEST_F(BuilderTest, MissingRecordOrParseFlag) {
  BOOLEAN Parse = FALSE;
  memset(mModule.ClpCommandBuffer, 'X', CLP_COMMAND_BUFFER_SIZE);
  // Without a record there is no vendor, hence no line: the empty command, parse flag as the code says.
  EXPECT_EQ(BuildDefaultClpCommand(&E.Adapter, nullptr, SHOW_PF_INFO, &Parse), EFI_SUCCESS);
  EXPECT_EQ(Command(), "");
  EXPECT_TRUE(Parse);
  EXPECT_EQ(BuildQLogic8070ClpCommand(nullptr, &E.Function, SHOW_VERSION, nullptr), EFI_SUCCESS);
  EXPECT_EQ(BuildEmulex0720ClpCommand(nullptr, nullptr, END, nullptr), EFI_NOT_FOUND);
}
