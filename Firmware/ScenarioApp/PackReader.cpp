// Reads the scenario pack from the boot disk next to the stand-in and relocates its pointers.
#include "ScenarioApp.h"

namespace app {

namespace {
const CHAR16 *const kPackPath = W("\\EFI\\BOOT\\scenarios.pack");
} // namespace

PTD_PACK_HEADER *ReadPack(EFI_HANDLE ImageHandle) {
  EFI_LOADED_IMAGE *Self = nullptr;
  if (EFI_ERROR(
          uefi_call_wrapper(BS->HandleProtocol, 3, ImageHandle, &LoadedImageProtocol, (VOID **)&Self))) {
    return nullptr;
  }
  EFI_FILE_HANDLE Root = LibOpenRoot(Self->DeviceHandle);
  if (Root == nullptr) {
    return nullptr;
  }
  EFI_FILE_HANDLE File = nullptr;
  PTD_PACK_HEADER *Pack = nullptr;
  if (!EFI_ERROR(uefi_call_wrapper(Root->Open, 5, Root, &File, (CHAR16 *)kPackPath, EFI_FILE_MODE_READ, 0))) {
    EFI_FILE_INFO *Info = LibFileInfo(File);
    if (Info != nullptr && Info->FileSize >= sizeof(PTD_PACK_HEADER) && Info->FileSize < (64u << 20)) {
      UINTN Size = Info->FileSize;
      Pack = (PTD_PACK_HEADER *)AllocatePool(Size);
      if (Pack != nullptr &&
          (EFI_ERROR(uefi_call_wrapper(File->Read, 3, File, &Size, Pack)) || Size != Info->FileSize ||
           Pack->Magic != PTD_PACK_MAGIC || Pack->Size != Size)) {
        FreePool(Pack);
        Pack = nullptr;
      }
    }
    if (Info != nullptr) {
      FreePool(Info);
    }
    uefi_call_wrapper(File->Close, 1, File);
  }
  uefi_call_wrapper(Root->Close, 1, Root);
  if (Pack == nullptr) {
    return nullptr;
  }
  // Pointers hold pack offsets until here.
  UINT8 *Base = (UINT8 *)Pack;
  Pack->Relocs = (UINT32 *)(Base + (UINTN)Pack->Relocs);
  Pack->Scenarios = (PTD_PACK_SCENARIO *)(Base + (UINTN)Pack->Scenarios);
  for (UINT32 I = 0; I < Pack->RelocCount; I++) {
    const UINT32 Position = Pack->Relocs[I];
    if (Position + 8 > Pack->Size) {
      return nullptr;
    }
    UINT64 *Field = (UINT64 *)(Base + Position);
    *Field += (UINT64)(UINTN)Base;
  }
  return Pack;
}

} // namespace app
