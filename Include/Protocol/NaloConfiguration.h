// NALO_CONFIGURATION_PROTOCOL: the platform's virtual-I/O configuration tables of one port.
// The tables are filled by the platform, so their layouts are pinned byte by byte.
#ifndef PROTOCOL_NALO_CONFIGURATION_H_
#define PROTOCOL_NALO_CONFIGURATION_H_

#include "Uefi.h"

#define NALO_CONFIGURATION_PROTOCOL_GUID                                                                     \
  {                                                                                                          \
    0x77ad1803, 0x2e60, 0x4d77, {                                                                            \
      0x83, 0x1d, 0x30, 0x2e, 0x7b, 0x26, 0xf2, 0xa8                                                         \
    }                                                                                                        \
  }

#define NALO_FUNCTION_ENTRIES 16

typedef struct {
  UINT16 ConfigType;       // 0
  UINT16 ConfigSubtype;    // 2
  UINT8 PortTableValid;    // 4
  UINT8 AddressTableValid; // 5
  UINT8 BootTableValid;    // 6
  UINT8 ResponseFlag;      // 7
  CHAR8 *InitiatorName;    // 8
  UINT8 SriovValid;        // 16
  UINT8 Reserved17[7];
} NALO_CONFIG_HEADER;

typedef struct {
  UINT8 Enabled;      // 0
  UINT8 Reserved1;    // 1
  UINT8 FunctionType; // 2
  UINT8 RoceMode;     // 3
  UINT8 Reserved4[4];
  UINT8 *MinBandwidthShare; // 8
  UINT8 *MaxBandwidthShare; // 16
  UINT16 *FunctionVlanId;   // 24
  UINT8 SriovEnable;        // 32
  UINT8 Reserved33[7];
} NALO_FUNCTION_ENTRY;

typedef struct {
  UINT8 DesiredPortEnable; // 0
  UINT8 Reserved1[2];
  UINT8 PortMode;             // 3
  UINT8 DesiredFunctionCount; // 4
  UINT8 Reserved5[3];
  NALO_FUNCTION_ENTRY Function[NALO_FUNCTION_ENTRIES]; // 8
} NALO_PORT_TABLE;

typedef struct {
  UINT8 Enabled; // 0
  UINT8 Reserved1[7];
  UINT8 *Mac;  // 8
  CHAR8 *Wwnn; // 16
  CHAR8 *Wwpn; // 24
} NALO_ADDRESS_ENTRY;

typedef struct {
  UINT8 Enabled; // 0
  UINT8 Reserved1[7];
  UINT16 *BootVlanId;         // 8
  VOID *Unused16;             // 16
  VOID *Unused24;             // 24
  VOID *Unused32;             // 32
  CHAR8 *Target1Wwpn;         // 40
  CHAR8 *Target1Lun;          // 48
  CHAR8 *Target2Wwpn;         // 56
  CHAR8 *Target2Lun;          // 64
  CHAR8 *FcLinkSpeed;         // 72
  CHAR8 *FcTopology;          // 80
  UINT8 *InitiatorOrigin;     // 88
  VOID *Unused96;             // 96
  UINT8 *InitiatorAddress;    // 104
  UINT8 *InitiatorSubnetMask; // 112
  UINT8 *InitiatorGateway;    // 120
  UINT8 *TargetOrigin;        // 128
  CHAR8 *TargetName;          // 136
  UINT8 *TargetAddress;       // 144
  UINT16 *TargetTcpPort;      // 152
  UINT8 *TargetBootLun;       // 160
  UINT8 *AuthMethod;          // 168
  CHAR8 *ChapUserName;        // 176
  CHAR8 *ChapSecret;          // 184
  CHAR8 *MutualChapSecret;    // 192
  VOID *Unused200;            // 200
} NALO_BOOT_ENTRY;

static_assert(sizeof(NALO_CONFIG_HEADER) == 24, "NALO_CONFIG_HEADER size");
static_assert(__builtin_offsetof(NALO_CONFIG_HEADER, InitiatorName) == 8, "layout");
static_assert(__builtin_offsetof(NALO_CONFIG_HEADER, SriovValid) == 16, "layout");
static_assert(sizeof(NALO_FUNCTION_ENTRY) == 40, "NALO_FUNCTION_ENTRY size");
static_assert(__builtin_offsetof(NALO_FUNCTION_ENTRY, MinBandwidthShare) == 8, "layout");
static_assert(__builtin_offsetof(NALO_FUNCTION_ENTRY, FunctionVlanId) == 24, "layout");
static_assert(__builtin_offsetof(NALO_FUNCTION_ENTRY, SriovEnable) == 32, "layout");
static_assert(sizeof(NALO_PORT_TABLE) == 648, "NALO_PORT_TABLE size");
static_assert(__builtin_offsetof(NALO_PORT_TABLE, DesiredFunctionCount) == 4, "layout");
static_assert(__builtin_offsetof(NALO_PORT_TABLE, Function) == 8, "layout");
static_assert(sizeof(NALO_ADDRESS_ENTRY) == 32, "NALO_ADDRESS_ENTRY size");
static_assert(sizeof(NALO_BOOT_ENTRY) == 208, "NALO_BOOT_ENTRY size");
static_assert(__builtin_offsetof(NALO_BOOT_ENTRY, Target1Wwpn) == 40, "layout");
static_assert(__builtin_offsetof(NALO_BOOT_ENTRY, InitiatorOrigin) == 88, "layout");
static_assert(__builtin_offsetof(NALO_BOOT_ENTRY, InitiatorAddress) == 104, "layout");
static_assert(__builtin_offsetof(NALO_BOOT_ENTRY, TargetOrigin) == 128, "layout");
static_assert(__builtin_offsetof(NALO_BOOT_ENTRY, TargetTcpPort) == 152, "layout");
static_assert(__builtin_offsetof(NALO_BOOT_ENTRY, AuthMethod) == 168, "layout");
static_assert(__builtin_offsetof(NALO_BOOT_ENTRY, MutualChapSecret) == 192, "layout");

// Members 1, 2 and 5 to 7 belong to the platform and are not used by this driver.
typedef EFI_STATUS(EFIAPI *NALO_GET_PORT_CONFIGURATION)(UINT8 NaloIndex, UINT8 CardIndex, UINT8 PortIndex,
                                                        NALO_CONFIG_HEADER *Header,
                                                        NALO_PORT_TABLE *PortTable,
                                                        NALO_ADDRESS_ENTRY *AddressTable,
                                                        NALO_BOOT_ENTRY *BootTable);
typedef BOOLEAN(EFIAPI *NALO_QUERY_DEFAULTS)(UINTN Selector);
typedef EFI_STATUS(EFIAPI *NALO_NOTIFY_RESTART_REQUIRED)(VOID);
typedef EFI_STATUS(EFIAPI *NALO_UNUSED_MEMBER)(VOID);

typedef struct {
  NALO_UNUSED_MEMBER Member1;
  NALO_UNUSED_MEMBER Member2;
  NALO_GET_PORT_CONFIGURATION GetPortConfiguration; // member 3
  NALO_QUERY_DEFAULTS QueryDefaults;                // member 4
  NALO_UNUSED_MEMBER Member5;
  NALO_UNUSED_MEMBER Member6;
  NALO_UNUSED_MEMBER Member7;
  NALO_NOTIFY_RESTART_REQUIRED NotifyRestartRequired; // member 8
} NALO_CONFIGURATION_PROTOCOL;

#define NALO_QUERY_DEFAULTS_PORT 0
#define NALO_QUERY_DEFAULTS_ADDRESSES 1

#endif
