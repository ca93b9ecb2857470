// The numbers the driver shares across its subsystems: PCI vendor and device IDs, board subsystem
// IDs, the sentinels that stand for a value the adapter has not told us, and the values that follow
// from a settings record. Each is defined here and nowhere else.
#ifndef DRIVER_STRINGS_VOCABULARY_H_
#define DRIVER_STRINGS_VOCABULARY_H_

#include "Uefi.h"
#include "Protocol/AdapterSettings.h"

// --- PCI vendors ------------------------------------------------------------------------------
#define VENDOR_INTEL 0x8086
#define VENDOR_QLOGIC 0x1077
#define VENDOR_EMULEX 0x10DF
// Emulex's OneConnect boards (the 0700 and 0710 families) carry their own vendor ID.
#define VENDOR_EMULEX_OC 0x19A2
#define VENDOR_MELLANOX 0x15B3

// The 32-bit vendor/device value: vendor in the high half, device in the low half.
constexpr UINT32 VidDid(UINT32 Vendor, UINT32 Device) {
  return (Vendor << 16) | Device;
}
inline UINT32 RecordVidDid(const FUNCTION_SETTINGS *Settings) {
  return VidDid(Settings->VendorId, Settings->DeviceId);
}

// A function's position, from its record: the first PCI function of its port, and of the adapter
// (the first function of the first port).
inline BOOLEAN IsFirstFunctionOfPort(const FUNCTION_SETTINGS *Settings) {
  return Settings->PfIndex == 0;
}
inline BOOLEAN IsFirstFunctionOfAdapter(const FUNCTION_SETTINGS *Settings) {
  return Settings->PortIndex == 0 && Settings->PfIndex == 0;
}

// --- Devices that some rule names on its own (families are in Managed/AdapterFamilies.cpp) ----
#define VIDDID_QLOGIC_8070 VidDid(VENDOR_QLOGIC, 0x8070)
#define VIDDID_QLOGIC_1644 VidDid(VENDOR_QLOGIC, 0x1644)
// Shares one boot enable between its functions and numbers its protocols 2.
#define VIDDID_QLOGIC_1656 VidDid(VENDOR_QLOGIC, 0x1656)
#define VIDDID_EMULEX_0720 VidDid(VENDOR_EMULEX, 0x0720)
#define VIDDID_EMULEX_0722 VidDid(VENDOR_EMULEX, 0x0722)
#define VIDDID_EMULEX_0724 VidDid(VENDOR_EMULEX, 0x0724)
#define VIDDID_EMULEX_0700 VidDid(VENDOR_EMULEX_OC, 0x0700)
#define VIDDID_EMULEX_0710 VidDid(VENDOR_EMULEX_OC, 0x0710)
#define VIDDID_EMULEX_0712 VidDid(VENDOR_EMULEX_OC, 0x0712)
#define VIDDID_EMULEX_0714 VidDid(VENDOR_EMULEX_OC, 0x0714)
#define VIDDID_MELLANOX_1013 VidDid(VENDOR_MELLANOX, 0x1013)
#define VIDDID_MELLANOX_1015 VidDid(VENDOR_MELLANOX, 0x1015)

// --- Board subsystem IDs of the Emulex0720 family -------------------------------------------------
// Four ports with four functions each.
#define SUBSYSTEM_EMULEX_4X10G 0xE868
// The two four-port, one-gigabit boards.
#define SUBSYSTEM_EMULEX_4X1G_FIRST 0x11F9
#define SUBSYSTEM_EMULEX_4X1G_LAST 0x11FA

// --- Sentinels -----------------------------------------------------------------------------------
// A current value the adapter has not reported: it differs from any desired value, so a SET follows.
#define PORT_ENABLE_UNKNOWN 254
#define BOOT_ENABLE_UNKNOWN 253
// The same for VLAN IDs, one per source; both lie outside the 12-bit range.
#define VLAN_UNKNOWN_FUNCTION 0x4321
#define VLAN_UNKNOWN_BOOT 0x1234
// "No VLAN" on the wire; a settings record stores it as 0.
#define VLAN_NONE 4095

#endif
