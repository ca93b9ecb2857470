// An adapter-driver stand-in for integration tests: answers each command text with a scripted
// reply in its family's format and records every Instance through the installed protocol.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "Support/DriverTest.h"

struct ScriptedReply {
  std::string Reply;
  uint8_t Status = 0;
  uint8_t Error = 0;
  EFI_PLATFORM_CONFIGURATION_ACTION Action = EfiPlatformConfigurationActionNone;
};

struct ScriptedStep {
  UINTN Instance = 0;
  EFI_STATUS Query = EFI_SUCCESS;
  std::string Command;
  EFI_STATUS Response = EFI_SUCCESS;
};

class ScriptedAdapter {
public:
  ScriptedAdapter(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *Protocol, EFI_HANDLE Controller)
      : Protocol(Protocol), Controller(Controller) {}

  void On(const std::string &Command, const std::string &Reply) { Replies[Command] = {Reply}; }
  void On(const std::string &Command, const ScriptedReply &Reply) { Replies[Command] = Reply; }
  // Called after each Response with the step just done (to inspect state between phases).
  std::function<void(const ScriptedStep &)> AfterResponse;

  // Runs Instance 0, 1, ... until Query answers an error (or Limit Instances); returns the
  // successful steps; the ending Query is in EndStatus/EndInstance.
  std::vector<ScriptedStep> Run(UINTN Limit = 256) {
    std::vector<ScriptedStep> Steps;
    for (UINTN Instance = 0; Instance < Limit; Instance++) {
      UINTN QueryInstance = Instance, Size = 0;
      EFI_GUID *Guid = nullptr;
      EFI_CONFIGURE_CLP_PARAMETER_BLK *Block = nullptr;
      const EFI_STATUS Status = Protocol->Query(Protocol, Controller, nullptr, &QueryInstance, &Guid,
                                                reinterpret_cast<VOID **>(&Block), &Size);
      if (EFI_ERROR(Status)) {
        EndStatus = Status;
        EndInstance = Instance;
        return Steps;
      }
      ScriptedStep Step;
      Step.Instance = Instance;
      Step.Query = Status;
      Step.Command.assign(reinterpret_cast<const char *>(Block->CLPCommand), Block->CLPCommandLength);
      EXPECT_EQ(Step.Command.size(), std::strlen(reinterpret_cast<const char *>(Block->CLPCommand)))
          << "CLPCommandLength must be the text length";
      const auto It = Replies.find(Step.Command);
      const ScriptedReply Reply = It == Replies.end() ? ScriptedReply{} : It->second;
      Text = Reply.Reply;
      Block->CLPReturnString = reinterpret_cast<CHAR8 *>(Text.data());
      Block->CLPReturnStringLength = static_cast<UINT32>(Text.size());
      Block->CLPCmdStatus = Reply.Status;
      Block->CLPErrorValue = Reply.Error;
      UINTN ResponseInstance = Instance;
      Step.Response = Protocol->Response(Protocol, Controller, nullptr, &ResponseInstance, Guid, Block, Size,
                                         Reply.Action);
      Steps.push_back(Step);
      if (AfterResponse) {
        AfterResponse(Step);
      }
    }
    EndStatus = EFI_SUCCESS;
    EndInstance = Limit;
    return Steps;
  }

  static std::vector<std::string> Commands(const std::vector<ScriptedStep> &Steps) {
    std::vector<std::string> Out;
    for (const ScriptedStep &S : Steps) {
      Out.push_back(S.Command);
    }
    return Out;
  }

  EFI_STATUS EndStatus = EFI_SUCCESS;
  UINTN EndInstance = 0;

private:
  EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *Protocol;
  EFI_HANDLE Controller;
  std::map<std::string, ScriptedReply> Replies;
  std::string Text;
};
