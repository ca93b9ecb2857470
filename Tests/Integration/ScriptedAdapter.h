// An adapter-driver stand-in for integration tests: answers each command text with a scripted
// reply in its family's format and records every Instance through the installed protocol.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "Support/DriverTest.h"

extern "C++" {
#include "ModuleState.h"
}

using Texts = std::vector<std::string>;

inline std::string Str(const CHAR8 *Text) {
  return reinterpret_cast<const char *>(Text);
}

inline Texts Join(std::initializer_list<Texts> Parts) {
  Texts Out;
  for (const Texts &P : Parts) {
    Out.insert(Out.end(), P.begin(), P.end());
  }
  return Out;
}

// Command texts that share their start: Prefixed("show port1 ", {"BootMode"}).
inline Texts Prefixed(const std::string &Prefix, Texts Names) {
  for (std::string &N : Names) {
    N.insert(0, Prefix);
  }
  return Names;
}

// Several record fields compared as one list (the order is given where it is used).
using Fields = std::vector<long long>;

struct ScriptedReply {
  ScriptedReply(const char *Reply = "") : Reply(Reply) {}
  ScriptedReply(std::string Reply, uint8_t Status = 0, uint8_t Error = 0,
                EFI_PLATFORM_CONFIGURATION_ACTION Action = EfiPlatformConfigurationActionNone)
      : Reply(std::move(Reply)), Status(Status), Error(Error), Action(Action) {}
  std::string Reply;
  uint8_t Status = 0;
  uint8_t Error = 0;
  EFI_PLATFORM_CONFIGURATION_ACTION Action = EfiPlatformConfigurationActionNone;
};

// Replies per command text; a command asked again gets the next reply, the last one stays.
using Script = std::map<std::string, std::vector<ScriptedReply>>;

class ScriptedAdapter {
public:
  ScriptedAdapter(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *Protocol, EFI_HANDLE Controller,
                  Script Replies = {})
      : Protocol(Protocol), Controller(Controller), Replies(std::move(Replies)) {}

  // Runs Instance 0, 1, ... until Query answers an error or Limit Instances; returns the commands.
  // Checked: every Response must succeed and the run end on EFI_NOT_FOUND.
  Texts Dialogue(UINTN Limit = 256, bool Checked = true) {
    Texts Out;
    EFI_STATUS Status = EFI_SUCCESS;
    for (UINTN Instance = 0; Instance < Limit; Instance++) {
      UINTN QueryInstance = Instance, ResponseInstance = Instance, Size = 0;
      EFI_GUID *Guid = nullptr;
      EFI_CONFIGURE_CLP_PARAMETER_BLK *Block = nullptr;
      Status = Protocol->Query(Protocol, Controller, nullptr, &QueryInstance, &Guid,
                               reinterpret_cast<VOID **>(&Block), &Size);
      if (EFI_ERROR(Status)) {
        break;
      }
      const std::string Command(reinterpret_cast<const char *>(Block->CLPCommand), Block->CLPCommandLength);
      EXPECT_EQ(Command.size(), std::strlen(reinterpret_cast<const char *>(Block->CLPCommand)))
          << "CLPCommandLength must be the text length";
      EXPECT_TRUE(Block->CLPReturnString == nullptr && Block->CLPReturnStringLength == 0 &&
                  Block->CLPCmdStatus == 0 && Block->CLPErrorValue == 0 && Block->CLPMsgCode == 0)
          << "a block handed out carries no results of the previous command";
      ScriptedReply Reply;
      const auto It = Replies.find(Command);
      if (It != Replies.end() && !It->second.empty()) {
        Reply = It->second[std::min(Used[Command]++, It->second.size() - 1)];
      }
      Text = Reply.Reply;
      Block->CLPReturnString = reinterpret_cast<CHAR8 *>(Text.data());
      Block->CLPReturnStringLength = static_cast<UINT32>(Text.size());
      Block->CLPCmdStatus = Reply.Status;
      Block->CLPErrorValue = Reply.Error;
      Status = Protocol->Response(Protocol, Controller, nullptr, &ResponseInstance, Guid, Block, Size,
                                  Reply.Action);
      EXPECT_TRUE(!Checked || Status == EFI_SUCCESS) << Command;
      Out.push_back(Command);
    }
    if (Checked && Out.size() < Limit) {
      EXPECT_EQ(Status, EFI_NOT_FOUND);
    }
    return Out;
  }

private:
  EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *Protocol;
  EFI_HANDLE Controller;
  Script Replies;
  std::map<std::string, size_t> Used;
  std::string Text;
};

// The driver loaded; managed adapters are added per test.
class IntegrationTest : public DriverTest {
protected:
  void SetUp() override {
    DriverTest::SetUp();
    ASSERT_EQ(LoadDriver(), EFI_SUCCESS);
  }

  BuiltAdapter Add(uint16_t Vendor, uint16_t Device, uint8_t Bus, uint8_t Ports = 1, uint8_t PfsPerPort = 1,
                   uint8_t Flags = PLATFORM_FLAG_MANAGED_MODE_ENABLED | PLATFORM_FLAG_6,
                   uint16_t Subsystem = 0) {
    AdapterSpec Spec;
    Spec.VendorId = Vendor;
    Spec.DeviceId = Device;
    Spec.SubsystemId = Subsystem;
    Spec.Bus = Bus;
    Spec.Ports = Ports;
    Spec.FunctionsPerPort = PfsPerPort;
    Spec.PlatformFlags = Flags;
    return AddAdapter(Fw(), Spec);
  }

  Texts Dialogue(EFI_HANDLE Controller, Script Replies = {}) {
    return ScriptedAdapter(Protocol, Controller, std::move(Replies)).Dialogue();
  }

  // Port, address and boot tables of a platform entry marked valid.
  fake::NaloEntry &ValidTables(uint8_t NaloIndex, uint8_t CardIndex = 0) {
    fake::NaloEntry &N = Fw().Nalo(NaloIndex, CardIndex, 0);
    N.Header.PortTableValid = N.Header.AddressTableValid = N.Header.BootTableValid = 1;
    N.PortTable.DesiredPortEnable = 1;
    return N;
  }

  static uint8_t PlanDone(const FUNCTION_SETTINGS *R) {
    return R->ProgressFlags & (PROGRESS_FLAG_PLAN_DONE1 | PROGRESS_FLAG_PLAN_DONE2);
  }
};
