// Fuzz target: adapter drivers that do not keep to the expected order, nested by restarts.
//
// Input: two adapters (family, ports, functions per port, platform flags, PF types), the NALO
// answer of every port, then the adapter drivers' program. The drivers are one driver binding on
// the fake firmware, as in real firmware: the platform connects controllers in an order the input
// picks, and each Start() reads operations from the input: the expected Query and Response, a
// repeated or skipped Instance, a Query or a Response for another controller, a Response without
// a Query, giving up. A Response whose action restarts the controller stops the running Start()
// and runs a new one inside it; after its Response the stopped driver asks Query once more.
//
// A finding is a sanitizer report, a driver assertion, leaked pool or a bad free (the platform
// aborts on those), a successful Query at Instance 255 or beyond (a run that passes 255
// Instances), a Query that hands out no terminated command, and a write the driver has no business
// making: into the adapter's reply, the platform's configuration tables or its policy record
// (writes outside any object are AddressSanitizer's).
#include <array>
#include <vector>

#include "FuzzSupport.h"

namespace {

constexpr size_t kMaxControllers = 8;
constexpr size_t kMaxDepth = 6;   // nested Start()s; a deeper one refuses
constexpr size_t kMaxCalls = 600; // Queries and Responses of one input

struct Driver {
  size_t Controller = 0;
  UINTN Instance = 0;
  bool Stopped = false;
  std::vector<uint8_t> Reply, ReplySent;
};

// Everything a Start() needs lives here, not in its frame: a cold reset leaves it by longjmp.
struct Context {
  fuzz::Platform *P = nullptr;
  fuzz::Reader *In = nullptr;
  std::vector<EFI_HANDLE> Controllers;
  std::array<Driver, kMaxDepth> Stack;
  size_t Depth = 0;
  size_t Calls = 0;
  EFI_GUID *LastGuid = nullptr;
  VOID *LastBlock = nullptr;
  UINTN LastSize = 0;
  EFI_CONFIGURE_CLP_PARAMETER_BLK OwnBlock = {}; // for a Response before any Query
  EFI_DRIVER_BINDING_PROTOCOL Binding = {};
};
Context C;

EFI_GUID ClpGuid = EFI_PLATFORM_TO_DRIVER_CONFIGURATION_CLP_GUID;

uint64_t Hash(uint64_t H, const void *Data, size_t Size) {
  const auto *Bytes = static_cast<const uint8_t *>(Data);
  for (size_t I = 0; I < Size; I++) {
    H = (H ^ Bytes[I]) * 0x100000001B3ull;
  }
  return H;
}

// The platform's tables and policy as the driver may only read them.
uint64_t PlatformHash() {
  uint64_t H = 0xCBF29CE484222325ull;
  for (uint8_t Port = 0; Port < 4; Port++) {
    fake::NaloEntry &E = C.P->Fw().Nalo(Port / 2, 0, Port % 2);
    H = Hash(H, &E.Header, sizeof(E.Header));
    H = Hash(H, &E.PortTable, sizeof(E.PortTable));
    H = Hash(H, E.AddressTable, sizeof(E.AddressTable));
    H = Hash(H, E.BootTable, sizeof(E.BootTable));
    for (const std::vector<uint8_t> &Block : E.Storage) {
      H = Hash(H, Block.data(), Block.size());
    }
  }
  return Hash(H, C.P->Fw().PolicyRecord().data(), C.P->Fw().PolicyRecord().size());
}

size_t ControllerIndex(EFI_HANDLE Handle) {
  for (size_t I = 0; I < C.Controllers.size(); I++) {
    if (C.Controllers[I] == Handle) {
      return I;
    }
  }
  return kMaxControllers;
}

EFI_STATUS Query(size_t Controller, UINTN Instance) {
  C.Calls++;
  UINTN QueryInstance = Instance, Size = 0;
  EFI_GUID *Guid = nullptr;
  VOID *Block = nullptr;
  const EFI_STATUS Status = C.P->Protocol->Query(C.P->Protocol, C.Controllers[Controller], nullptr,
                                                 &QueryInstance, &Guid, &Block, &Size);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (Instance >= 255) {
    fuzz::Fail("Query handed out a command at Instance " + std::to_string(Instance));
  }
  auto *Clp = static_cast<EFI_CONFIGURE_CLP_PARAMETER_BLK *>(Block);
  if (Clp == nullptr || Guid == nullptr || Size != sizeof(*Clp) || Clp->CLPCommand == nullptr) {
    fuzz::Fail("Query succeeded without a CLP parameter block");
  }
  volatile CHAR8 Terminator = Clp->CLPCommand[Clp->CLPCommandLength];
  if (Terminator != 0) {
    fuzz::Fail("the command is not terminated at CLPCommandLength");
  }
  C.LastGuid = Guid;
  C.LastBlock = Block;
  C.LastSize = Size;
  return Status;
}

// A Response with the reply the input picks, in the block the adapter driver last received.
void Response(Driver &D, size_t Controller, UINTN Instance) {
  C.Calls++;
  fuzz::Reader &In = *C.In;
  const uint8_t How = In.Byte();
  if ((How & 3) == 3) {
    D.Reply = In.Blob();
  } else {
    const char *Text = fuzz::kRealisticReplies[In.Byte() % fuzz::kRealisticReplyCount];
    D.Reply.assign(Text, Text + std::char_traits<char>::length(Text));
  }
  D.ReplySent = D.Reply;
  auto *Clp = static_cast<EFI_CONFIGURE_CLP_PARAMETER_BLK *>(C.LastBlock);
  EFI_GUID *Guid = C.LastGuid;
  if (Clp == nullptr) {
    C.OwnBlock.CLPCommand = reinterpret_cast<CHAR8 *>(const_cast<char *>(""));
    Clp = &C.OwnBlock;
    Guid = &ClpGuid;
  }
  Clp->CLPReturnString = D.Reply.empty() ? nullptr : reinterpret_cast<CHAR8 *>(D.Reply.data());
  Clp->CLPReturnStringLength = static_cast<UINT32>(D.Reply.size());
  Clp->CLPCmdStatus = In.Byte() % 4 == 0 ? In.Byte() : 0;
  Clp->CLPErrorValue = In.Byte();
  const uint8_t ActionByte = In.Byte();
  // Mostly None; the others, restarts included, one time in four.
  const auto Action =
      static_cast<EFI_PLATFORM_CONFIGURATION_ACTION>(ActionByte % 4 != 0 ? 0 : ActionByte % 7);
  UINTN ResponseInstance = Instance;
  C.P->Protocol->Response(C.P->Protocol, C.Controllers[Controller], nullptr, &ResponseInstance, Guid, Clp,
                          sizeof(*Clp), Action);
  if (D.Reply != D.ReplySent) {
    fuzz::Fail("Response wrote into the adapter's reply");
  }
}

// One adapter driver's Start(): the program from where the input stands.
void Drive(size_t Level) {
  Driver &D = C.Stack[Level];
  fuzz::Reader &In = *C.In;
  while (!In.Empty() && C.Calls < kMaxCalls) {
    if (D.Stopped) {
      Query(D.Controller, D.Instance); // the late Query before the loop sees its stop flag
      return;
    }
    const uint8_t Op = In.Byte();
    switch (Op % 8) {
    case 0:
    case 1: // as expected: Query, Response, next Instance
      if (EFI_ERROR(Query(D.Controller, D.Instance))) {
        return;
      }
      Response(D, D.Controller, D.Instance);
      D.Instance++;
      break;
    case 2: // the previous Instance again
      D.Instance = D.Instance > 0 ? D.Instance - 1 : 0;
      Query(D.Controller, D.Instance);
      break;
    case 3: // Instances skipped
      D.Instance += 1 + In.Byte() % 4;
      Query(D.Controller, D.Instance);
      break;
    case 4: { // another controller, any Instance (also 255 and beyond)
      const size_t Other = In.Byte() % C.Controllers.size();
      Query(Other, static_cast<UINTN>(In.Byte()) | static_cast<UINTN>(In.Byte() % 2) << 8);
      break;
    }
    case 5: // a Response for another controller
      Response(D, In.Byte() % C.Controllers.size(), D.Instance);
      break;
    case 6: // a Response without a Query of its own (twice, or before any)
      Response(D, D.Controller, D.Instance);
      break;
    default: // the driver gives up
      return;
    }
  }
}

EFI_STATUS EFIAPI Supported(EFI_DRIVER_BINDING_PROTOCOL *, EFI_HANDLE Controller, EFI_DEVICE_PATH *) {
  return ControllerIndex(Controller) < C.Controllers.size() ? EFI_SUCCESS : EFI_UNSUPPORTED;
}

EFI_STATUS EFIAPI Start(EFI_DRIVER_BINDING_PROTOCOL *, EFI_HANDLE Controller, EFI_DEVICE_PATH *) {
  if (C.Depth >= kMaxDepth) {
    return EFI_DEVICE_ERROR;
  }
  const size_t Level = C.Depth++;
  Driver &D = C.Stack[Level];
  D.Controller = ControllerIndex(Controller);
  D.Instance = 0;
  D.Stopped = false;
  Drive(Level);
  C.Depth--;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI Stop(EFI_DRIVER_BINDING_PROTOCOL *, EFI_HANDLE Controller, UINTN, EFI_HANDLE *) {
  const size_t Index = ControllerIndex(Controller);
  for (size_t Level = 0; Level < C.Depth; Level++) {
    if (C.Stack[Level].Controller == Index) {
      C.Stack[Level].Stopped = true;
    }
  }
  return EFI_SUCCESS;
}

void AddAdapter(fuzz::Reader &In, uint8_t Bus) {
  const fuzz::Family &Id = fuzz::kFamilies[In.Byte() % fuzz::kFamilyCount];
  const uint8_t Ports = static_cast<uint8_t>(1 + In.Byte() % 2);
  const uint8_t Pfs = static_cast<uint8_t>(1 + In.Byte() % 2);
  const uint8_t Flags = In.Byte();
  const BuiltAdapter Adapter = fuzz::AddFuzzAdapter(*C.P, Id, Bus, Ports, Pfs, Flags);
  for (size_t Port = 0; Port < Ports; Port++) {
    for (size_t Pf = 0; Pf < Pfs; Pf++) {
      C.Controllers.push_back(Adapter.Handle(Port, Pf));
      FUNCTION_SETTINGS *R = Adapter.Record(Port, Pf);
      R->NaloIndex =
          static_cast<UINT8>(Bus - 3); // adapter 0 has ports 0..1 of the table, adapter 1 ports 2..3
      R->PfType = In.Byte() % 8;
    }
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *Data, size_t Size) {
  fuzz::Reader In(Data, Size);
  fuzz::Platform P;
  C.P = &P;
  C.In = &In;
  C.Controllers.clear();
  C.Depth = 0;
  C.Calls = 0;
  C.LastGuid = nullptr;
  C.LastBlock = nullptr;
  C.LastSize = 0;
  C.OwnBlock = {};
  P.Fw().SetForceAdapterEnable(In.Byte() % 2);
  AddAdapter(In, 3);
  AddAdapter(In, 4);
  for (uint8_t Port = 0; Port < 4; Port++) {
    fuzz::FillNaloEntry(P.Fw().Nalo(Port / 2, 0, Port % 2), In, false);
  }
  EFI_HANDLE BindingHandle = nullptr;
  static EFI_GUID BindingGuid = EFI_DRIVER_BINDING_PROTOCOL_GUID;
  C.Binding = {Supported, Start, Stop, 0x10, nullptr, nullptr};
  P.Fw().InstallProtocol(&BindingHandle, BindingGuid, &C.Binding);

  const uint64_t Before = PlatformHash();
  P.Fw().RunUntilReset([&] {
    // The platform connects controllers in an order the input picks, some more than once.
    for (size_t Round = 0; Round < 12 && !In.Empty() && C.Calls < kMaxCalls; Round++) {
      P.Fw().StartDrivers(C.Controllers[In.Byte() % C.Controllers.size()]);
    }
  });
  if (PlatformHash() != Before) {
    fuzz::Fail("the driver wrote into the platform's configuration tables or policy record");
  }
  C.P = nullptr;
  C.In = nullptr;
  return 0;
}
