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

// --- Devices ----------------------------------------------------------------------------------
// Which family each device belongs to is the family table's business (Managed/AdapterFamilies.cpp).
#define DEVICE_QLOGIC_2031 0x2031
#define DEVICE_QLOGIC_2532 0x2532
#define DEVICE_QLOGIC_2261 0x2261
#define DEVICE_QLOGIC_8070 0x8070
#define DEVICE_QLOGIC_1644 0x1644
#define DEVICE_QLOGIC_1656 0x1656
#define DEVICE_EMULEX_0720 0x0720
#define DEVICE_EMULEX_0722 0x0722
#define DEVICE_EMULEX_0724 0x0724
#define DEVICE_EMULEX_E200 0xE200
#define DEVICE_EMULEX_E300 0xE300
#define DEVICE_EMULEX_0700 0x0700
#define DEVICE_EMULEX_0702 0x0702
#define DEVICE_EMULEX_0704 0x0704
#define DEVICE_EMULEX_0710 0x0710
#define DEVICE_EMULEX_0712 0x0712
#define DEVICE_EMULEX_0714 0x0714
#define DEVICE_MELLANOX_1013 0x1013
#define DEVICE_MELLANOX_1015 0x1015
#define DEVICE_MELLANOX_1017 0x1017
#define DEVICE_MELLANOX_101B 0x101B

// The vendor/device values of the devices that some rule names on their own.
#define VIDDID_QLOGIC_8070 VidDid(VENDOR_QLOGIC, DEVICE_QLOGIC_8070)
#define VIDDID_QLOGIC_1644 VidDid(VENDOR_QLOGIC, DEVICE_QLOGIC_1644)
// Shares one boot enable between its functions and numbers its protocols 2.
#define VIDDID_QLOGIC_1656 VidDid(VENDOR_QLOGIC, DEVICE_QLOGIC_1656)
#define VIDDID_EMULEX_0720 VidDid(VENDOR_EMULEX, DEVICE_EMULEX_0720)
#define VIDDID_EMULEX_0722 VidDid(VENDOR_EMULEX, DEVICE_EMULEX_0722)
#define VIDDID_EMULEX_0724 VidDid(VENDOR_EMULEX, DEVICE_EMULEX_0724)
#define VIDDID_EMULEX_0700 VidDid(VENDOR_EMULEX_OC, DEVICE_EMULEX_0700)
#define VIDDID_EMULEX_0710 VidDid(VENDOR_EMULEX_OC, DEVICE_EMULEX_0710)
#define VIDDID_EMULEX_0712 VidDid(VENDOR_EMULEX_OC, DEVICE_EMULEX_0712)
#define VIDDID_EMULEX_0714 VidDid(VENDOR_EMULEX_OC, DEVICE_EMULEX_0714)
#define VIDDID_MELLANOX_1013 VidDid(VENDOR_MELLANOX, DEVICE_MELLANOX_1013)
#define VIDDID_MELLANOX_1015 VidDid(VENDOR_MELLANOX, DEVICE_MELLANOX_1015)

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
