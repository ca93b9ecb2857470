// The reporting code runs against the host fake firmware: its IPMI transport records every request
// and answers with scripted completion codes, statuses and response bytes; its status-code service
// records every report.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "Support/DriverTest.h"
#include "Library/DebugLib.h"
#include "Library/HostHooks.h"
#include "Reporting/Reporting.h"

class ReportingTest : public DriverTest {
protected:
  std::vector<fake::Event> Requests() const { return Firmware->EventsOf(fake::EventKind::Ipmi); }

  // The text part of every OEM log message sent, in order.
  std::vector<std::string> LoggedTexts() const {
    std::vector<std::string> Texts;
    for (const fake::Event &Request : Requests()) {
      if (Request.Data.size() >= 5) {
        Texts.emplace_back(Request.Data.begin() + 5, Request.Data.end());
      }
    }
    return Texts;
  }

  size_t TransportLookups() const {
    const EFI_GUID Guid = IPMI_TRANSPORT_PROTOCOL_GUID;
    return Firmware->LocateProtocolCalls(Guid);
  }

  // Every request of the next Count attempts fails with Status and completion code Code.
  void ScriptAttempts(size_t Count, EFI_STATUS Status, UINT8 Code) {
    Fw().ScriptIpmiStatuses(std::vector<EFI_STATUS>(Count, Status));
    Fw().ScriptIpmiCompletionCodes(std::vector<uint8_t>(Count, Code));
  }
};

// The bytes of one OEM log message carrying Text, as the management controller expects them.
inline std::vector<UINT8> LogMessage(const std::string &Text) {
  std::vector<UINT8> Bytes = {0x80, 0x28, 0x00, 0x0C, (UINT8)Text.size()};
  Bytes.insert(Bytes.end(), Text.begin(), Text.end());
  return Bytes;
}
