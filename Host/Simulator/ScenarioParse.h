// Reading a scenario document: the checks and conversions of single values that every part of the
// document uses, with the path of the value in each error (ScenarioError), and the parts read in
// files of their own.
#pragma once

#include <array>
#include <initializer_list>
#include <optional>
#include <string>

#include "Simulator/Scenario.h"

namespace sim::parse {

using nlohmann::json;

[[noreturn]] void Fail(const std::string &Path, const std::string &Message);
std::string Describe(const json &Value);
void CheckKeys(const json &Object, const std::string &Path, std::initializer_list<const char *> Allowed);
std::string Child(const std::string &Path, const char *Key);
std::string Index(const std::string &Path, size_t I);
uint64_t Number(const json &Value, const std::string &Path, uint64_t Max);
// A member that may be absent (Default), of type T; at most Max.
template <typename T>
T NumberOf(const json &Object, const char *Key, const std::string &Path, T Default,
           uint64_t Max = static_cast<T>(~T(0))) {
  if (!Object.contains(Key)) {
    return Default;
  }
  return static_cast<T>(Number(Object[Key], Child(Path, Key), Max));
}

bool BoolOf(const json &Object, const char *Key, const std::string &Path, bool Default);
std::string Text(const json &Value, const std::string &Path);
std::optional<std::string> OptionalText(const json &Object, const char *Key, const std::string &Path);
Bytes HexBytes(const json &Value, const std::string &Path);
std::array<uint8_t, 4> Ipv4(const json &Value, const std::string &Path);
const json &ArrayOf(const json &Object, const char *Key, const std::string &Path, size_t MaxItems);
EFI_GUID ParseGuid(const json &Value, const std::string &Path);
uint64_t ParseStatus(const json &Value, const std::string &Path);
uint32_t ParseAction(const json &Value, const std::string &Path);

// A virtual-I/O entry; Inline: the one in a port, keyed by the port's first function record.
NaloEntrySpec ParseNalo(const json &Object, const std::string &Path, bool Inline);

} // namespace sim::parse
