// Base UEFI types for the driver, the host fake firmware and the firmware test application.
// The types themselves come from gnu-efi; this header adds only what gnu-efi does not carry
// (the platform-to-driver configuration protocol and the PI status-code interfaces).
#ifndef PLATFORM_TO_DRIVER_UEFI_H_
#define PLATFORM_TO_DRIVER_UEFI_H_

extern "C" {
#include <efi.h>
}

// gnu-efi spells CHAR8 as UINT8 (unsigned char), unlike EDK II's char, so a string literal is not a
// CHAR8 string. Tables keep their texts as `const char *`; ASTR() converts where a CHAR8 API is
// called. The print and debug formats of our EDK II subset take `const char *` directly.
static inline const CHAR8 *ASTR(const char *Text) {
  return reinterpret_cast<const CHAR8 *>(Text);
}
static inline CHAR8 *ASTR(char *Text) {
  return reinterpret_cast<CHAR8 *>(Text);
}

// gnu-efi spells CHAR16 as UINT16, so C++ needs a cast to use a u"" literal where firmware
// interfaces take CHAR16 pointers. The firmware never writes through these names.
#define WSTR(Literal) ((CHAR16 *)(u"" Literal))

// ---------------------------------------------------------------------------------------------
// EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL (UEFI 2.x, chapter "Platform to driver config")
// ---------------------------------------------------------------------------------------------
#define EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL_GUID                                                   \
  {                                                                                                          \
    0x642cd590, 0x8059, 0x4c0a, {                                                                            \
      0xa9, 0x58, 0xc5, 0xec, 0x07, 0xd2, 0x3c, 0x4b                                                         \
    }                                                                                                        \
  }

#define EFI_PLATFORM_TO_DRIVER_CONFIGURATION_CLP_GUID                                                        \
  {                                                                                                          \
    0x345ecc0e, 0x0cb6, 0x4b75, {                                                                            \
      0xbb, 0x57, 0x1b, 0x12, 0x9c, 0x47, 0x33, 0x3e                                                         \
    }                                                                                                        \
  }

// A 32-bit value on the wire; an adapter driver may pass any of them, so every UINT32 must be a
// valid value of the type (a plain enum would only cover 0 to 7).
typedef enum : UINT32 {
  EfiPlatformConfigurationActionNone = 0,
  EfiPlatformConfigurationActionStopController = 1,
  EfiPlatformConfigurationActionRestartController = 2,
  EfiPlatformConfigurationActionRestartPlatform = 3,
  EfiPlatformConfigurationActionNvramFailed = 4,
  EfiPlatformConfigurationActionUnsupportedGuid = 5,
  EfiPlatformConfigurationActionMaximum
} EFI_PLATFORM_CONFIGURATION_ACTION;

typedef struct {
  CHAR8 *CLPCommand;
  UINT32 CLPCommandLength;
  CHAR8 *CLPReturnString;
  UINT32 CLPReturnStringLength;
  UINT8 CLPCmdStatus;
  UINT8 CLPErrorValue;
  UINT16 CLPMsgCode;
} EFI_CONFIGURE_CLP_PARAMETER_BLK;

static_assert(sizeof(EFI_CONFIGURE_CLP_PARAMETER_BLK) == 32, "CLP parameter block is 32 bytes");
static_assert(__builtin_offsetof(EFI_CONFIGURE_CLP_PARAMETER_BLK, CLPReturnString) == 16, "layout");
static_assert(__builtin_offsetof(EFI_CONFIGURE_CLP_PARAMETER_BLK, CLPCmdStatus) == 28, "layout");
static_assert(__builtin_offsetof(EFI_CONFIGURE_CLP_PARAMETER_BLK, CLPMsgCode) == 30, "layout");

typedef struct _EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL;

typedef EFI_STATUS(EFIAPI *EFI_PLATFORM_TO_DRIVER_CONFIGURATION_QUERY)(
    EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *This, EFI_HANDLE ControllerHandle, EFI_HANDLE ChildHandle,
    UINTN *Instance, EFI_GUID **ParameterTypeGuid, VOID **ParameterBlock, UINTN *ParameterBlockSize);

