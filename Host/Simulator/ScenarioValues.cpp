// Single values of a scenario document: numbers, texts, bytes, addresses, GUIDs, status and action
// names, each checked with the path it has in the document.
#include "Simulator/ScenarioParse.h"
#include "Scenario/TranscriptNames.h"

#include <cerrno>
#include <cstdlib>

namespace sim::parse {

[[noreturn]] void Fail(const std::string &Path, const std::string &Message) {
  throw ScenarioError(Path + ": " + Message);
}

std::string Describe(const json &Value) {
  std::string Text = Value.dump();
  return Text.size() > 40 ? Text.substr(0, 37) + "..." : Text;
}

void CheckKeys(const json &Object, const std::string &Path, std::initializer_list<const char *> Allowed) {
  if (!Object.is_object()) {
    Fail(Path, "expected an object, got " + Describe(Object));
  }
  for (auto It = Object.begin(); It != Object.end(); ++It) {
    bool Known = false;
    for (const char *Key : Allowed) {
      Known = Known || It.key() == Key;
    }
    if (!Known) {
      Fail(Path.empty() ? It.key() : Path + "." + It.key(), "unknown key");
    }
  }
}

std::string Child(const std::string &Path, const char *Key) {
  return Path.empty() ? Key : Path + "." + Key;
}
std::string Index(const std::string &Path, size_t I) {
  return Path + "[" + std::to_string(I) + "]";
}

uint64_t Number(const json &Value, const std::string &Path, uint64_t Max) {
  uint64_t Result = 0;
  if (Value.is_number_unsigned()) {
    Result = Value.get<uint64_t>();
  } else if (Value.is_number_integer()) {
    if (Value.get<int64_t>() < 0) {
      Fail(Path, "expected 0.." + std::to_string(Max) + ", got " + Describe(Value));
    }
    Result = static_cast<uint64_t>(Value.get<int64_t>());
  } else if (Value.is_string()) {
    const std::string Text = Value.get<std::string>();
    char *End = nullptr;
    errno = 0;
    Result = std::strtoull(Text.c_str(), &End, 0);
    if (Text.empty() || Text[0] == '-' || Text[0] == '+' || Text[0] == ' ' || errno != 0 || *End != '\0') {
      Fail(Path, "expected a number in C notation, got " + Describe(Value));
    }
  } else {
    Fail(Path, "expected a number, got " + Describe(Value));
  }
  if (Result > Max) {
    Fail(Path, "expected 0.." + std::to_string(Max) + ", got " + Describe(Value));
  }
  return Result;
}

bool BoolOf(const json &Object, const char *Key, const std::string &Path, bool Default) {
  if (!Object.contains(Key)) {
    return Default;
  }
  if (!Object[Key].is_boolean()) {
    Fail(Child(Path, Key), "expected true or false, got " + Describe(Object[Key]));
  }
  return Object[Key].get<bool>();
}

std::string Text(const json &Value, const std::string &Path) {
  if (!Value.is_string()) {
    Fail(Path, "expected a string, got " + Describe(Value));
  }
  return Value.get<std::string>();
}

std::optional<std::string> OptionalText(const json &Object, const char *Key, const std::string &Path) {
  if (!Object.contains(Key)) {
    return std::nullopt;
  }
  return Text(Object[Key], Child(Path, Key));
}

Bytes HexBytes(const json &Value, const std::string &Path) {
  const std::string Hex = Text(Value, Path);
  Bytes Result;
  int High = -1;
  for (char C : Hex) {
    if (C == ' ' || C == ':') {
      continue;
    }
    int Digit = (C >= '0' && C <= '9')   ? C - '0'
                : (C >= 'a' && C <= 'f') ? C - 'a' + 10
                : (C >= 'A' && C <= 'F') ? C - 'A' + 10
                                         : -1;
    if (Digit < 0) {
      Fail(Path, "expected hexadecimal bytes, got " + Describe(Value));
    }
    if (High < 0) {
      High = Digit;
    } else {
      Result.push_back(static_cast<uint8_t>(High << 4 | Digit));
      High = -1;
    }
  }
  if (High >= 0) {
    Fail(Path, "expected an even number of hexadecimal digits, got " + Describe(Value));
  }
  return Result;
}

// Stored as the platform stores it: least significant byte of the 32-bit value first.
std::array<uint8_t, 4> Ipv4(const json &Value, const std::string &Path) {
  const std::string Dotted = Text(Value, Path);
  std::array<unsigned, 4> Parts{};
  size_t Part = 0;
  std::string Digits;
  for (size_t I = 0; I <= Dotted.size(); I++) {
    const char C = I < Dotted.size() ? Dotted[I] : '.';
    if (C == '.') {
      if (Digits.empty() || Digits.size() > 3 || Part >= 4 || std::stoul(Digits) > 255) {
        Fail(Path, "expected dotted IPv4 text, got " + Describe(Value));
      }
      Parts[Part++] = static_cast<unsigned>(std::stoul(Digits));
      Digits.clear();
    } else if (C >= '0' && C <= '9') {
      Digits += C;
    } else {
      Fail(Path, "expected dotted IPv4 text, got " + Describe(Value));
    }
  }
  if (Part != 4) {
    Fail(Path, "expected dotted IPv4 text, got " + Describe(Value));
  }
  return {static_cast<uint8_t>(Parts[3]), static_cast<uint8_t>(Parts[2]), static_cast<uint8_t>(Parts[1]),
          static_cast<uint8_t>(Parts[0])};
}

const json &ArrayOf(const json &Object, const char *Key, const std::string &Path, size_t MaxItems) {
  const json &Value = Object[Key];
  if (!Value.is_array()) {
    Fail(Child(Path, Key), "expected an array, got " + Describe(Value));
  }
  if (Value.size() > MaxItems) {
    Fail(Child(Path, Key),
         "expected at most " + std::to_string(MaxItems) + " entries, got " + std::to_string(Value.size()));
  }
  return Value;
}

EFI_GUID ParseGuid(const json &Value, const std::string &Path) {
  const std::string G = Text(Value, Path);
  EFI_GUID Guid{};
  unsigned D[11];
  if (G.size() != 36 || std::sscanf(G.c_str(), "%8x-%4x-%4x-%2x%2x-%2x%2x%2x%2x%2x%2x", &D[0], &D[1], &D[2],
                                    &D[3], &D[4], &D[5], &D[6], &D[7], &D[8], &D[9], &D[10]) != 11) {
    Fail(Path, "expected a GUID such as 345ECC0E-0CB6-4B75-BB57-1B129C47333E, got " + Describe(Value));
  }
  Guid.Data1 = D[0];
  Guid.Data2 = static_cast<UINT16>(D[1]);
  Guid.Data3 = static_cast<UINT16>(D[2]);
  for (int I = 0; I < 8; I++) {
    Guid.Data4[I] = static_cast<UINT8>(D[3 + I]);
  }
  return Guid;
}

uint64_t ParseStatus(const json &Value, const std::string &Path) {
  if (Value.is_string()) {
    for (const ptd::StatusNameEntry &Entry : ptd::StatusNames) {
      if (Value.get<std::string>() == Entry.Name) {
        return Entry.Value;
      }
    }
  }
  return Number(Value, Path, UINT64_MAX);
}

uint32_t ParseAction(const json &Value, const std::string &Path) {
  if (Value.is_string()) {
    for (uint32_t I = 0; I < ptd::ActionCount; I++) {
      if (Value.get<std::string>() == ptd::ActionNames[I]) {
        return I;
      }
    }
  }
  return static_cast<uint32_t>(Number(Value, Path, 0xFFFFFFFF));
}

} // namespace sim::parse
