// Shared pieces of the libFuzzer targets: a front-to-back byte reader (so that seed files can be
// written by hand), the adapter families, realistic replies, and a platform on the host fake
// firmware that turns every driver assertion, pool leak or bad free into a crash the fuzzer sees.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "FakeFirmware/FakeFirmware.h"
#include "ModuleState.h"
#include "Support/AdapterRecords.h"

namespace fuzz {

// Reads the input from its first byte on; past the end every read answers 0 / empty.
class Reader {
public:
  Reader(const uint8_t *Data, size_t Size) : Data(Data), Size(Size) {}
  bool Empty() const { return Position >= Size; }
  uint8_t Byte() { return Position < Size ? Data[Position++] : 0; }
  uint16_t Word() {
    const uint16_t Low = Byte();
    return static_cast<uint16_t>(Low | (Byte() << 8));
  }
  std::vector<uint8_t> Bytes(size_t Count) {
    const size_t Available = Position < Size ? Size - Position : 0;
    const size_t Take = Count < Available ? Count : Available;
    std::vector<uint8_t> Out(Data + Position, Data + Position + Take);
    Position += Take;
    return Out;
  }
  // A length byte, then that many bytes (a length of 255 takes a second byte and adds it: up to 510).
  std::vector<uint8_t> Blob() {
    size_t Length = Byte();
    if (Length == 255) {
      Length += Byte();
    }
    return Bytes(Length);
  }
  std::vector<uint8_t> Rest() { return Bytes(Size); }

private:
  const uint8_t *Data;
  size_t Size;
  size_t Position = 0;
};

struct Family {
  uint16_t Vendor;
  uint16_t Device;
  uint16_t Subsystem;
};
// Every family of the identification table, Intel, and one adapter no family claims.
extern const Family kFamilies[];
extern const size_t kFamilyCount;

// Replies as the adapters' CLP implementations write them, for every reply format the parsers
// know; the fuzz targets pick from these or send their own bytes.
extern const char *const kRealisticReplies[];
extern const size_t kRealisticReplyCount;

[[noreturn]] void Fail(const std::string &What);

// A fresh fake platform with every platform protocol, the driver's state at its load values and
// the driver loaded. The destructor aborts on leaked pool, double or invalid frees and calls that
// real firmware would reject.
class Platform {
public:
  Platform();
  ~Platform();
  Platform(const Platform &) = delete;
  Platform &operator=(const Platform &) = delete;

  fake::FakeFirmware &Fw() { return *Firmware; }
  EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *Protocol = nullptr;

private:
  std::unique_ptr<fake::FakeFirmware> Firmware;
};

// What the adapter driver stand-in does with each command.
struct DialogueLimits {
  size_t MaxQueries = 300; // whole dialogue, restarts included
};

// Runs Instances 0, 1, ... on Controller until Query answers an error or the cap is reached. For
// each handed-out command the reader chooses the reply (realistic or its own bytes, always in a
// buffer of exactly the reply's length), CLPCmdStatus, CLPErrorValue and the configuration action.
// A RestartController action starts the controller over at Instance 0, as an adapter driver does.
// Returns the number of Queries made. Must be called inside Fw().RunUntilReset.
// The PCI functions of one managed adapter at device 0 of Bus, with their settings records linked
// as the platform links them and ManagedMode enabled on top of Flags.
BuiltAdapter AddFuzzAdapter(Platform &P, const Family &Id, uint8_t Bus, uint8_t Ports, uint8_t Pfs,
                            uint8_t Flags);

size_t RunDialogue(Platform &P, EFI_HANDLE Controller, Reader &In, const DialogueLimits &Limits,
                   std::vector<uint8_t> &ReplyStorage);

} // namespace fuzz

namespace fuzz {

// Fills one answer of GetPortConfiguration from the input. Every pointer field is NULL or points
// at a heap block of exactly the field's size. Texts are realistic or, when Hostile, any bytes of
// any length up to 510, ended by their only NUL (a platform text has no other end); with Hostile,
// DesiredFunctionCount and the function types take any byte.
void FillNaloEntry(fake::NaloEntry &Entry, Reader &In, bool Hostile);

} // namespace fuzz
