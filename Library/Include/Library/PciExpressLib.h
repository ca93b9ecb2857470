// Subset of EDK II PciExpressLib. The ECAM base (PcdPciExpressBaseAddress) is taken from the
// ACPI MCFG table that the system table's configuration table leads to.
#ifndef LIBRARY_PCI_EXPRESS_LIB_H_
#define LIBRARY_PCI_EXPRESS_LIB_H_

#include "Uefi.h"

#define PCI_EXPRESS_LIB_ADDRESS(Bus, Device, Function, Register)                                             \
  ((((UINTN)(Bus)) << 20) | (((UINTN)(Device)) << 15) | (((UINTN)(Function)) << 12) | ((UINTN)(Register)))

// Library constructor: finds the ECAM base. Always returns EFI_SUCCESS.
EFI_STATUS PciExpressLibConstructor(VOID);
// 0xFFFF when no ECAM base is known or the address lies outside the 256 MiB window.
UINT16 PciExpressRead16(UINTN Address);
// The ECAM base in use (0 when none was found).
UINT64 PciExpressGetBaseAddress(VOID);

#endif
