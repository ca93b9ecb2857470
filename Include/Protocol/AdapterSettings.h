// ADAPTER_SETTINGS_PROTOCOL and the per-PCI-function settings record it hands out.
// The platform fills the record, so its byte layout is an interface between two firmware modules;
// every field offset and the record size are pinned below.
#ifndef PROTOCOL_ADAPTER_SETTINGS_H_
#define PROTOCOL_ADAPTER_SETTINGS_H_

#include "Uefi.h"

#define ADAPTER_SETTINGS_PROTOCOL_GUID                                                                       \
  {                                                                                                          \
    0x718250fb, 0x51a9, 0x4107, {                                                                            \
      0xab, 0x94, 0xea, 0x68, 0xf9, 0x11, 0x19, 0xf1                                                         \
    }                                                                                                        \
  }

#define FUNCTION_ADDRESS_SLOTS 4
#define FUNCTION_ADDRESS_SLOT_SIZE 17
#define FUNCTION_FIRMWARE_VERSIONS 4
#define FUNCTION_FIRMWARE_VERSION_SIZE 32
#define FUNCTION_LIST_ENTRIES 16

// PlatformFlags
#define PLATFORM_FLAG_MAC_APPLIED 0x04
#define PLATFORM_FLAG_RECONFIGURE_REQUESTED 0x08
#define PLATFORM_FLAG_MANAGED_MODE_ENABLED 0x20
#define PLATFORM_FLAG_6 0x40
// ProgressFlags
#define PROGRESS_FLAG_PORT_ENABLE_PLANNED 0x08
#define PROGRESS_FLAG_PLAN_DONE1 0x10
#define PROGRESS_FLAG_PLAN_DONE2 0x20
#define PROGRESS_FLAG_CONFIG_DONE 0x80
// ErrorFlags
#define ERROR_FLAG_ERROR_REPORTED 0x01

// Function types (PfType, FunctionType, mPfTypeTable).
#define PF_TYPE_NIC 0
#define PF_TYPE_FC 1
#define PF_TYPE_FCOE 2
#define PF_TYPE_ISCSI 3
#define PF_TYPE_IB 4
#define PF_TYPE_UNKNOWN 5
#define PF_TYPE_ROCE 6
#define PF_TYPE_DISABLED 7

#pragma pack(push, 1)
typedef struct _FUNCTION_SETTINGS FUNCTION_SETTINGS;
struct _FUNCTION_SETTINGS {
  UINT8 Reserved000[8];
  FUNCTION_SETTINGS *Functions[FUNCTION_LIST_ENTRIES]; // 0x008
  FUNCTION_SETTINGS *Ports[FUNCTION_LIST_ENTRIES];     // 0x088
  UINT16 DeviceId;                                     // 0x108
  UINT16 VendorId;                                     // 0x10A
  UINT16 SubsystemId;                                  // 0x10C
  UINT8 Reserved10E[6];
  UINT16 PciAddress; // 0x114
  UINT8 AuxLocation; // 0x116
  UINT8 Reserved117[8];
  UINT8 PortIndexCopy;  // 0x11F
  UINT8 PortIndexCopy2; // 0x120
  UINT8 PortIndex;      // 0x121
  UINT8 PfIndex;        // 0x122
  UINT8 Reserved123;
  UINT8 PfsPerPort;    // 0x124
  UINT8 PortCount;     // 0x125
  UINT8 FunctionCount; // 0x126
  UINT8 Reserved127[2];
  UINT8 MfgAddress[FUNCTION_ADDRESS_SLOTS][FUNCTION_ADDRESS_SLOT_SIZE];         // 0x129
  CHAR8 MfgAddressText[FUNCTION_ADDRESS_SLOTS][FUNCTION_ADDRESS_SLOT_SIZE];     // 0x16D
  UINT8 CurrentAddress[FUNCTION_ADDRESS_SLOTS][FUNCTION_ADDRESS_SLOT_SIZE];     // 0x1B1
  CHAR8 CurrentAddressText[FUNCTION_ADDRESS_SLOTS][FUNCTION_ADDRESS_SLOT_SIZE]; // 0x1F5
  UINT8 PortEnableToApply;                                                      // 0x239
  UINT8 BootEnableToApply;                                                      // 0x23A
  UINT8 PortEnable;                                                             // 0x23B
  UINT8 BootEnable;                                                             // 0x23C
  UINT8 Reserved23D[0x80];
  CHAR8 FirmwareVersion[FUNCTION_FIRMWARE_VERSIONS][FUNCTION_FIRMWARE_VERSION_SIZE]; // 0x2BD
  UINT8 NaloIndex;                                                                   // 0x33D
  UINT8 CardIndex;                                                                   // 0x33E
  UINT8 PortNumber;                                                                  // 0x33F
  UINT8 SubIndex;                                                                    // 0x340
  UINT8 Reserved341[3];
  UINT32 IscsiWord; // 0x344
  UINT8 Reserved348[4];
  UINT32 LinkWord; // 0x34C
  UINT8 Reserved350[4];
  UINT8 PlatformFlags; // 0x354
  UINT8 ProgressFlags; // 0x355
  UINT8 ErrorFlags;    // 0x356
  UINT8 Reserved357;
  UINT32 LinkConfig;  // 0x358
  UINT8 SriovEnabled; // 0x35C
  UINT8 Reserved35D[3];
  UINT32 PfType;              // 0x360
  UINT8 MinBandwidth;         // 0x364
  UINT8 MaxBandwidth;         // 0x365
  UINT16 VlanId;              // 0x366
  UINT8 Reserved368;          //
  CHAR8 MaxLinkSpeedText[10]; // 0x369
  UINT8 Reserved373;
  // 0x374: laid out by function type; a Fibre Channel function uses the first view, an iSCSI
  // function the second.
  union {
    struct {
      CHAR8 TargetWwpn1Text[17]; // 0x374
      CHAR8 TargetWwpn2Text[17]; // 0x385
      CHAR8 TargetLun1Text[5];   // 0x396
      CHAR8 TargetLun2Text[5];   // 0x39B
      CHAR8 LinkSpeedText[5];    // 0x3A0
      CHAR8 TopologyText[3];     // 0x3A5
    };
    struct {
      UINT8 Reserved374[4];
      CHAR8 IscsiInitiatorName[255]; // 0x378
    };
  };
  UINT8 Reserved477[0x668 - 0x477];
  UINT16 MaxLinkSpeedCode; // 0x668
};
#pragma pack(pop)

