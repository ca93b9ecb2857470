// All module-level state of the driver in one place.
//
// The driver keeps no state anywhere else: every subsystem reads and writes the fields of
// mModule. Every member starts as zero, so the whole state is uninitialised data (.bss) that the
// image loader zero-fills and that takes no room in the image file. The few members whose load
// value is not zero are set by SetModuleLoadValues(), which the entry point calls before anything
// else; ResetModuleState() (host tests and the simulator's reboot) zeroes the state and calls the
// same routine, so both builds start from the same state. No constructor has to run on firmware.
#ifndef DRIVER_MODULE_STATE_H_
#define DRIVER_MODULE_STATE_H_

#include "Uefi.h"
#include "Protocol/AdapterSettings.h"
#include "Protocol/ConsoleMessage.h"
#include "Protocol/IpmiTransport.h"
#include "Protocol/NaloConfiguration.h"
#include "Protocol/PlatformPolicy.h"

#define COMMAND_LIST_ENTRIES 255
#define CLP_COMMAND_BUFFER_SIZE 1024
#define TOOL_COMMAND_MAX 500
#define TOOL_BANNER_CHARS 256
#define PF_TYPE_TABLE_ENTRIES 16
#define CLP_LOG_HEADER_SIZE 61
#define PLAN_INSTANCE_NONE 255
#define IPMI_REQUEST_COPY_SIZE 256

// One flag per adapter family; QLogic2261 is a sub-flag set together with QLogic2031.
typedef struct {
  BOOLEAN Intel;
  BOOLEAN QLogic2031;
  BOOLEAN QLogic2261;
  BOOLEAN QLogic8070;
  BOOLEAN Emulex0720;
  BOOLEAN EmulexE200;
  BOOLEAN Emulex0700;
  BOOLEAN Emulex0710;
  BOOLEAN Mellanox1013;
  BOOLEAN Mellanox1017;
} ADAPTER_FAMILY;

// Snapshot of the five plan bytes, taken once per planning pass; every planner gets a copy.
typedef struct {
  UINT8 PlanInstance;
  UINT8 PlanInstance2;
  UINT8 PlanStopped;
  UINT8 PlanComplete;
  UINT8 LinkAdjusted;
} PLAN_STATE;
static_assert(sizeof(PLAN_STATE) == 5, "PLAN_STATE is five bytes");

struct DRIVER_MODULE_STATE {
  // --- Configuration front and ToolMode ------------------------------------------------------
  BOOLEAN mToolModeAnswered = FALSE;
  BOOLEAN mToolModeFinished = FALSE;
  BOOLEAN mToolModeDeclined = FALSE;
  BOOLEAN mToolBannerShown = FALSE;
  UINT64 mToolModeSetting = 0; // load value 255: CLPCMD_MODE not read yet
  CHAR8 mToolCommandBuffer[TOOL_COMMAND_MAX + 1] = {};
  CHAR16 mToolBanner[TOOL_BANNER_CHARS] = {};
  EFI_CONFIGURE_CLP_PARAMETER_BLK *mToolParameterBlock = nullptr;
  EFI_GUID *mToolParameterTypeGuid = nullptr;
  CONSOLE_MESSAGE_PROTOCOL *mConsoleMessage = nullptr;

  // --- Managed dispatch ------------------------------------------------------------------------
  INT32 CommandList[COMMAND_LIST_ENTRIES] = {};
  UINTN mCommandCount = 0;
  FUNCTION_SETTINGS *mCommandSettings[COMMAND_LIST_ENTRIES] = {};
  CHAR8 ClpCommandBuffer[CLP_COMMAND_BUFFER_SIZE] = {};
  EFI_CONFIGURE_CLP_PARAMETER_BLK mClpParameterBlock = {};
  FUNCTION_SETTINGS *mCurrentSettings = nullptr;
  ADAPTER_SETTINGS_PROTOCOL *mAdapterSettingsProtocol = nullptr;
  BOOLEAN mParseResponse = FALSE;
  UINTN mCurrentCommandCode = 0;
  UINTN mResponseCommandCode = 0;
  ADAPTER_FAMILY mFamily = {};
  BOOLEAN mAddrDefaultsPlanned = FALSE;
  UINT8 mPlanInstance = 0;  // load value PLAN_INSTANCE_NONE
  UINT8 mPlanInstance2 = 0; // load value PLAN_INSTANCE_NONE
  UINT8 mPlanStopped = 0;
  UINT8 mPlanComplete = 0;
  UINT8 mLinkAdjusted = 0;
  // Set when a managed Query handed out a command; a managed Response without it has nothing to
  // act on and returns without effect.
  BOOLEAN mManagedCommandOut = FALSE;

