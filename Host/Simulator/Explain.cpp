// --explain: the reasons behind each planned command, from the driver's planning observer.
#include "Simulator/Explain.h"

#include <cstring>
#include <sstream>

#include "ModuleState.h"
#include "Planning/CommandCodes.h"
#include "Planning/PlanObserver.h"
#include "Strings/Vocabulary.h"

VOID (*gPlanObserver)(const PLAN_OBSERVATION *Observation) = nullptr;

namespace sim {
namespace {

Explainer *gActive = nullptr;

VOID Trampoline(const PLAN_OBSERVATION *Observation) {
  if (gActive != nullptr) {
    gActive->Observe(Observation);
  }
}

// The driver's name table stops at code 55; the codes above it are named here.
const char *const kLaterCodeNames[] = {
    "SHOW_UMC",
    "SHOW_PF_BANDWIDTH",
    "SHOW_PF_RATE_LIMIT",
    "SHOW_MAX_LINK_SPEED",
    "SHOW_PF_TAR_WWPN1",
    "SHOW_PF_TAR_WWPN2",
    "SHOW_PF_TAR_LUN1",
    "SHOW_PF_TAR_LUN2",
    "SHOW_LINK_SPEED",
    "SHOW_TOPOLOGY",
    "SET_PORT_DEFAULTS",
    "SHOW_PF_VOLATILE_WWNN",
    "SHOW_PF_VOLATILE_WWPN",
    "SHOW_PXE_VLANID",
    "SHOW_PXE_VLAN",
};

std::string CodeName(uint32_t Code) {
  if (Code >= SHOW_UMC && Code <= SHOW_PXE_VLAN) {
    return kLaterCodeNames[Code - SHOW_UMC];
  }
  if (Code >= COMMAND_CODE_NAME_COUNT || mCommandCodeNames[Code] == nullptr) {
    return "code " + std::to_string(Code);
  }
  std::string Name;
  for (const CHAR16 *C = mCommandCodeNames[Code]; *C != 0 && *C != u'(' && *C != u' '; C++) {
    Name += static_cast<char>(*C);
  }
  return Name.empty() ? "code " + std::to_string(Code) : Name;
}

bool IsShow(uint32_t Code) {
  return CodeName(Code).rfind("SHOW_", 0) == 0;
}

std::string Text(const CHAR8 *Value, size_t Max = 255) {
  if (Value == nullptr) {
    return "(none)";
  }
  std::string Out;
  for (size_t I = 0; I < Max && Value[I] != 0; I++) {
    Out += static_cast<char>(Value[I]);
  }
  return Out.empty() ? "(empty)" : Out;
}

std::string Hex(const UINT8 *Bytes, size_t Count) {
  if (Bytes == nullptr) {
    return "(none)";
  }
  static const char kDigits[] = "0123456789ABCDEF";
  std::string Out;
  for (size_t I = 0; I < Count; I++) {
    Out += kDigits[Bytes[I] >> 4];
    Out += kDigits[Bytes[I] & 0x0F];
  }
  return Out;
}

template <class T> size_t EntryIndex(const T *Entry, const T *Table) {
  return Entry != nullptr ? static_cast<size_t>(Entry - Table) : 0;
}

// How the predicate treated a code.
enum class Rule {
  Compared,         // desired and current compared; planned when they differ
  WithoutComparing, // planned whenever its condition holds, whatever the adapter has
  Layout,           // a change of the adapter's layout, which needs a restart
};

struct Decision {
  const char *Setting;
  Rule How;
  const char *Why; // for Rule::WithoutComparing: the rule in words
  std::vector<uint32_t> CurrentFrom;
};

const char kIscsi[] = "iSCSI boot settings are planned whenever the platform's boot entry is usable";
const char kIscsiStatic[] = "planned whenever the usable boot entry gives a static initiator address";
const char kIscsiTarget[] = "planned whenever the usable boot entry gives a static target";
const char kIscsiChap[] = "planned whenever the usable boot entry asks for CHAP";

// The settings the predicate decides and where their current value comes from.
const std::map<uint32_t, Decision> &Decisions() {
  static const std::map<uint32_t, Decision> kDecisions = {
      {SET_PORT_EN, {"port enable", Rule::Compared, nullptr, {SHOW_PORT_EN, SHOW_PF_INFO}}},
      {SET_BOOT_EN, {"boot enable", Rule::Compared, nullptr, {SHOW_BOOT_EN, SHOW_PF_INFO}}},
      {SET_PF_VLANID, {"VLAN", Rule::Compared, nullptr, {SHOW_PF_INFO, SHOW_PXE_VLANID}}},
      {SET_PF_BANDWIDTH, {"minimum bandwidth", Rule::Compared, nullptr, {SHOW_PF_BANDWIDTH, SHOW_PF_INFO}}},
      {SET_PF_RATE_LIMIT, {"maximum bandwidth", Rule::Compared, nullptr, {SHOW_PF_RATE_LIMIT, SHOW_PF_INFO}}},
      {SET_PF_MAC, {"MAC", Rule::Compared, nullptr, {SHOW_PF_MAC, SHOW_PF_INFO}}},
      {SET_PF_WWNN, {"WWNN", Rule::Compared, nullptr, {SHOW_PF_WWNN, SHOW_PF_VOLATILE_WWNN, SHOW_PF_INFO}}},
      {SET_PF_WWPN, {"WWPN", Rule::Compared, nullptr, {SHOW_PF_WWPN, SHOW_PF_VOLATILE_WWPN, SHOW_PF_INFO}}},
      {SET_ISCSI_INI_NAME, {"iSCSI initiator name", Rule::Compared, nullptr, {SHOW_PF_INFO}}},
      {SET_PFCOUNT, {"functions per port", Rule::Layout, nullptr, {SHOW_PF_INFO}}},
      {SET_PF1_TYPE, {"personality", Rule::Layout, nullptr, {SHOW_PF_TYPE, SHOW_PF_INFO}}},
      {SET_PF2_TYPE, {"function type", Rule::Layout, nullptr, {SHOW_PF_INFO, SHOW_PF_TYPE}}},
      {SET_MODE, {"link mode", Rule::Layout, nullptr, {SHOW_LINK_CONFIG}}},
      {SET_UMC, {"partitioning (UMC)", Rule::Layout, nullptr, {SHOW_PF_INFO, SHOW_UMC}}},
      {SET_SRIOV_FOR_CONTROLLER, {"SR-IOV", Rule::Compared, nullptr, {SHOW_SRIOV, SHOW_PF_INFO}}},
      {SET_SRIOV_FOR_PF, {"SR-IOV", Rule::Compared, nullptr, {SHOW_SRIOV, SHOW_PF_INFO}}},
      {SET_ISCSI_INI_ADDR_ORIGIN, {"iSCSI initiator address origin", Rule::WithoutComparing, kIscsi, {}}},
      {SET_ISCSI_INI_IPV4_ADDR, {"iSCSI initiator address", Rule::WithoutComparing, kIscsiStatic, {}}},
      {SET_ISCSI_INI_IPV4_SUBNET_MASK,
       {"iSCSI initiator subnet mask", Rule::WithoutComparing, kIscsiStatic, {}}},
      {SET_ISCSI_INI_IPV4_GATEWAY, {"iSCSI initiator gateway", Rule::WithoutComparing, kIscsiStatic, {}}},
      {SET_ISCSI_TAR_ADDR_ORIGIN, {"iSCSI target address origin", Rule::WithoutComparing, kIscsi, {}}},
      {SET_ISCSI_TAR_NAME, {"iSCSI target name", Rule::WithoutComparing, kIscsiTarget, {}}},
      {SET_ISCSI_TAR_IPV4_ADDR, {"iSCSI target address", Rule::WithoutComparing, kIscsiTarget, {}}},
      {SET_ISCSI_TAR_TCP_PORT, {"iSCSI target TCP port", Rule::WithoutComparing, kIscsiTarget, {}}},
      {SET_ISCSI_TAR_BOOT_LUN, {"iSCSI boot LUN", Rule::WithoutComparing, kIscsiTarget, {}}},
      {SET_ISCSI_TAR_AUTH_METHOD, {"iSCSI authentication method", Rule::WithoutComparing, kIscsi, {}}},
      {SET_ISCSI_TAR_CHAP_USERNAME, {"CHAP user name", Rule::WithoutComparing, kIscsiChap, {}}},
      {SET_ISCSI_TAR_CHAP_SECRET, {"CHAP secret", Rule::WithoutComparing, kIscsiChap, {}}},
      {SET_ISCSI_TAR_MUT_CHAP_SECRET, {"mutual CHAP secret", Rule::WithoutComparing, kIscsiChap, {}}},
      {SET_PF_TAR_WWPN1,
       {"first boot target WWPN",
        Rule::WithoutComparing,
        "boot targets are planned whenever the platform supplies them",
        {}}},
      {SET_PF_TAR_WWPN2,
       {"second boot target WWPN",
        Rule::WithoutComparing,
        "boot targets are planned whenever the platform supplies them",
        {}}},
      {SET_PF_TAR_LUN1,
       {"first boot target LUN",
        Rule::WithoutComparing,
        "boot targets are planned whenever the platform supplies them",
        {}}},
      {SET_PF_TAR_LUN2,
       {"second boot target LUN",
        Rule::WithoutComparing,
        "boot targets are planned whenever the platform supplies them",
        {}}},
      {SET_LINK_SPEED,
       {"link speed",
        Rule::WithoutComparing,
        "boot link settings are planned whenever the platform supplies them",
        {}}},
      {SET_TOPOLOGY,
       {"topology",
        Rule::WithoutComparing,
        "boot link settings are planned whenever the platform supplies them",
        {}}},
      {SET_PXE_VLANID,
       {"PXE VLAN",
        Rule::WithoutComparing,
        "PXE VLAN settings follow the port table's VLAN of a network function at every boot (QLogic8070 "
        "compares the "
        "ID)",
        {}}},
      {SET_ADDR_DEFAULTS,
       {"address defaults",
        Rule::WithoutComparing,
        "the port's addresses go back to the manufacturer's first",
        {}}},
      {SET_PORT_DEFAULTS, {"port defaults", Rule::WithoutComparing, "the platform asks for defaults", {}}},
      {SET_DEFAULT_WWNN,
       {"default WWNN", Rule::WithoutComparing, "an FCoE function takes its manufacturer's names", {}}},
      {SET_DEFAULT_WWPN,
       {"default WWPN", Rule::WithoutComparing, "an FCoE function takes its manufacturer's names", {}}},
  };
  return kDecisions;
}

bool IsSentinel(uint64_t Current, uint32_t Code) {
  switch (Code) {
  case SET_PORT_EN:
    return Current == PORT_ENABLE_UNKNOWN;
  case SET_BOOT_EN:
    return Current == BOOT_ENABLE_UNKNOWN;
  case SET_PF_VLANID:
    return Current == VLAN_UNKNOWN_FUNCTION || Current == VLAN_UNKNOWN_BOOT;
  default:
    return false;
  }
}

// The settings whose desired value is a text of the boot entry, sent without comparing.
struct BootText {
  uint32_t Code;
  CHAR8 *NALO_BOOT_ENTRY::*Field;
  size_t Max;
  const char *Name;
};
const BootText kBootTexts[] = {
    {SET_PF_TAR_WWPN1, &NALO_BOOT_ENTRY::Target1Wwpn, 16, "Target1Wwpn"},
    {SET_PF_TAR_WWPN2, &NALO_BOOT_ENTRY::Target2Wwpn, 16, "Target2Wwpn"},
    {SET_PF_TAR_LUN1, &NALO_BOOT_ENTRY::Target1Lun, 4, "Target1Lun"},
    {SET_PF_TAR_LUN2, &NALO_BOOT_ENTRY::Target2Lun, 4, "Target2Lun"},
    {SET_LINK_SPEED, &NALO_BOOT_ENTRY::FcLinkSpeed, 4, "FcLinkSpeed"},
    {SET_TOPOLOGY, &NALO_BOOT_ENTRY::FcTopology, 2, "FcTopology"},
    {SET_ISCSI_TAR_NAME, &NALO_BOOT_ENTRY::TargetName, 255, "TargetName"},
    {SET_ISCSI_TAR_CHAP_USERNAME, &NALO_BOOT_ENTRY::ChapUserName, 255, "ChapUserName"},
};

// The desired value and where it came from; the current value as the predicate compared it.
struct Values {
  std::string Desired, DesiredFrom, Current;
  bool HasCurrent = true;
  uint64_t CurrentNumber = 0;
};

Values ValuesOf(uint32_t Code, const FUNCTION_SETTINGS *After, const FUNCTION_SETTINGS *Before) {
  const CONFIGURATION_TABLES_STATE &Tab = mModule.Tables;
  const PLANNER_STATE &P = mModule.Planner;
  const DISCOVERED_STATE &D = mModule.Discovered;
  const size_t Fn = EntryIndex(Tab.mCurFunctionEntry, Tab.mNaloPortTable.Function);
  const size_t Addr = EntryIndex(Tab.mCurAddressEntry, Tab.mNaloAddressTable);
  const size_t Boot = EntryIndex(Tab.mCurBootEntry, Tab.mNaloBootTable);
  const NALO_BOOT_ENTRY *B = Tab.mCurBootEntry;
  const NALO_ADDRESS_ENTRY *A = Tab.mCurAddressEntry;
  Values V;
  auto Number = [&](uint64_t Desired, uint64_t Current, std::string From) {
    V.Desired = std::to_string(Desired);
    V.Current = std::to_string(Current);
    V.CurrentNumber = Current;
    V.DesiredFrom = std::move(From);
  };
  const std::string BootEntry = "boot table entry " + std::to_string(Boot) + " ";
  switch (Code) {
  case SET_PORT_EN:
    Number(P.mTargetPortEnable, P.mCurrentPortEnable,
           Tab.mNaloHeader.PortTableValid == 1 ? "port table DesiredPortEnable"
           : Tab.mForceAdapterEnable != 0      ? "policy ForceAdapterEnable"
                                               : "platform defaults");
    break;
  case SET_BOOT_EN:
    Number(P.mTargetBootEnable, P.mCurrentBootEnable, BootEntry + "Enabled");
    break;
  case SET_PF_VLANID:
    Number(D.mTargetVlanId, D.mCurrentVlanId,
           B != nullptr && B->Enabled == 1 ? BootEntry + "BootVlanId"
                                           : "port table function " + std::to_string(Fn) + " FunctionVlanId");
    break;
  case SET_PF_BANDWIDTH:
    Number(P.mTargetBandwidth, P.mCurrentBandwidth,
           "port table function " + std::to_string(Fn) + " MinBandwidthShare");
    break;
  case SET_PF_RATE_LIMIT:
    Number(P.mTargetRateLimit, P.mCurrentRateLimit,
           "port table function " + std::to_string(Fn) + " MaxBandwidthShare");
    break;
  case SET_PF_MAC:
    V.Desired = A != nullptr ? Hex(A->Mac, 6) : "(none)";
    V.DesiredFrom = "address table entry " + std::to_string(Addr) + " Mac";
    V.Current = Text(Before->CurrentAddressText[0], FUNCTION_ADDRESS_SLOT_SIZE);
    break;
  case SET_PF_WWNN:
  case SET_PF_WWPN: {
    const bool Node = Code == SET_PF_WWNN;
    V.Desired = A != nullptr ? Text(Node ? A->Wwnn : A->Wwpn, 16) : "(none)";
    V.DesiredFrom = "address table entry " + std::to_string(Addr) + (Node ? " Wwnn" : " Wwpn");
    // On an FCoE function slot 0 holds the MAC and the names move up one slot.
    const size_t Slot = (Node ? 0 : 1) + (Before->PfType == PF_TYPE_FCOE ? 1 : 0);
    V.Current = Text(Before->CurrentAddressText[Slot], FUNCTION_ADDRESS_SLOT_SIZE);
    break;
  }
  case SET_ISCSI_INI_NAME:
    V.Desired = Text(Tab.mNaloHeader.InitiatorName);
    V.DesiredFrom = "header InitiatorName";
    V.Current = Text(Before->IscsiInitiatorName, sizeof(Before->IscsiInitiatorName));
    break;
  case SET_PFCOUNT:
    Number(D.mTargetPfCount, D.mCurrentPfCount, "port table DesiredFunctionCount");
    break;
  case SET_PF1_TYPE:
    Number(D.mTargetPersonality, D.mCurrentPersonality, "port table function 1 FunctionType");
    break;
  case SET_PF2_TYPE:
    Number(P.mTargetPfTypeWork, P.mCurrentPfTypeWork, "port table function types");
    break;
  case SET_UMC:
    Number(D.mTargetUmc, D.mCurrentUmc, "port table PortMode");
    break;
  case SET_MODE:
    Number(D.mActiveLinkConfig, D.mLinkConfig, "port table PortMode");
    break;
  case SET_SRIOV_FOR_CONTROLLER:
  case SET_SRIOV_FOR_PF:
    Number(After->SriovEnabled, Before->SriovEnabled, "port table function 0 SriovEnable");
    break;
  case SET_PXE_VLANID:
    V.Desired = std::to_string(D.mTargetVlanId);
    V.DesiredFrom = "the decided VLAN";
    V.HasCurrent = false;
    break;
  default:
    V.HasCurrent = false;
    for (const BootText &Row : kBootTexts) {
      if (Row.Code == Code) {
        V.Desired = B != nullptr ? Text(B->*Row.Field, Row.Max) : "(none)";
        V.DesiredFrom = BootEntry + Row.Name;
      }
    }
    break;
  }
  return V;
}

} // namespace

Explainer::Explainer() {
  gActive = this;
  gPlanObserver = Trampoline;
}

Explainer::~Explainer() {
  if (gActive == this) {
    gActive = nullptr;
    gPlanObserver = nullptr;
  }
}

void Explainer::BootStarted() {
  Notes.clear();
  Replies.clear();
  Deciding = false;
}

void Explainer::Step(const std::string &Name, size_t RunIndex, uint64_t StepInstance, bool) {
  Controller = Name;
  Run = RunIndex;
  Instance = StepInstance;
}

Explainer::RunNotes &Explainer::Current() {
  return Notes[{Controller, Run}];
}

void Explainer::Observe(const PLAN_OBSERVATION *O) {
  switch (O->Kind) {
  case PlanObserveDecisionStart: {
    Deciding = true;
    DecisionCode = O->Code;
    DecisionPositions.clear();
    const auto *Bytes = reinterpret_cast<const uint8_t *>(O->Settings);
    RecordBefore.assign(Bytes, Bytes + sizeof(FUNCTION_SETTINGS));
    return;
  }
  case PlanObserveAppend: {
    if (Deciding) {
      DecisionPositions.push_back({O->Position, O->Code});
      return;
    }
    std::ostringstream Why;
    if (IsShow(O->Code)) {
      Why << CodeName(O->Code) << ": discovery, planned at Instance " << Instance
          << (Instance == 0 ? " (phase 1)" : " (phase 2)");
    } else {
      Why << CodeName(O->Code) << ": planned without comparing, by the family's planner at Instance "
          << Instance;
    }
    Current().ByPosition[O->Position] = Why.str();
    return;
  }
  case PlanObserveDecisionEnd: {
    Deciding = false;
    if (O->Code != DecisionCode || RecordBefore.size() != sizeof(FUNCTION_SETTINGS)) {
      return;
    }
    const auto *Before = reinterpret_cast<const FUNCTION_SETTINGS *>(RecordBefore.data());
    const auto Found = Decisions().find(O->Code);
    const Values V = ValuesOf(O->Code, O->Settings, Before);
    std::string From = "the record as the platform gave it";
    if (Found != Decisions().end()) {
      uint64_t Latest = 0;
      bool Any = false;
      for (uint32_t Show : Found->second.CurrentFrom) {
        const auto R = Replies.find({O->Settings, Show});
        if (R != Replies.end() && (!Any || R->second > Latest)) {
          Latest = R->second;
          Any = true;
        }
      }
      if (Any) {
        From = "reply of Instance " + std::to_string(Latest);
      }
    }
    if (!O->Appended) {
      if (Found != Decisions().end() && Found->second.How != Rule::WithoutComparing && V.HasCurrent &&
          O->Code != SET_PF2_TYPE && V.Desired != "(none)") {
        Current().KeptAtStep[Instance].push_back(std::string(Found->second.Setting) + ": desired " +
                                                 V.Desired + " = current " + V.Current +
                                                 ", nothing to change");
      }
      return;
    }
    std::ostringstream Why;
    if (Found == Decisions().end()) {
      Why << "planned by the planning rules at Instance " << Instance;
    } else {
      const Decision &Dn = Found->second;
      const std::string Desired = "desired " + V.Desired + " (" + V.DesiredFrom + ")";
      const std::string Current = V.HasCurrent ? "current " + V.Current + " (" + From + ")" : "";
      if (Dn.How == Rule::WithoutComparing) {
        Why << "planned without comparing: " << Dn.Why;
        if (!V.DesiredFrom.empty()) {
          Why << "; " << Desired;
        }
      } else if (V.HasCurrent && IsSentinel(V.CurrentNumber, O->Code)) {
        Why << "sentinel: " << Desired << ", current forced to " << V.Current
            << " so that this family always gets the SET";
      } else if (O->Code == SET_PF2_TYPE) {
        // One code per function whose type changes; the builder picks the function.
        Why << "layout change needing a restart: a function type the port table wants differs from the one "
               "the "
               "adapter reported ("
            << From << ")";
      } else if (Dn.How == Rule::Layout) {
        Why << "layout change needing a restart: " << Desired << " differs from " << Current;
      } else {
        Why << "compared and different: " << Desired << " differs from " << Current;
      }
    }
    for (const auto &[Position, Appended] : DecisionPositions) {
      Current().ByPosition[Position] = CodeName(Appended) + ": " + Why.str();
    }
    return;
  }
  case PlanObserveReply:
    Replies[{O->Settings, O->Code}] = Instance;
    return;
  }
}

std::vector<std::string> Explainer::Reasons(const std::string &Name, size_t RunIndex, uint64_t StepInstance) {
  std::vector<std::string> Out;
  const auto Found = Notes.find({Name, RunIndex});
  if (Found == Notes.end()) {
    return Out;
  }
  const auto Position = Found->second.ByPosition.find(StepInstance);
  if (Position != Found->second.ByPosition.end()) {
    Out.push_back(Position->second);
  }
  return Out;
}

std::vector<std::string> Explainer::Unchanged(const std::string &Name, size_t RunIndex,
                                              uint64_t StepInstance) {
  const auto Found = Notes.find({Name, RunIndex});
  if (Found == Notes.end()) {
    return {};
  }
  const auto Kept = Found->second.KeptAtStep.find(StepInstance);
  return Kept != Found->second.KeptAtStep.end() ? Kept->second : std::vector<std::string>{};
}

} // namespace sim
