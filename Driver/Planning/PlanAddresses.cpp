// Virtual MAC, WWNN and WWPN of one function.
#include "ModuleState.h"
#include "Planning/PredicateInternal.h"
#include "Builders/Builders.h"
#include "Strings/DriverStrings.h"
#include "Library/BaseLib.h"
#include "Library/BaseMemoryLib.h"

#define MAC_BYTES 6
#define MAC_DIGITS 12
#define WWN_BYTES 8
#define WWN_DIGITS 16

// Address slots of a Fibre Channel function and of an FCoE one (whose slot 0 holds the MAC).
#define SLOT_MAC 0
#define SLOT_FC_WWNN 0
#define SLOT_FC_WWPN 1
#define SLOT_FCOE_WWNN 1
#define SLOT_FCOE_WWPN 2

VOID PlanPfMac(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count) {
  if (!AddressEntryEnabled() || mModule.Tables.mCurAddressEntry->Mac == nullptr) {
    return;
  }
  const UINT8 *Mac = mModule.Tables.mCurAddressEntry->Mac;
  CHAR8 Desired[MAC_DIGITS + 1];
  HexEncodeBytes(Mac, MAC_BYTES, Desired);
  Desired[MAC_DIGITS] = 0;
  // An all-zero MAC is the platform's "no address", never a value to program.
  if (AsciiStrnCmp(Desired, ASTR("000000000000"), MAC_DIGITS) == 0 ||
      !PlanTextDiffers(Desired, Settings->CurrentAddressText[SLOT_MAC], FUNCTION_ADDRESS_SLOT_SIZE)) {
    return;
  }
  if (AppendCommand(Code, Count)) {
    CopyChars(Settings->CurrentAddressText[SLOT_MAC], Desired, MAC_DIGITS);
    CopyMem(Settings->CurrentAddress[SLOT_MAC], Mac, MAC_BYTES);
  }
}

VOID PlanPfWorldWideName(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count) {
  if (!AddressEntryEnabled()) {
    return;
  }
  const BOOLEAN Fcoe = Settings->PfType == PF_TYPE_FCOE;
  const CHAR8 *Name;
  UINTN Slot;
  if (Code == SET_PF_WWNN) {
    Name = mModule.Tables.mCurAddressEntry->Wwnn;
    Slot = Fcoe ? SLOT_FCOE_WWNN : SLOT_FC_WWNN;
  } else {
    Name = mModule.Tables.mCurAddressEntry->Wwpn;
    Slot = Fcoe ? SLOT_FCOE_WWPN : SLOT_FC_WWPN;
  }
  if (Name == nullptr) {
    return;
  }
  // The platform may write the digits in either case; the adapter reports upper case.
  CHAR8 Desired[WWN_DIGITS + 1];
  CopyCharsUpper(Desired, Name, WWN_DIGITS);
  if (!PlanTextDiffers(Desired, Settings->CurrentAddressText[Slot], FUNCTION_ADDRESS_SLOT_SIZE) ||
      !AppendCommand(Code, Count)) {
    return;
  }
  mModule.Discovered.mScanLength = WWN_DIGITS;
  mModule.Discovered.mByteLength = WWN_BYTES;
  CopyChars(Settings->CurrentAddressText[Slot], Desired, WWN_DIGITS);
  mModule.Discovered.mScanPtr = Settings->CurrentAddressText[Slot];
  mModule.Discovered.mDestPtr = Settings->CurrentAddress[Slot];
  // A short name must not leave bytes of the previous one behind.
  ZeroMem(mModule.Discovered.mDestPtr, WWN_BYTES);
  if (!EFI_ERROR(AsciiHexStringToBuf(mModule.Discovered.mDestPtr, &mModule.Discovered.mByteLength,
                                     mModule.Discovered.mScanPtr, &mModule.Discovered.mScanLength))) {
    // The conversion yields the last digits first; addresses are stored in text order.
    ReverseBytes(mModule.Discovered.mDestPtr, (UINT16)mModule.Discovered.mByteLength);
  }
}