  // --- Platform configuration tables -----------------------------------------------------------
  NALO_CONFIGURATION_PROTOCOL *mNaloConfig = nullptr;
  NALO_CONFIG_HEADER mNaloHeader = {};
  NALO_PORT_TABLE mNaloPortTable = {};
  NALO_ADDRESS_ENTRY mNaloAddressTable[NALO_FUNCTION_ENTRIES] = {};
  NALO_BOOT_ENTRY mNaloBootTable[NALO_FUNCTION_ENTRIES] = {};
  NALO_FUNCTION_ENTRY *mCurFunctionEntry = nullptr;
  NALO_ADDRESS_ENTRY *mCurAddressEntry = nullptr;
  NALO_BOOT_ENTRY *mCurBootEntry = nullptr;
  PLATFORM_POLICY_PROTOCOL *mPlatformPolicy = nullptr;
  UINT8 mPlatformPolicyRecord[PLATFORM_POLICY_RECORD_SIZE] = {};
  BOOLEAN mPlatformPolicyRead = FALSE;
  UINT8 mForceAdapterEnable = 0;
  UINT8 mAdapterNotified = 0;

  // --- Builders ----------------------------------------------------------------------------------
  // Load values: the digits '0', every mPfTypePfNumber entry 1.
  CHAR8 mClpPortDigit = 0;
  CHAR8 mClpPfDigit = 0;
  CHAR8 mClpTargetDigit = 0;
  UINT64 mPfTypePfNumber[PF_TYPE_TABLE_ENTRIES] = {};
  UINT8 mEmulexPfTypeSetIndex = 0;
  UINT8 mEmulex0720Flag = 0;

  // --- Discovered adapter state: shared scan variables ----------------------------------------
  const CHAR8 *mSearchKey = nullptr;
  UINTN mScanLength = 0;
  CHAR8 *mScanPtr = nullptr;
  UINT8 *mDestPtr = nullptr;
  UINTN mByteLength = 0;
  EFI_STATUS mConfigStatus = EFI_SUCCESS;

  // --- Discovered adapter state: current values and their targets ----------------------------
  UINT8 mCurrentPfCount = 0;
  UINT8 mTargetPfCount = 0;
  UINT32 mCurrentPersonality = 0;
  UINT32 mTargetPersonality = 0;
  UINT32 mLinkConfig = 0;
  UINT32 mActiveLinkConfig = 0;
  UINT8 mCurrentUmc = 0;
  UINT8 mTargetUmc = 0;
  UINT16 mCurrentVlanId = 0;
  UINT16 mTargetVlanId = 0;
  UINT32 mPfTypeTable[PF_TYPE_TABLE_ENTRIES] = {};
  UINT8 mPfTypeCount = 0;
  UINT8 mPxeVlanEnabled = 0;
  UINT8 mFcIovSupported = 0;

  // --- Planner working values --------------------------------------------------------------------
  UINT8 mCurrentPortEnable = 0;
  UINT8 mTargetPortEnable = 0;
  UINT8 mCurrentBootEnable = 0;
  UINT8 mTargetBootEnable = 0;
  UINT8 mCurrentBandwidth = 0;
  UINT8 mTargetBandwidth = 0;
  UINT8 mCurrentRateLimit = 0;
  UINT8 mTargetRateLimit = 0;
  UINT32 mCurrentPfTypeWork = 0;
  UINT32 mTargetPfTypeWork = 0;
  UINT8 mRoceMode = 0;
  UINT8 mSriovRequested = 0;
  UINT8 mRoceTypeFound = 0;
  FUNCTION_SETTINGS *mFirstFunctionSettings = nullptr;

  // --- Management-controller reporting --------------------------------------------------------
  IPMI_TRANSPORT_PROTOCOL *mIpmiTransport = nullptr;
  // The transport's private copy of a request; here rather than on the stack, because the send
  // runs at the bottom of the deepest Query paths.
  UINT8 mIpmiRequestCopy[IPMI_REQUEST_COPY_SIZE] = {};
  CHAR8 mClpLogHeader[CLP_LOG_HEADER_SIZE] = {};
};

extern DRIVER_MODULE_STATE mModule;

// Sets the members whose load value is not zero; everything else is left as it is.
VOID SetModuleLoadValues(VOID);

// Host builds only: puts every field of mModule back to its load value.
VOID ResetModuleState(VOID);

#endif
