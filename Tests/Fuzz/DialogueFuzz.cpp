// Fuzz target: whole managed dialogues through the installed protocol on the fake firmware.
//
// Input: the adapter family and layout, the records' platform flags, the NALO answers for every
// port, the platform policy, then for every command the reply (realistic or any bytes), CLP status,
// error value and configuration action. Instances run until Query answers an error or 300 Queries;
// the platform aborts on driver assertions, leaked pool and bad frees.
#include <vector>

#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *Data, size_t Size) {
  fuzz::Reader In(Data, Size);
  const fuzz::Family &Id = fuzz::kFamilies[In.Byte() % fuzz::kFamilyCount];
  const uint8_t Ports = static_cast<uint8_t>(1 + In.Byte() % 2);
  const uint8_t Pfs = static_cast<uint8_t>(1 + In.Byte() % 4);
  const uint8_t Flags = In.Byte();
  const uint8_t Bus = 3;

  fuzz::Platform P;
  P.Fw().SetForceAdapterEnable(In.Byte() % 2);

  // One controller per PCI function, records linked as the platform links them.
  const BuiltAdapter Adapter = fuzz::AddFuzzAdapter(P, Id, Bus, Ports, Pfs, Flags);
  std::vector<EFI_HANDLE> Controllers;
  for (size_t Port = 0; Port < Ports; Port++) {
    for (size_t Pf = 0; Pf < Pfs; Pf++) {
      Controllers.push_back(Adapter.Handle(Port, Pf));
      FUNCTION_SETTINGS *R = Adapter.Record(Port, Pf);
      R->PfType = In.Byte() % 8;
      R->LinkWord = In.Byte() % 4;
      R->IscsiWord = In.Byte() % 2;
    }
  }
  for (uint8_t Port = 0; Port < Ports; Port++) {
    fuzz::FillNaloEntry(P.Fw().Nalo(0, 0, Port), In, false);
  }

  std::vector<uint8_t> Reply;
  fuzz::DialogueLimits Limits;
  P.Fw().RunUntilReset([&] {
    // The adapter driver configures its controllers one after the other, in an order it picks.
    for (size_t Round = 0; Round < Controllers.size() && !In.Empty(); Round++) {
      fuzz::RunDialogue(P, Controllers[In.Byte() % Controllers.size()], In, Limits, Reply);
    }
  });
  return 0;
}
