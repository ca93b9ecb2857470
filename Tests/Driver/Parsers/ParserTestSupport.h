// Fixture for the response parser tests: zeroed settings records wired into ports, and replies
// handed over in buffers of exactly their length, without a terminator, as an option ROM may.
#ifndef TESTS_DRIVER_PARSERS_PARSER_TEST_SUPPORT_H_
#define TESTS_DRIVER_PARSERS_PARSER_TEST_SUPPORT_H_

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "Parsers/DiscoveredState.h"

class ParserTest : public ::testing::Test {
protected:
  void SetUp() override { ResetModuleState(); }

  FUNCTION_SETTINGS *NewRecord(UINT16 Vendor, UINT16 Device, UINT8 Port = 0, UINT8 Pf = 0) {
    Records.push_back(std::make_unique<FUNCTION_SETTINGS>());
    FUNCTION_SETTINGS *Record = Records.back().get();
    std::memset(Record, 0, sizeof(*Record));
    Record->VendorId = Vendor;
    Record->DeviceId = Device;
    Record->PortIndex = Port;
    Record->PfIndex = Pf;
    return Record;
  }

  // Ports x Pfs records; every record lists its port's functions, the first lists the ports.
  // Returns the first function of the first port.
  FUNCTION_SETTINGS *NewAdapter(UINT16 Vendor, UINT16 Device, UINT8 Ports, UINT8 Pfs) {
    std::vector<std::vector<FUNCTION_SETTINGS *>> Grid(Ports);
    for (UINT8 Port = 0; Port < Ports; Port++) {
      for (UINT8 Pf = 0; Pf < Pfs; Pf++) {
        Grid[Port].push_back(NewRecord(Vendor, Device, Port, Pf));
      }
    }
    for (auto &PortFunctions : Grid) {
      for (FUNCTION_SETTINGS *Record : PortFunctions) {
        Record->FunctionCount = Pfs;
        Record->PortCount = Ports;
        for (UINT8 Pf = 0; Pf < Pfs; Pf++) {
          Record->Functions[Pf] = PortFunctions[Pf];
        }
        for (UINT8 Port = 0; Port < Ports; Port++) {
          Record->Ports[Port] = Grid[Port][0];
        }
      }
    }
    return Grid[0][0];
  }

  // The reply lives in a buffer of exactly its length: reading one byte more is an ASan error.
  void Parse(FUNCTION_SETTINGS *Settings, const std::string &Reply, UINTN Code) {
    std::vector<CHAR8> Buffer(Reply.begin(), Reply.end());
    UINTN Instance = 0;
    EXPECT_EQ(EFI_SUCCESS, ParseClpReply(Settings, &Instance, Buffer.empty() ? nullptr : Buffer.data(),
                                         (UINT32)Buffer.size(), Code));
  }

  static std::string Text(const CHAR8 *Slot) { return reinterpret_cast<const char *>(Slot); }
  static std::vector<UINT8> Bytes(const UINT8 *Slot, size_t Count) { return {Slot, Slot + Count}; }

  std::vector<std::unique_ptr<FUNCTION_SETTINGS>> Records;
};

#endif
