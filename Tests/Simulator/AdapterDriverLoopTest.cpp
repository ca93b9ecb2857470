// The adapter-driver loop both the simulator and the firmware stand-in play: the order of Query,
// execution and Response, what reaches the parameter block, how a stop inside Response ends the
// run with one more Query, and the Instance limit.
#include <string>

#include <gtest/gtest.h>

#include "Scenario/AdapterDriverLoop.h"

namespace {

// A driver under test that hands out Instances 0 .. Count-1 and then EFI_NOT_FOUND, and records
// every call, together with the loop's hooks, in one log.
struct Script {
  UINTN Count = 0;
  UINTN StopAfterResponse = SIZE_MAX; // Stop() comes inside the Response of this Instance
  std::string Log;
  EFI_CONFIGURE_CLP_PARAMETER_BLK Block = {};
  CHAR8 Command[16] = "show a";
  bool Stopped = false;
};
Script *gScript;

EFI_STATUS EFIAPI Query(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *, EFI_HANDLE, EFI_HANDLE,
                        UINTN *Instance, EFI_GUID **, VOID **Block, UINTN *) {
  gScript->Log += "Q" + std::to_string(*Instance) + " ";
  if (*Instance >= gScript->Count) {
    return EFI_NOT_FOUND;
  }
  gScript->Block = {};
  gScript->Block.CLPCommand = gScript->Command;
  gScript->Block.CLPCommandLength = 4; // "show" of "show a"
  *Block = &gScript->Block;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI Response(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *, EFI_HANDLE, EFI_HANDLE,
                           UINTN *Instance, EFI_GUID *, VOID *Block, UINTN,
                           EFI_PLATFORM_CONFIGURATION_ACTION Action) {
  const EFI_CONFIGURE_CLP_PARAMETER_BLK *Clp = static_cast<EFI_CONFIGURE_CLP_PARAMETER_BLK *>(Block);
  gScript->Log += "R" + std::to_string(*Instance) + "(" +
                  reinterpret_cast<const char *>(Clp->CLPReturnString) + "/" +
                  std::to_string(Clp->CLPReturnStringLength) + "/" + std::to_string(Clp->CLPCmdStatus) + "/" +
                  std::to_string(Clp->CLPErrorValue) + "/" + std::to_string(Action) + ") ";
  gScript->Stopped = gScript->Stopped || *Instance == gScript->StopAfterResponse;
  return *Instance == 1 ? EFI_DEVICE_ERROR : EFI_SUCCESS;
}

struct Recorder {
  Script &S;
  CHAR8 Reply[8] = "ok";

  void BeforeQuery(UINTN Instance) { S.Log += "b" + std::to_string(Instance) + " "; }
  void AfterQuery() { S.Log += "a "; }
  ptd::ClpAnswer Execute(UINTN Instance, EFI_STATUS Query, const EFI_GUID *, const CHAR8 *Command,
                         UINTN Length) {
    S.Log += "X" + std::to_string(Instance) + ":" + std::to_string(Query) + ":" +
             std::string(reinterpret_cast<const char *>(Command), Length) + " ";
    return {Reply, 2, 3, 4, EfiPlatformConfigurationActionRestartController};
  }
  void BeforeResponse() { S.Log += "r "; }
  void AfterResponse(EFI_STATUS Status) { S.Log += "s" + std::to_string(Status & 0xFF) + " "; }
  bool Stopped() const { return S.Stopped; }
  void Ended(UINTN Instance, EFI_STATUS Status) {
    S.Log += "END" + std::to_string(Instance) + ":" + std::to_string(Status & 0xFF);
  }
  void PassedLimit(UINTN Instance) { S.Log += "LIMIT" + std::to_string(Instance); }
};

std::string Play(Script &S, UINTN Limit) {
  gScript = &S;
  EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL Protocol = {Query, Response};
  Recorder R{S};
  ptd::PlayAdapterDriver(&Protocol, nullptr, Limit, R);
  return S.Log;
}

TEST(AdapterDriverLoop, RunsEveryInstanceUntilQueryFails) {
  Script S;
  S.Count = 2;
  EXPECT_EQ(Play(S, 256), "b0 Q0 a X0:0:show r R0(ok/2/3/4/2) s0 "
                          "b1 Q1 a X1:0:show r R1(ok/2/3/4/2) s7 "
                          "b2 Q2 a END2:14");
}

TEST(AdapterDriverLoop, AStopInsideResponseEndsWithTheNextQuery) {
  Script S;
  S.Count = 5;
  S.StopAfterResponse = 0;
  EXPECT_EQ(Play(S, 256), "b0 Q0 a X0:0:show r R0(ok/2/3/4/2) s0 b1 Q1 a END1:0");
}

TEST(AdapterDriverLoop, StopsAtTheInstanceLimit) {
  Script S;
  S.Count = 100;
  EXPECT_EQ(Play(S, 1), "b0 Q0 a X0:0:show r R0(ok/2/3/4/2) s0 LIMIT1");
  Script None;
  EXPECT_EQ(Play(None, 0), "LIMIT0");
}

TEST(AdapterDriverLoop, CommandStopsAtItsLengthOrAtANul) {
  EFI_CONFIGURE_CLP_PARAMETER_BLK Clp = {};
  EXPECT_EQ(ptd::ClpCommandLength(nullptr), 0u);
  EXPECT_EQ(ptd::ClpCommandLength(&Clp), 0u);
  CHAR8 Text[] = "set x\0yz";
  Clp.CLPCommand = Text;
  Clp.CLPCommandLength = 3;
  EXPECT_EQ(ptd::ClpCommandLength(&Clp), 3u);
  Clp.CLPCommandLength = 8;
  EXPECT_EQ(ptd::ClpCommandLength(&Clp), 5u);
}

} // namespace
