// PLATFORM_POLICY_PROTOCOL: supplies the switch that forces port and boot enable on.
#ifndef PROTOCOL_PLATFORM_POLICY_H_
#define PROTOCOL_PLATFORM_POLICY_H_

#include "Uefi.h"

#define PLATFORM_POLICY_PROTOCOL_GUID                                                                        \
  {                                                                                                          \
    0xdd93b9c3, 0xa4cd, 0x4156, {                                                                            \
      0xbc, 0x9d, 0x85, 0x7c, 0x0a, 0xfc, 0xb2, 0x47                                                         \
    }                                                                                                        \
  }

// Only byte 2 of the record is defined for this driver; the rest is reserved room.
#define PLATFORM_POLICY_RECORD_SIZE 16
#define PLATFORM_POLICY_FORCE_ADAPTER_ENABLE_OFFSET 2

typedef EFI_STATUS(EFIAPI *PLATFORM_POLICY_UNUSED_MEMBER)(VOID);
typedef EFI_STATUS(EFIAPI *PLATFORM_POLICY_GET_POLICY)(UINT8 *Record);

typedef struct {
  PLATFORM_POLICY_UNUSED_MEMBER Member1;
  PLATFORM_POLICY_UNUSED_MEMBER Member2;
  PLATFORM_POLICY_UNUSED_MEMBER Member3;
  PLATFORM_POLICY_GET_POLICY GetPolicy; // member 4
} PLATFORM_POLICY_PROTOCOL;

#endif
