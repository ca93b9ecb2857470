// Status codes with extended data, reported through the PI status code runtime protocol. The
// protocol is looked up on every report: the router may be installed after this driver started,
// and a report made before that is dropped rather than remembered.
#include "Library/ReportStatusCodeLib.h"
#include "Library/BaseMemoryLib.h"
#include "Library/DebugLib.h"
#include "Library/UefiBootServicesTableLib.h"

namespace {

// Header plus data is built on the stack; the driver's extended data is a few dozen bytes.
const UINTN kMaxExtendedDataSize = 200;

const EFI_GUID kStatusCodeSpecificDataGuid = EFI_STATUS_CODE_SPECIFIC_DATA_GUID;
const EFI_GUID kStatusCodeRuntimeProtocolGuid = EFI_STATUS_CODE_RUNTIME_PROTOCOL_GUID;

} // namespace

EFI_STATUS ReportStatusCodeEx(EFI_STATUS_CODE_TYPE Type, EFI_STATUS_CODE_VALUE Value, UINT32 Instance,
                              const EFI_GUID *CallerId, const EFI_GUID *ExtendedDataGuid,
                              const VOID *ExtendedData, UINTN ExtendedDataSize) {
  ASSERT(!(ExtendedData == nullptr && ExtendedDataSize != 0));
  ASSERT(!(ExtendedData != nullptr && ExtendedDataSize == 0));
  if (ExtendedDataSize > kMaxExtendedDataSize) {
    return EFI_UNSUPPORTED;
  }
  if (ExtendedData == nullptr) {
    ExtendedDataSize = 0;
  }

  // Aligned like a UINT64, so the header and the data are naturally aligned for the listener.
  alignas(UINT64) UINT8 Storage[sizeof(EFI_STATUS_CODE_DATA) + kMaxExtendedDataSize];
  EFI_STATUS_CODE_DATA *Data = (EFI_STATUS_CODE_DATA *)Storage;
  Data->HeaderSize = (UINT16)sizeof(EFI_STATUS_CODE_DATA);
  Data->Size = (UINT16)ExtendedDataSize;
  CopyGuid(&Data->Type, ExtendedDataGuid != nullptr ? ExtendedDataGuid : &kStatusCodeSpecificDataGuid);
  if (ExtendedDataSize != 0) {
    CopyMem(Storage + sizeof(EFI_STATUS_CODE_DATA), ExtendedData, ExtendedDataSize);
  }

  if (gBS == nullptr) {
    return EFI_UNSUPPORTED;
  }
  EFI_STATUS_CODE_RUNTIME_PROTOCOL *Protocol = nullptr;
  EFI_STATUS Status =
      gBS->LocateProtocol((EFI_GUID *)&kStatusCodeRuntimeProtocolGuid, nullptr, (VOID **)&Protocol);
  if (EFI_ERROR(Status) || Protocol == nullptr || Protocol->ReportStatusCode == nullptr) {
    return EFI_UNSUPPORTED;
  }
  return Protocol->ReportStatusCode(Type, Value, Instance, (EFI_GUID *)CallerId, Data);
}