#define FUNCTION_SETTINGS_SIZE 0x66A
static_assert(sizeof(FUNCTION_SETTINGS) == FUNCTION_SETTINGS_SIZE, "FUNCTION_SETTINGS size");
#define FS_AT(Field, Offset) static_assert(__builtin_offsetof(FUNCTION_SETTINGS, Field) == (Offset), #Field)
FS_AT(Functions, 0x008);
FS_AT(Ports, 0x088);
FS_AT(DeviceId, 0x108);
FS_AT(VendorId, 0x10A);
FS_AT(SubsystemId, 0x10C);
FS_AT(PciAddress, 0x114);
FS_AT(AuxLocation, 0x116);
FS_AT(PortIndexCopy, 0x11F);
FS_AT(PortIndexCopy2, 0x120);
FS_AT(PortIndex, 0x121);
FS_AT(PfIndex, 0x122);
FS_AT(PfsPerPort, 0x124);
FS_AT(PortCount, 0x125);
FS_AT(FunctionCount, 0x126);
FS_AT(MfgAddress, 0x129);
FS_AT(MfgAddressText, 0x16D);
FS_AT(CurrentAddress, 0x1B1);
FS_AT(CurrentAddressText, 0x1F5);
FS_AT(PortEnableToApply, 0x239);
FS_AT(BootEnableToApply, 0x23A);
FS_AT(PortEnable, 0x23B);
FS_AT(BootEnable, 0x23C);
FS_AT(FirmwareVersion, 0x2BD);
FS_AT(NaloIndex, 0x33D);
FS_AT(CardIndex, 0x33E);
FS_AT(PortNumber, 0x33F);
FS_AT(SubIndex, 0x340);
FS_AT(IscsiWord, 0x344);
FS_AT(LinkWord, 0x34C);
FS_AT(PlatformFlags, 0x354);
FS_AT(ProgressFlags, 0x355);
FS_AT(ErrorFlags, 0x356);
FS_AT(LinkConfig, 0x358);
FS_AT(SriovEnabled, 0x35C);
FS_AT(PfType, 0x360);
FS_AT(MinBandwidth, 0x364);
FS_AT(MaxBandwidth, 0x365);
FS_AT(VlanId, 0x366);
FS_AT(MaxLinkSpeedText, 0x369);
FS_AT(TargetWwpn1Text, 0x374);
FS_AT(TargetWwpn2Text, 0x385);
FS_AT(TargetLun1Text, 0x396);
FS_AT(TargetLun2Text, 0x39B);
FS_AT(LinkSpeedText, 0x3A0);
FS_AT(TopologyText, 0x3A5);
FS_AT(IscsiInitiatorName, 0x378);
FS_AT(MaxLinkSpeedCode, 0x668);
#undef FS_AT

// The controller's own record is called ADAPTER_SETTINGS where its role as entry point matters.
typedef FUNCTION_SETTINGS ADAPTER_SETTINGS;

typedef struct _ADAPTER_SETTINGS_PROTOCOL ADAPTER_SETTINGS_PROTOCOL;
typedef EFI_STATUS(EFIAPI *ADAPTER_SETTINGS_GET)(ADAPTER_SETTINGS_PROTOCOL *This,
                                                 FUNCTION_SETTINGS **Settings);

struct _ADAPTER_SETTINGS_PROTOCOL {
  ADAPTER_SETTINGS_GET GetAdapterSettings;
  // Further members belong to the platform and are not used by this driver.
};

#endif
