// Names, offsets and kinds of the FUNCTION_SETTINGS fields, so that scenarios and transcripts can
// address a record's fields by the driver's own names.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

extern "C++" {
#include "Protocol/AdapterSettings.h"
}

namespace sim {

enum class FieldKind {
  Number,    // little-endian unsigned integer of Size bytes
  Flags,     // one byte; a number or a list of flag names
  Text,      // NUL-terminated text in Size bytes
  TextSlots, // Count slots of Size bytes of text
  ByteSlots, // Count slots of Size bytes
};

struct FlagName {
  const char *Name;
  uint8_t Bit;
};

struct RecordField {
  const char *Name;
  size_t Offset;
  size_t Size; // bytes of one value or one slot
  size_t Count;
  FieldKind Kind;
  uint64_t Max; // numbers: largest accepted value
  std::vector<FlagName> Flags;
};

const std::vector<RecordField> &RecordFields();
const RecordField *FindRecordField(const std::string &Name);

uint64_t ReadNumber(const FUNCTION_SETTINGS &Record, const RecordField &Field);
void WriteNumber(FUNCTION_SETTINGS &Record, const RecordField &Field, uint64_t Value);
std::string ReadText(const FUNCTION_SETTINGS &Record, const RecordField &Field, size_t Slot = 0);
void WriteText(FUNCTION_SETTINGS &Record, const RecordField &Field, const std::string &Text, size_t Slot = 0);
std::vector<uint8_t> ReadBytes(const FUNCTION_SETTINGS &Record, const RecordField &Field, size_t Slot);
void WriteBytes(FUNCTION_SETTINGS &Record, const RecordField &Field, const std::vector<uint8_t> &Bytes,
                size_t Slot);

} // namespace sim
