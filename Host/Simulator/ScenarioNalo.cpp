// The virtual-I/O configuration entries of a scenario (top-level "nalo" and a port's inline one).
#include "Simulator/ScenarioParse.h"

namespace sim::parse {

NaloEntrySpec ParseNalo(const json &Object, const std::string &Path, bool Inline) {
  if (Inline) {
    CheckKeys(Object, Path, {"status", "queryDefaults", "Header", "PortTable", "AddressTable", "BootTable"});
  } else {
    CheckKeys(Object, Path,
              {"key", "status", "queryDefaults", "Header", "PortTable", "AddressTable", "BootTable"});
  }
  NaloEntrySpec Entry;
  if (!Inline) {
    if (!Object.contains("key")) {
      Fail(Child(Path, "key"), "missing");
    }
    const json &Key = ArrayOf(Object, "key", Path, 3);
    if (Key.size() != 3) {
      Fail(Child(Path, "key"), "expected [NaloIndex, CardIndex, PortIndex]");
    }
    for (size_t I = 0; I < 3; I++) {
      Entry.Key[I] = static_cast<uint8_t>(Number(Key[I], Index(Child(Path, "key"), I), 0xFF));
    }
  }
  if (Object.contains("status")) {
    Entry.Status = ParseStatus(Object["status"], Child(Path, "status"));
  }
  if (Object.contains("queryDefaults")) {
    const std::string P = Child(Path, "queryDefaults");
    CheckKeys(Object["queryDefaults"], P, {"port", "addresses"});
    Entry.QueryDefaultsPort = BoolOf(Object["queryDefaults"], "port", P, false);
    Entry.QueryDefaultsAddresses = BoolOf(Object["queryDefaults"], "addresses", P, false);
  }
  if (Object.contains("Header")) {
    const json &H = Object["Header"];
    const std::string P = Child(Path, "Header");
    CheckKeys(H, P,
              {"ConfigType", "ConfigSubtype", "PortTableValid", "AddressTableValid", "BootTableValid",
               "ResponseFlag", "InitiatorName", "SriovValid"});
    Entry.ConfigType = NumberOf<uint16_t>(H, "ConfigType", P, 0);
    Entry.ConfigSubtype = NumberOf<uint16_t>(H, "ConfigSubtype", P, 0);
    Entry.PortTableValid = NumberOf<uint8_t>(H, "PortTableValid", P, 0);
    Entry.AddressTableValid = NumberOf<uint8_t>(H, "AddressTableValid", P, 0);
    Entry.BootTableValid = NumberOf<uint8_t>(H, "BootTableValid", P, 0);
    Entry.ResponseFlag = NumberOf<uint8_t>(H, "ResponseFlag", P, 0);
    Entry.SriovValid = NumberOf<uint8_t>(H, "SriovValid", P, 0);
    Entry.InitiatorName = OptionalText(H, "InitiatorName", P);
  }
  if (Object.contains("PortTable")) {
    const json &T = Object["PortTable"];
    const std::string P = Child(Path, "PortTable");
    CheckKeys(T, P, {"DesiredPortEnable", "PortMode", "DesiredFunctionCount", "Function"});
    Entry.DesiredPortEnable = NumberOf<uint8_t>(T, "DesiredPortEnable", P, 0);
    Entry.PortMode = NumberOf<uint8_t>(T, "PortMode", P, 0);
    Entry.DesiredFunctionCount = NumberOf<uint8_t>(T, "DesiredFunctionCount", P, 0);
    if (T.contains("Function")) {
      const json &List = ArrayOf(T, "Function", P, 16);
      for (size_t I = 0; I < List.size(); I++) {
        const std::string FP = Index(Child(P, "Function"), I);
        const json &F = List[I];
        CheckKeys(F, FP,
                  {"Enabled", "FunctionType", "RoceMode", "MinBandwidthShare", "MaxBandwidthShare",
                   "FunctionVlanId", "SriovEnable"});
        NaloFunctionSpec Function;
        Function.Enabled = NumberOf<uint8_t>(F, "Enabled", FP, 0);
        Function.FunctionType = NumberOf<uint8_t>(F, "FunctionType", FP, 0);
        Function.RoceMode = NumberOf<uint8_t>(F, "RoceMode", FP, 0);
        Function.SriovEnable = NumberOf<uint8_t>(F, "SriovEnable", FP, 0);
        if (F.contains("MinBandwidthShare")) {
          Function.MinBandwidthShare = NumberOf<uint8_t>(F, "MinBandwidthShare", FP, 0);
        }
        if (F.contains("MaxBandwidthShare")) {
          Function.MaxBandwidthShare = NumberOf<uint8_t>(F, "MaxBandwidthShare", FP, 0);
        }
        if (F.contains("FunctionVlanId")) {
          Function.FunctionVlanId = NumberOf<uint16_t>(F, "FunctionVlanId", FP, 0);
        }
        Entry.Functions.push_back(Function);
      }
    }
  }
  if (Object.contains("AddressTable")) {
    const json &List = ArrayOf(Object, "AddressTable", Path, 16);
    for (size_t I = 0; I < List.size(); I++) {
      const std::string P = Index(Child(Path, "AddressTable"), I);
      CheckKeys(List[I], P, {"Enabled", "Mac", "Wwnn", "Wwpn"});
      NaloAddressSpec Address;
      Address.Enabled = NumberOf<uint8_t>(List[I], "Enabled", P, 0);
      if (List[I].contains("Mac")) {
        Address.Mac = HexBytes(List[I]["Mac"], Child(P, "Mac"));
        if (Address.Mac->size() != 6) {
          Fail(Child(P, "Mac"), "expected 6 bytes, got " + std::to_string(Address.Mac->size()));
        }
      }
      Address.Wwnn = OptionalText(List[I], "Wwnn", P);
      Address.Wwpn = OptionalText(List[I], "Wwpn", P);
      Entry.Addresses.push_back(Address);
    }
  }
  if (Object.contains("BootTable")) {
    const json &List = ArrayOf(Object, "BootTable", Path, 16);
    for (size_t I = 0; I < List.size(); I++) {
      const std::string P = Index(Child(Path, "BootTable"), I);
      const json &B = List[I];
      CheckKeys(B, P, {"Enabled",         "BootVlanId",       "Target1Wwpn",         "Target1Lun",
                       "Target2Wwpn",     "Target2Lun",       "FcLinkSpeed",         "FcTopology",
                       "InitiatorOrigin", "InitiatorAddress", "InitiatorSubnetMask", "InitiatorGateway",
                       "TargetOrigin",    "TargetName",       "TargetAddress",       "TargetTcpPort",
                       "TargetBootLun",   "AuthMethod",       "ChapUserName",        "ChapSecret",
                       "MutualChapSecret"});
      NaloBootSpec Boot;
      Boot.Enabled = NumberOf<uint8_t>(B, "Enabled", P, 0);
      auto OptionalNumber8 = [&](const char *Key, std::optional<uint8_t> &Out) {
        if (B.contains(Key)) {
          Out = NumberOf<uint8_t>(B, Key, P, 0);
        }
      };
      auto OptionalNumber16 = [&](const char *Key, std::optional<uint16_t> &Out) {
        if (B.contains(Key)) {
          Out = NumberOf<uint16_t>(B, Key, P, 0);
        }
      };
      auto OptionalIp = [&](const char *Key, std::optional<std::array<uint8_t, 4>> &Out) {
        if (B.contains(Key)) {
          Out = Ipv4(B[Key], Child(P, Key));
        }
      };
      OptionalNumber16("BootVlanId", Boot.BootVlanId);
      OptionalNumber16("TargetTcpPort", Boot.TargetTcpPort);
      OptionalNumber8("InitiatorOrigin", Boot.InitiatorOrigin);
      OptionalNumber8("TargetOrigin", Boot.TargetOrigin);
      OptionalNumber8("TargetBootLun", Boot.TargetBootLun);
      OptionalNumber8("AuthMethod", Boot.AuthMethod);
      OptionalIp("InitiatorAddress", Boot.InitiatorAddress);
      OptionalIp("InitiatorSubnetMask", Boot.InitiatorSubnetMask);
      OptionalIp("InitiatorGateway", Boot.InitiatorGateway);
      OptionalIp("TargetAddress", Boot.TargetAddress);
      Boot.Target1Wwpn = OptionalText(B, "Target1Wwpn", P);
      Boot.Target1Lun = OptionalText(B, "Target1Lun", P);
      Boot.Target2Wwpn = OptionalText(B, "Target2Wwpn", P);
      Boot.Target2Lun = OptionalText(B, "Target2Lun", P);
      Boot.FcLinkSpeed = OptionalText(B, "FcLinkSpeed", P);
      Boot.FcTopology = OptionalText(B, "FcTopology", P);
      Boot.TargetName = OptionalText(B, "TargetName", P);
      Boot.ChapUserName = OptionalText(B, "ChapUserName", P);
      Boot.ChapSecret = OptionalText(B, "ChapSecret", P);
      Boot.MutualChapSecret = OptionalText(B, "MutualChapSecret", P);
      Entry.Boots.push_back(Boot);
    }
  }
  return Entry;
}

} // namespace sim::parse
