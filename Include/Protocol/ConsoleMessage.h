// CONSOLE_MESSAGE_PROTOCOL: shows a message to the user. Only its second member is used.
#ifndef PROTOCOL_CONSOLE_MESSAGE_H_
#define PROTOCOL_CONSOLE_MESSAGE_H_

#include "Uefi.h"

#define CONSOLE_MESSAGE_PROTOCOL_GUID                                                                        \
  {                                                                                                          \
    0x54f07ef6, 0xc389, 0x4cde, {                                                                            \
      0x88, 0x55, 0xa5, 0xbc, 0xca, 0x22, 0xad, 0xe6                                                         \
    }                                                                                                        \
  }

typedef EFI_STATUS(EFIAPI *CONSOLE_MESSAGE_UNUSED_MEMBER)(VOID);
typedef EFI_STATUS(EFIAPI *CONSOLE_MESSAGE_SHOW)(CHAR16 *String);

typedef struct {
  CONSOLE_MESSAGE_UNUSED_MEMBER Member1;
  CONSOLE_MESSAGE_SHOW ShowMessage; // member 2
} CONSOLE_MESSAGE_PROTOCOL;

#endif