typedef EFI_STATUS(EFIAPI *EFI_PLATFORM_TO_DRIVER_CONFIGURATION_RESPONSE)(
    EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *This, EFI_HANDLE ControllerHandle, EFI_HANDLE ChildHandle,
    UINTN *Instance, EFI_GUID *ParameterTypeGuid, VOID *ParameterBlock, UINTN ParameterBlockSize,
    EFI_PLATFORM_CONFIGURATION_ACTION ConfigurationAction);

struct _EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL {
  EFI_PLATFORM_TO_DRIVER_CONFIGURATION_QUERY Query;
  EFI_PLATFORM_TO_DRIVER_CONFIGURATION_RESPONSE Response;
};

// ---------------------------------------------------------------------------------------------
// PI status codes
// ---------------------------------------------------------------------------------------------
typedef UINT32 EFI_STATUS_CODE_TYPE;
typedef UINT32 EFI_STATUS_CODE_VALUE;

#define EFI_ERROR_CODE 0x00000002
#define EFI_ERROR_MAJOR 0x80000000

#pragma pack(push, 1)
typedef struct {
  UINT16 HeaderSize;
  UINT16 Size;
  EFI_GUID Type;
} EFI_STATUS_CODE_DATA;
#pragma pack(pop)
static_assert(sizeof(EFI_STATUS_CODE_DATA) == 20, "EFI_STATUS_CODE_DATA is 20 bytes");

#define EFI_STATUS_CODE_SPECIFIC_DATA_GUID                                                                   \
  {                                                                                                          \
    0x335984bd, 0xe805, 0x409a, {                                                                            \
      0xb8, 0xf8, 0xd2, 0x7e, 0xce, 0x5f, 0xf7, 0xa6                                                         \
    }                                                                                                        \
  }

#define EFI_STATUS_CODE_RUNTIME_PROTOCOL_GUID                                                                \
  {                                                                                                          \
    0xd2b2b828, 0x0826, 0x48a7, {                                                                            \
      0xb3, 0xdf, 0x98, 0x3c, 0x00, 0x60, 0x24, 0xf0                                                         \
    }                                                                                                        \
  }

typedef EFI_STATUS(EFIAPI *EFI_REPORT_STATUS_CODE)(EFI_STATUS_CODE_TYPE Type, EFI_STATUS_CODE_VALUE Value,
                                                   UINT32 Instance, EFI_GUID *CallerId,
                                                   EFI_STATUS_CODE_DATA *Data);

typedef struct {
  EFI_REPORT_STATUS_CODE ReportStatusCode;
} EFI_STATUS_CODE_RUNTIME_PROTOCOL;

#define EFI_RSC_HANDLER_PROTOCOL_GUID                                                                        \
  {                                                                                                          \
    0x86212936, 0x0e76, 0x41c8, {                                                                            \
      0xa0, 0x3a, 0x2a, 0xf2, 0xfc, 0x1c, 0x39, 0xe2                                                         \
    }                                                                                                        \
  }

typedef EFI_STATUS(EFIAPI *EFI_RSC_HANDLER_CALLBACK)(EFI_STATUS_CODE_TYPE Type, EFI_STATUS_CODE_VALUE Value,
                                                     UINT32 Instance, EFI_GUID *CallerId,
                                                     EFI_STATUS_CODE_DATA *Data);
typedef EFI_STATUS(EFIAPI *EFI_RSC_HANDLER_REGISTER)(EFI_RSC_HANDLER_CALLBACK Callback, EFI_TPL Tpl);
typedef EFI_STATUS(EFIAPI *EFI_RSC_HANDLER_UNREGISTER)(EFI_RSC_HANDLER_CALLBACK Callback);

typedef struct {
  EFI_RSC_HANDLER_REGISTER Register;
  EFI_RSC_HANDLER_UNREGISTER Unregister;
} EFI_RSC_HANDLER_PROTOCOL;

// The revision the driver requires of the system table: UEFI 2.30.
#define PLATFORM_TO_DRIVER_REQUIRED_UEFI_REVISION 0x0002001E

#endif
