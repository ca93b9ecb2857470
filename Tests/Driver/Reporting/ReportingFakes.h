// Test doubles for the reporting tests: a scriptable IPMI transport that records every request,
// a status-code service that records every report, and a boot-services table whose
// LocateProtocol hands them out.
#ifndef TESTS_DRIVER_REPORTING_REPORTING_FAKES_H_
#define TESTS_DRIVER_REPORTING_REPORTING_FAKES_H_

#include <gtest/gtest.h>

#include <cstring>
#include <deque>
#include <string>
#include <vector>

#include "Reporting/Reporting.h"
#include "Library/UefiBootServicesTableLib.h"

namespace reporting_test {

struct IpmiRequest {
  UINT8 NetFunction;
  UINT8 Lun;
  UINT8 Command;
  std::vector<UINT8> Data;
  UINT8 ResponseCapacity; // *ResponseDataSize on entry
  const UINT8 *DataPointer;
  const UINT8 *ResponsePointer;
};

struct IpmiAnswer {
  EFI_STATUS Status;
  UINT8 CompletionCode;
};

struct StatusCodeReport {
  EFI_STATUS_CODE_TYPE Type;
  EFI_STATUS_CODE_VALUE Value;
  UINT32 Instance;
  EFI_GUID CallerId;
  bool HasData;
  // The fields of the packed data header, copied out so no test reads them misaligned.
  UINT16 DataHeaderSize;
  UINT16 DataSize;
  EFI_GUID DataType;
};

// One fake platform at a time; the transport and the status-code service reach it through this.
struct FakePlatform;
inline FakePlatform *gFake = nullptr;

struct FakePlatform {
  IPMI_TRANSPORT_PROTOCOL Transport{};
  EFI_STATUS_CODE_RUNTIME_PROTOCOL StatusCode{};
  EFI_BOOT_SERVICES BootServices{};
  EFI_SYSTEM_TABLE SystemTable{};

  bool TransportInstalled = true;
  bool TransportInstalledAsNull = false;
  bool StatusCodeInstalled = true;
  unsigned TransportLookups = 0;

  // Answers in order; once they run out every request completes with 0x00 and EFI_SUCCESS.
  std::deque<IpmiAnswer> Answers;
  std::vector<IpmiRequest> Requests;
  std::vector<StatusCodeReport> Reports;

  FakePlatform() {
    Transport.SendIpmiCommand = SendIpmiCommand;
    StatusCode.ReportStatusCode = ReportStatusCode;
    BootServices.LocateProtocol = LocateProtocol;
    SystemTable.BootServices = &BootServices;
    gFake = this;
    ResetModuleState();
    mSavedST = gST;
    mSavedBS = gBS;
    gST = &SystemTable;
    gBS = &BootServices;
  }
  ~FakePlatform() {
    gST = mSavedST;
    gBS = mSavedBS;
    gFake = nullptr;
    ResetModuleState();
  }
  FakePlatform(const FakePlatform &) = delete;
  FakePlatform &operator=(const FakePlatform &) = delete;

  void Script(std::initializer_list<UINT8> CompletionCodes) {
    for (UINT8 Code : CompletionCodes) {
      Answers.push_back({EFI_SUCCESS, Code});
    }
  }

  // The text part of every OEM log message sent, in order.
  std::vector<std::string> LoggedTexts() const {
    std::vector<std::string> Texts;
    for (const IpmiRequest &Request : Requests) {
      if (Request.Data.size() >= 5) {
        Texts.emplace_back(Request.Data.begin() + 5, Request.Data.end());
      }
    }
    return Texts;
  }

private:
  EFI_SYSTEM_TABLE *mSavedST = nullptr;
  EFI_BOOT_SERVICES *mSavedBS = nullptr;

  static EFI_STATUS EFIAPI SendIpmiCommand(IPMI_TRANSPORT_PROTOCOL *This, UINT8 NetFunction, UINT8 Lun,
                                           UINT8 Command, UINT8 *CommandData, UINT8 CommandDataSize,
                                           UINT8 *ResponseData, UINT8 *ResponseDataSize) {
    FakePlatform *Fake = gFake;
    if (This != &Fake->Transport) {
      ADD_FAILURE() << "transport called with a foreign instance";
    }
    IpmiRequest Request{NetFunction, Lun, Command, {}, *ResponseDataSize, CommandData, ResponseData};
    Request.Data.assign(CommandData, CommandData + CommandDataSize);
    Fake->Requests.push_back(Request);

    IpmiAnswer Answer{EFI_SUCCESS, 0x00};
    if (!Fake->Answers.empty()) {
      Answer = Fake->Answers.front();
      Fake->Answers.pop_front();
    }
    // Scribble a full response over the caller's buffer and report it, as a real controller
    // would; the next attempt must still send the original request with the full capacity.
    for (UINT8 Index = 0; Index < *ResponseDataSize; Index++) {
      ResponseData[Index] = (UINT8)(0xE0 + Index);
    }
    *ResponseDataSize = 1;
    Fake->Transport.LastCompletionCode = Answer.CompletionCode;
    return Answer.Status;
  }

  static EFI_STATUS EFIAPI ReportStatusCode(EFI_STATUS_CODE_TYPE Type, EFI_STATUS_CODE_VALUE Value,
                                            UINT32 Instance, EFI_GUID *CallerId, EFI_STATUS_CODE_DATA *Data) {
    StatusCodeReport Report{Type, Value, Instance, {}, Data != nullptr, 0, 0, {}};
    if (CallerId != nullptr) {
      Report.CallerId = *CallerId;
    }
    if (Data != nullptr) {
      EFI_STATUS_CODE_DATA Header;
      std::memcpy(&Header, Data, sizeof(Header));
      Report.DataHeaderSize = Header.HeaderSize;
      Report.DataSize = Header.Size;
      std::memcpy(&Report.DataType, &Header.Type, sizeof(EFI_GUID));
    }
    gFake->Reports.push_back(Report);
    return EFI_SUCCESS;
  }

  static EFI_STATUS EFIAPI LocateProtocol(EFI_GUID *Protocol, VOID *Registration, VOID **Interface) {
    (void)Registration;
    static const EFI_GUID IpmiGuid = IPMI_TRANSPORT_PROTOCOL_GUID;
    static const EFI_GUID StatusCodeGuid = EFI_STATUS_CODE_RUNTIME_PROTOCOL_GUID;
    FakePlatform *Fake = gFake;
    if (std::memcmp(Protocol, &IpmiGuid, sizeof(EFI_GUID)) == 0) {
      Fake->TransportLookups++;
      if (Fake->TransportInstalledAsNull) {
        *Interface = nullptr;
        return EFI_SUCCESS;
      }
      if (Fake->TransportInstalled) {
        *Interface = &Fake->Transport;
        return EFI_SUCCESS;
      }
    }
    if (std::memcmp(Protocol, &StatusCodeGuid, sizeof(EFI_GUID)) == 0 && Fake->StatusCodeInstalled) {
      *Interface = &Fake->StatusCode;
      return EFI_SUCCESS;
    }
    *Interface = nullptr;
    return EFI_NOT_FOUND;
  }
};

// The bytes of one OEM log message carrying Text, as the management controller expects them.
inline std::vector<UINT8> LogMessage(const std::string &Text) {
  std::vector<UINT8> Bytes = {0x80, 0x28, 0x00, 0x0C, (UINT8)Text.size()};
  Bytes.insert(Bytes.end(), Text.begin(), Text.end());
  return Bytes;
}

} // namespace reporting_test

#endif
