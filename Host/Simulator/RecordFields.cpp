#include "Simulator/RecordFields.h"

#include <cstring>
#include <stdexcept>

namespace sim {

namespace {

#define NUMBER(Field, Max)                                                                                   \
  RecordField {                                                                                              \
#Field, offsetof(FUNCTION_SETTINGS, Field), sizeof(FUNCTION_SETTINGS::Field), 1, FieldKind::Number, Max, \
    {}                                                                                                       \
  }
#define TEXT(Field)                                                                                          \
  RecordField {                                                                                              \
#Field, offsetof(FUNCTION_SETTINGS, Field), sizeof(FUNCTION_SETTINGS::Field), 1, FieldKind::Text, 0, {}  \
  }
#define SLOTS(Field, Kind)                                                                                   \
  RecordField {                                                                                              \
#Field, offsetof(FUNCTION_SETTINGS, Field), sizeof(FUNCTION_SETTINGS::Field[0]),                         \
        sizeof(FUNCTION_SETTINGS::Field) / sizeof(FUNCTION_SETTINGS::Field[0]), Kind, 0, {}                  \
  }

std::vector<RecordField> BuildFields() {
  std::vector<RecordField> Fields = {
      NUMBER(DeviceId, 0xFFFF),
      NUMBER(VendorId, 0xFFFF),
      NUMBER(SubsystemId, 0xFFFF),
      NUMBER(PciAddress, 0xFFFF),
      NUMBER(AuxLocation, 0xFF),
      NUMBER(PortIndexCopy, 0xFF),
      NUMBER(PortIndexCopy2, 0xFF),
      NUMBER(PortIndex, 0xFF),
      NUMBER(PfIndex, 0xFF),
      NUMBER(PfsPerPort, 0xFF),
      NUMBER(PortCount, 0xFF),
      NUMBER(FunctionCount, 0xFF),
      SLOTS(MfgAddress, FieldKind::ByteSlots),
      SLOTS(MfgAddressText, FieldKind::TextSlots),
      SLOTS(CurrentAddress, FieldKind::ByteSlots),
      SLOTS(CurrentAddressText, FieldKind::TextSlots),
      NUMBER(PortEnableToApply, 0xFF),
      NUMBER(BootEnableToApply, 0xFF),
      NUMBER(PortEnable, 0xFF),
      NUMBER(BootEnable, 0xFF),
      SLOTS(FirmwareVersion, FieldKind::TextSlots),
      NUMBER(NaloIndex, 0xFF),
      NUMBER(CardIndex, 0xFF),
      NUMBER(PortNumber, 0xFF),
      NUMBER(SubIndex, 0xFF),
      NUMBER(IscsiWord, 0xFFFFFFFF),
      NUMBER(LinkWord, 0xFFFFFFFF),
      RecordField{
          "PlatformFlags",
          offsetof(FUNCTION_SETTINGS, PlatformFlags),
          1,
          1,
          FieldKind::Flags,
          0xFF,
          {{"MacApplied", 2}, {"ReconfigureRequested", 3}, {"ManagedModeEnabled", 5}, {"PlatformFlag6", 6}}},
      RecordField{"ProgressFlags",
                  offsetof(FUNCTION_SETTINGS, ProgressFlags),
                  1,
                  1,
                  FieldKind::Flags,
                  0xFF,
                  {{"PortEnablePlanned", 3}, {"PlanDone1", 4}, {"PlanDone2", 5}, {"ConfigDone", 7}}},
      RecordField{"ErrorFlags",
                  offsetof(FUNCTION_SETTINGS, ErrorFlags),
                  1,
                  1,
                  FieldKind::Flags,
                  0xFF,
                  {{"ErrorReported", 0}}},
      NUMBER(LinkConfig, 3),
      NUMBER(SriovEnabled, 0xFF),
      NUMBER(PfType, 7),
      NUMBER(MinBandwidth, 0xFF),
      NUMBER(MaxBandwidth, 0xFF),
      NUMBER(VlanId, 0xFFFF),
      TEXT(MaxLinkSpeedText),
      TEXT(TargetWwpn1Text),
      TEXT(TargetWwpn2Text),
      TEXT(TargetLun1Text),
      TEXT(TargetLun2Text),
      TEXT(LinkSpeedText),
      TEXT(TopologyText),
      TEXT(IscsiInitiatorName),
      NUMBER(MaxLinkSpeedCode, 0xFFFF),
  };
  return Fields;
}

#undef NUMBER
#undef TEXT
#undef SLOTS

uint8_t *At(FUNCTION_SETTINGS &Record, size_t Offset) {
  return reinterpret_cast<uint8_t *>(&Record) + Offset;
}
const uint8_t *At(const FUNCTION_SETTINGS &Record, size_t Offset) {
  return reinterpret_cast<const uint8_t *>(&Record) + Offset;
}

} // namespace

const std::vector<RecordField> &RecordFields() {
  static const std::vector<RecordField> Fields = BuildFields();
  return Fields;
}

const RecordField *FindRecordField(const std::string &Name) {
  for (const RecordField &Field : RecordFields()) {
    if (Name == Field.Name) {
      return &Field;
    }
  }
  return nullptr;
}

uint64_t ReadNumber(const FUNCTION_SETTINGS &Record, const RecordField &Field) {
  uint64_t Value = 0;
  std::memcpy(&Value, At(Record, Field.Offset), Field.Size);
  return Value;
}

void WriteNumber(FUNCTION_SETTINGS &Record, const RecordField &Field, uint64_t Value) {
  std::memcpy(At(Record, Field.Offset), &Value, Field.Size);
}

std::string ReadText(const FUNCTION_SETTINGS &Record, const RecordField &Field, size_t Slot) {
  const char *Text = reinterpret_cast<const char *>(At(Record, Field.Offset + Slot * Field.Size));
  return std::string(Text, strnlen(Text, Field.Size));
}

void WriteText(FUNCTION_SETTINGS &Record, const RecordField &Field, const std::string &Text, size_t Slot) {
  if (Text.size() >= Field.Size) {
    throw std::length_error("text longer than " + std::to_string(Field.Size - 1) + " characters");
  }
  uint8_t *Destination = At(Record, Field.Offset + Slot * Field.Size);
  std::memset(Destination, 0, Field.Size);
  std::memcpy(Destination, Text.data(), Text.size());
}

std::vector<uint8_t> ReadBytes(const FUNCTION_SETTINGS &Record, const RecordField &Field, size_t Slot) {
  const uint8_t *Source = At(Record, Field.Offset + Slot * Field.Size);
  return std::vector<uint8_t>(Source, Source + Field.Size);
}

void WriteBytes(FUNCTION_SETTINGS &Record, const RecordField &Field, const std::vector<uint8_t> &Bytes,
                size_t Slot) {
  if (Bytes.size() > Field.Size) {
    throw std::length_error("more than " + std::to_string(Field.Size) + " bytes");
  }
  uint8_t *Destination = At(Record, Field.Offset + Slot * Field.Size);
  std::memset(Destination, 0, Field.Size);
  if (!Bytes.empty()) { // an empty vector's data() may be null, which memcpy must not get
    std::memcpy(Destination, Bytes.data(), Bytes.size());
  }
}

} // namespace sim
