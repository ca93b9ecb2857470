// IPMI_TRANSPORT_PROTOCOL: the platform's transport to the baseboard management controller.
// The driver relies on two things of its layout: the first byte holds the completion code of
// the last command, and the second pointer-sized member sends a command.
#ifndef PROTOCOL_IPMI_TRANSPORT_H_
#define PROTOCOL_IPMI_TRANSPORT_H_

#include "Uefi.h"

#define IPMI_TRANSPORT_PROTOCOL_GUID                                                                         \
  {                                                                                                          \
    0x700f5026, 0x15de, 0x4fa6, {                                                                            \
      0x9e, 0x37, 0xba, 0xd4, 0x5b, 0x20, 0x0f, 0xfe                                                         \
    }                                                                                                        \
  }

typedef struct _IPMI_TRANSPORT_PROTOCOL IPMI_TRANSPORT_PROTOCOL;

typedef EFI_STATUS(EFIAPI *IPMI_SEND_COMMAND)(IPMI_TRANSPORT_PROTOCOL *This, UINT8 NetFunction, UINT8 Lun,
                                              UINT8 Command, UINT8 *CommandData, UINT8 CommandDataSize,
                                              UINT8 *ResponseData, UINT8 *ResponseDataSize);

struct _IPMI_TRANSPORT_PROTOCOL {
  UINT8 LastCompletionCode;
  UINT8 Reserved[7];
  IPMI_SEND_COMMAND SendIpmiCommand;
  // Further members belong to the platform and are not used by this driver.
};

static_assert(__builtin_offsetof(IPMI_TRANSPORT_PROTOCOL, SendIpmiCommand) == 8, "second pointer member");

#endif
