// The compact scenario pack that the firmware platform stand-in (Firmware/ScenarioApp) reads from
// the boot disk. The host packer builds the platform exactly as the simulator does and stores the
// records, virtual-I/O entries and scripted replies as the firmware structures themselves. Every
// pointer inside the pack holds an offset from the start of the pack; the reader adds the pack's
// load address to each position listed in the relocation table. Little-endian, 64-bit pointers.
#pragma once

#include "Uefi.h"
#include "Protocol/AdapterSettings.h"
#include "Protocol/NaloConfiguration.h"

#define PTD_PACK_MAGIC 0x314B434150445450ULL // "PTDPACK1"
#define PTD_PACK_TIMES_UNLIMITED 0xFFFFFFFFFFFFFFFFULL

// Which platform protocols the scenario installs.
#define PTD_PACK_HAS_NALO 0x01
#define PTD_PACK_HAS_POLICY 0x02
#define PTD_PACK_HAS_IPMI 0x04
#define PTD_PACK_HAS_CONSOLE 0x08
#define PTD_PACK_HAS_STATUS_CODE 0x10
#define PTD_PACK_HAS_ADAPTER_SETTINGS 0x20

typedef struct {
  CHAR8 *Command;
  CHAR8 *Reply;
  UINT32 ReplyLength;
  UINT8 Status;
  UINT8 Error;
  UINT8 Reserved[2];
  UINT32 Action;
  UINT32 Reserved2;
  UINT64 Times; // PTD_PACK_TIMES_UNLIMITED: every use
} PTD_PACK_REPLY;

typedef struct {
  UINT32 ReplyCount;
  UINT32 Reserved;
  PTD_PACK_REPLY *Replies;
  PTD_PACK_REPLY Default;
} PTD_PACK_ADAPTER;

typedef struct {
  CHAR8 *Name;    // "adapter/pN/fM", as the transcript names it
  UINT32 Adapter; // index into Adapters
  UINT32 Reserved;
  FUNCTION_SETTINGS *Record; // NULL: no settings protocol on this controller
} PTD_PACK_CONTROLLER;

typedef struct {
  UINT8 Key[3]; // NaloIndex, CardIndex, PortIndex
  UINT8 QueryDefaultsPort;
  UINT8 QueryDefaultsAddresses;
  UINT8 Reserved[3];
  UINT64 Status;
  NALO_CONFIG_HEADER Header;
  NALO_PORT_TABLE PortTable;
  NALO_ADDRESS_ENTRY AddressTable[NALO_FUNCTION_ENTRIES];
  NALO_BOOT_ENTRY BootTable[NALO_FUNCTION_ENTRIES];
} PTD_PACK_NALO;

typedef struct {
  CHAR16 *Name;
  EFI_GUID Guid;
  UINT32 Attributes;
  UINT32 Size;
  UINT8 *Data;
} PTD_PACK_VARIABLE;

typedef struct {
  CHAR8 *Name;
  UINT32 UefiRevision;
  UINT32 Protocols; // PTD_PACK_HAS_* bits
  UINT8 ForceAdapterEnable;
  UINT8 Reserved[3];
  UINT32 MaxRestarts;
  UINT32 IpmiCodeCount;
  UINT32 VariableCount;
  UINT8 *IpmiCodes;
  PTD_PACK_VARIABLE *Variables;
  UINT32 NaloCount;
  UINT32 ControllerCount;
  PTD_PACK_NALO *Nalo;
  PTD_PACK_CONTROLLER *Controllers;
  UINT32 OrderCount;
  UINT32 AdapterCount;
  UINT32 *Order; // controller indices in play order
  PTD_PACK_ADAPTER *Adapters;
} PTD_PACK_SCENARIO;

typedef struct {
  UINT64 Magic;
  UINT32 Size;       // of the whole pack
  UINT32 RelocCount; // UINT32 positions of pointer fields, at Relocs
  UINT32 *Relocs;
  UINT32 ScenarioCount;
  UINT32 Reserved;
  PTD_PACK_SCENARIO *Scenarios;
} PTD_PACK_HEADER;
