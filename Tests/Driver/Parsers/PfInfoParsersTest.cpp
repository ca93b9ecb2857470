// SHOW_PF_INFO key tables of Emulex0710, Emulex0720 and QLogic2031.
#include "ParserTestSupport.h"

#include <functional>

namespace {

using Check = std::function<void(const FUNCTION_SETTINGS *)>;

struct PfInfoCase {
  std::string Lines; // after the value prefix
  Check Expect;
};

class PfInfoTest : public ParserTest {
protected:
  void RunCases(UINT16 Vendor, const char *Prefix, const std::vector<PfInfoCase> &Cases,
                UINT16 PciAddress = 0) {
    for (const PfInfoCase &Case : Cases) {
      SCOPED_TRACE(Case.Lines);
      ADAPTER_FAMILY Family = mModule.mFamily;
      ResetModuleState();
      mModule.mFamily = Family;
      FUNCTION_SETTINGS *S = NewRecord(Vendor, 1);
      S->PciAddress = PciAddress;
      S->MinBandwidth = S->MaxBandwidth = 7;
      mModule.mCurrentPersonality = 9;
      Parse(S, std::string(Prefix) + Case.Lines, SHOW_PF_INFO);
      Case.Expect(S);
    }
  }
};

std::vector<UINT8> Mac(std::initializer_list<UINT8> Bytes) {
  return Bytes;
}

TEST_F(PfInfoTest, Emulex0710Keys) {
  mModule.mFamily.Emulex0710 = TRUE;
  RunCases(
      0x19A2, "retdata=",
      {
          {"PortEn=disabled\r\nPfBootEnable=disabled\r\n",
           [](const FUNCTION_SETTINGS *S) {
             EXPECT_EQ(0, S->PortEnable);
             EXPECT_EQ(0, S->PortEnableToApply);
             EXPECT_EQ(0, S->BootEnable);
             EXPECT_EQ(0, S->BootEnableToApply);
           }},
          // Only the exact lower-case word disables.
          {"PortEn=Disabled\r\nPfBootEnable=disabled \r\n",
           [](const FUNCTION_SETTINGS *S) {
             EXPECT_EQ(1, S->PortEnable);
             EXPECT_EQ(1, S->BootEnableToApply);
           }},
          // "PfMAC=" is found inside "MFG_PfMAC=" when that line comes first; case is kept.
          {"MFG_PfMAC=0000c9aabbcc\r\nPfMAC=0000c9112233\r\n",
           [](const FUNCTION_SETTINGS *S) {
             EXPECT_EQ("0000c9aabbcc", Text(S->CurrentAddressText[0]));
             EXPECT_EQ(Mac({0x00, 0x00, 0xC9, 0xAA, 0xBB, 0xCC}), Bytes(S->CurrentAddress[0], 6));
             EXPECT_EQ("0000c9aabbcc", Text(S->MfgAddressText[0]));
           }},
          {"PfMAC=0000c9112233\r\nMFG_PfMAC=0000c9aabbcc\r\n",
           [](const FUNCTION_SETTINGS *S) {
             EXPECT_EQ("0000c9112233", Text(S->CurrentAddressText[0]));
             EXPECT_EQ(Mac({0x00, 0x00, 0xC9, 0xAA, 0xBB, 0xCC}), Bytes(S->MfgAddress[0], 6));
           }},
          {"WWNN=20000000c9000002\r\nMFG_WWNN=20000000c9000001\r\nWWPN=10000000c9000003",
           [](const FUNCTION_SETTINGS *S) {
             EXPECT_EQ("20000000c9000002", Text(S->CurrentAddressText[1]));
             EXPECT_EQ("20000000c9000001", Text(S->MfgAddressText[1]));
             EXPECT_EQ(0x03, S->CurrentAddress[2][7]);
           }},
          // A run of 14 digits does not fit a MAC: the text takes 12, the bytes stay.
          {"PfMAC=0000c9aabbccdd\r\n",
           [](const FUNCTION_SETTINGS *S) {
             EXPECT_EQ("0000c9aabbcc", Text(S->CurrentAddressText[0]));
             EXPECT_EQ(Mac({0, 0, 0, 0, 0, 0}), Bytes(S->CurrentAddress[0], 6));
           }},
          {"PfBandwidth=32\r\nPfRateLimit=64\r\n",
           [](const FUNCTION_SETTINGS *S) {
             EXPECT_EQ(50, S->MinBandwidth);
             EXPECT_EQ(100, S->MaxBandwidth);
           }},
          {"PfBandwidth=zz\r\n", [](const FUNCTION_SETTINGS *S) { EXPECT_EQ(7, S->MinBandwidth); }},
          {"PfVLANID=0x0064\r\n",
           [](const FUNCTION_SETTINGS *S) {
             EXPECT_EQ(100, S->VlanId);
             EXPECT_EQ(100, mModule.mTargetVlanId);
           }},
          {"PfVLANID=0064\r\n", [](const FUNCTION_SETTINGS *S) { EXPECT_EQ(100, S->VlanId); }},
          {"PfVLANID=0x0010", [](const FUNCTION_SETTINGS *S) { EXPECT_EQ(16, S->VlanId); }},
          {"PfVLANID=0FFF\r\n",
           [](const FUNCTION_SETTINGS *S) {
             EXPECT_EQ(0, S->VlanId);
             EXPECT_EQ(4095, mModule.mCurrentVlanId);
             EXPECT_EQ(4095, mModule.mTargetVlanId);
           }},
          {"PfCount=16\r\n",
           [](const FUNCTION_SETTINGS *S) {
             EXPECT_EQ(16, mModule.mCurrentPfCount);
             EXPECT_EQ(16, mModule.mTargetPfCount);
             EXPECT_EQ(16, S->FunctionCount);
           }},
          {"PfCount=123\r\n",
           [](const FUNCTION_SETTINGS *S) {
             EXPECT_EQ(12, mModule.mCurrentPfCount);
             EXPECT_EQ(12, S->FunctionCount);
           }},
          // The record's list has 16 slots; the discovered count keeps what the adapter said.
          {"PfCount=99",
           [](const FUNCTION_SETTINGS *S) {
             EXPECT_EQ(99, mModule.mCurrentPfCount);
             EXPECT_EQ(16, S->FunctionCount);
           }},
          {"SRIOV=enabled\r\n", [](const FUNCTION_SETTINGS *S) { EXPECT_EQ(1, S->SriovEnabled); }},
          {"SRIOV=Enabled\r\n", [](const FUNCTION_SETTINGS *S) { EXPECT_EQ(0, S->SriovEnabled); }},
          {"PfType=iSCSI\r\n",
           [](const FUNCTION_SETTINGS *S) {
             EXPECT_EQ(3u, S->PfType);
             EXPECT_EQ(9u, mModule.mCurrentPersonality);
           }},
          {"FirmwareVersions=1.1,2.2 3.3\r\nPfCount=4",
           [](const FUNCTION_SETTINGS *S) {
             EXPECT_EQ("1.1", Text(S->FirmwareVersion[0]));
             EXPECT_EQ("3.3", Text(S->FirmwareVersion[2]));
           }},
          {"InitiatorIscsiName=iqn.2001-05.com.example:host\r\nPfCount=2",
           [](const FUNCTION_SETTINGS *S) {
             EXPECT_EQ("iqn.2001-05.com.example:host", Text(S->IscsiInitiatorName));
           }},
          {"InitiatorIscsiName=" + std::string(300, 'n'),
           [](const FUNCTION_SETTINGS *S) { EXPECT_EQ(std::string(254, 'n'), Text(S->IscsiInitiatorName)); }},
          {"Nothing=here",
           [](const FUNCTION_SETTINGS *S) {
             EXPECT_EQ(7, S->MinBandwidth);
             EXPECT_EQ(0, S->PortEnable);
             EXPECT_EQ("", Text(S->FirmwareVersion[0]));
           }},
      });
}

TEST_F(PfInfoTest, Emulex0710PersonalityComesFromPciFunctionTwo) {
  mModule.mFamily.Emulex0710 = TRUE;
  RunCases(0x19A2, "retdata=",
           {{"PfType=FCoE",
             [](const FUNCTION_SETTINGS *S) {
               EXPECT_EQ(2u, S->PfType);
               EXPECT_EQ(2u, mModule.mCurrentPersonality);
               EXPECT_EQ(2u, mModule.mTargetPersonality);
             }}},
           /*PciAddress=*/0x0302);
}

TEST_F(PfInfoTest, Emulex0720Keys) {
  mModule.mFamily.Emulex0720 = TRUE;
  RunCases(0x10DF, "retdata=",
           {
               {"SRIOVState=Enabled\r\nUMCState=Enabled\r\n",
                [](const FUNCTION_SETTINGS *S) {
                  EXPECT_EQ(1, S->SriovEnabled);
                  EXPECT_EQ(1, mModule.mCurrentUmc);
                  EXPECT_EQ(1, mModule.mTargetUmc);
                }},
               {"SRIOVState=enabled\r\nUMCState=ENABLED\r\n",
                [](const FUNCTION_SETTINGS *S) {
                  EXPECT_EQ(0, S->SriovEnabled);
                  EXPECT_EQ(0, mModule.mCurrentUmc);
                }},
               {"MinBandwidth=25\r\nMaxBandwidth=300\r\n",
                [](const FUNCTION_SETTINGS *S) {
                  EXPECT_EQ(25, S->MinBandwidth);
                  EXPECT_EQ(44, S->MaxBandwidth);
                }},
               {"MinBandwidth=abc\r\n", [](const FUNCTION_SETTINGS *S) { EXPECT_EQ(0, S->MinBandwidth); }},
               {"PfVLANID=100\r\n", [](const FUNCTION_SETTINGS *S) { EXPECT_EQ(100, S->VlanId); }},
               {"PfVLANID=4095\r\n",
                [](const FUNCTION_SETTINGS *S) {
                  EXPECT_EQ(0, S->VlanId);
                  EXPECT_EQ(4095, mModule.mCurrentVlanId);
                }},
               {"MfgMAC=0000C9AABBCC\r\nMAC=0000C9112233",
                [](const FUNCTION_SETTINGS *S) {
                  EXPECT_EQ("0000C9AABBCC", Text(S->CurrentAddressText[0]));
                  EXPECT_EQ("0000C9AABBCC", Text(S->MfgAddressText[0]));
                }},
               {"MAC=0000C9112233\r\nMfgMAC=0000C9AABBCC",
                [](const FUNCTION_SETTINGS *S) {
                  EXPECT_EQ("0000C9112233", Text(S->CurrentAddressText[0]));
                  EXPECT_EQ(0xCC, S->MfgAddress[0][5]);
                }},
               {"FirmwareVersions=12.0.1,12.0.2,12.0.3\r\n",
                [](const FUNCTION_SETTINGS *S) { EXPECT_EQ("12.0.3", Text(S->FirmwareVersion[2])); }},
           });
}

TEST_F(PfInfoTest, Emulex0720EnableWordsNeverReEnableAPlatformZero) {
  mModule.mFamily.Emulex0720 = TRUE;
  struct Case {
    const char *Word;
    UINT8 ToApplyBefore, Reported, ToApplyAfter;
  } Cases[] = {{"Disabled", 1, 0, 0}, {"Enabled", 0, 1, 0}, {"Enabled", 1, 1, 1}, {"disabled", 1, 1, 1}};
  for (const Case &C : Cases) {
    SCOPED_TRACE(C.Word);
    FUNCTION_SETTINGS *S = NewRecord(0x10DF, 0x0720);
    S->PortEnableToApply = S->BootEnableToApply = C.ToApplyBefore;
    Parse(S, std::string("retdata=PortEnable=") + C.Word + "\r\nBootEnable=" + C.Word + "\r\n", SHOW_PF_INFO);
    EXPECT_EQ(C.Reported, S->PortEnable);
    EXPECT_EQ(C.ToApplyAfter, S->PortEnableToApply);
    EXPECT_EQ(C.Reported, S->BootEnable);
    EXPECT_EQ(C.ToApplyAfter, S->BootEnableToApply);
  }
}

TEST_F(PfInfoTest, Emulex0720PfTypeWords) {
  mModule.mFamily.Emulex0720 = TRUE;
  const std::pair<std::string, UINT32> Cases[] = {{"NIC", 0}, {"FCoE", 2},    {"iSCSI", 3},    {"RoCE", 6},
                                                  {"FC", 1},  {"Disable", 7}, {"Disabled", 5}, {"fc", 5}};
  for (const auto &[Word, Type] : Cases) {
    SCOPED_TRACE(Word);
    FUNCTION_SETTINGS *S = NewRecord(0x10DF, 0x0720, 0, 3);
    Parse(S, "retdata=PfType=" + Word + "\r\n", SHOW_PF_INFO);
    EXPECT_EQ(Type, S->PfType);
    EXPECT_EQ(Type, mModule.mPfTypeTable[3]);
  }
  // No table entry for PF 16; UMC is read only on the adapter's first function.
  ResetModuleState();
  mModule.mFamily.Emulex0720 = TRUE;
  FUNCTION_SETTINGS *Far = NewRecord(0x10DF, 0x0720, 0, 16);
  Parse(Far, "retdata=PfType=FC\r\nUMCState=Enabled", SHOW_PF_INFO);
  EXPECT_EQ(1u, Far->PfType);
  EXPECT_EQ(0, mModule.mCurrentUmc);
  for (UINT32 Entry : mModule.mPfTypeTable) {
    EXPECT_EQ(0u, Entry);
  }
}

TEST_F(PfInfoTest, QLogic2261FirmwareGateForIov) {
  struct Case {
    bool Is2261;
    std::string Version;
    UINT8 Supported;
  } Cases[] = {{true, "6.07.02", 1}, {true, "6.6", 0},  {true, "5.9", 0},
               {true, "7.0", 1},     {false, "7.0", 0}, {true, std::string(31, '.'), 0}};
  for (const Case &C : Cases) {
    SCOPED_TRACE(C.Version);
    mModule.mFamily = {};
    mModule.mFamily.QLogic2031 = TRUE;
    mModule.mFamily.QLogic2261 = C.Is2261;
    FUNCTION_SETTINGS *S = NewRecord(0x1077, C.Is2261 ? 0x2261 : 0x2031);
    const std::string Prefix = C.Is2261 ? "retdata=\r\n" : "retdata=";
    Parse(S, Prefix + "FirmwareVersions=1.0,2.0,3.0," + C.Version + "\r\n", SHOW_PF_INFO);
    EXPECT_EQ(C.Version, Text(S->FirmwareVersion[3]));
    EXPECT_EQ(C.Supported, mModule.mFcIovSupported);
  }
  // A reply without versions counts as firmware without support.
  mModule.mFcIovSupported = 1;
  Parse(NewRecord(0x1077, 0x2261), "retdata=\r\nBootEnable=Enabled", SHOW_PF_INFO);
  EXPECT_EQ(0, mModule.mFcIovSupported);
}

TEST_F(PfInfoTest, QLogic2031BootEnableAndNames) {
  mModule.mFamily.QLogic2031 = TRUE;
  FUNCTION_SETTINGS *S = NewRecord(0x1077, 0x2031);
  S->BootEnable = 5;
  Parse(S, "retdata=BootEnable=Is Disabled\r\nWWNN=20000024ff000001\r\nWWPN=21000024ff000001", SHOW_PF_INFO);
  EXPECT_EQ(0, S->BootEnableToApply);
  EXPECT_EQ(5, S->BootEnable);
  EXPECT_EQ("20000024ff000001", Text(S->CurrentAddressText[0]));
  EXPECT_EQ("20000024ff000001", Text(S->MfgAddressText[0]));
  EXPECT_EQ((std::vector<UINT8>{0x21, 0x00, 0x00, 0x24, 0xFF, 0x00, 0x00, 0x01}), Bytes(S->MfgAddress[1], 8));
  EXPECT_EQ(0x21, S->CurrentAddress[1][0]);
  // "Disabl" ending beyond the first 12 characters of the value is not seen.
  Parse(S, "retdata=BootEnable=Port is Disabled", SHOW_PF_INFO);
  EXPECT_EQ(1, S->BootEnableToApply);
}

TEST_F(PfInfoTest, OtherFamiliesIgnorePfInfo) {
  mModule.mFamily.EmulexE200 = TRUE;
  FUNCTION_SETTINGS *S = NewRecord(0x10DF, 0xE200);
  Parse(S, "retdata=PortEn=disabled\r\nPortEnable=Disabled\r\nBootEnable=Disabled\r\nWWNN=2000",
        SHOW_PF_INFO);
  EXPECT_EQ("", Text(S->CurrentAddressText[0]));
  EXPECT_EQ("", Text(S->CurrentAddressText[1]));
  EXPECT_EQ(0, S->BootEnableToApply);
}

} // namespace
