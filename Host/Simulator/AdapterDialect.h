// The command dialects of the simulated adapter models: which CLP lines each adapter family
// understands and what each does to the model's state.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace sim::dialect {

enum class Op { Show, Set, SetLayout, PfInfo, Special, Exit };
enum class Scope { Adapter, Port, Function };

struct Position {
  size_t Port;
  size_t Function;
};

class DialectModel;
using SpecialFn = void (*)(DialectModel &Model, Position At);

// One command line of a dialect. Pattern placeholders: {p} port number, {f} function number,
// {t} target index, {v} the value to the end of the line. A missing {p} or {f} means the
// controller's own port or function. In Property, "{t}" stands for the target index.
struct Line {
  const char *Pattern;
  Op Operation;
  Scope Where;
  const char *Property;
  SpecialFn Special = nullptr;
};

struct PfInfoKey {
  const char *Key;
  Scope Where;
  const char *Property;
};

struct Dialect {
  const char *Name;
  const char *Prefix;
  bool Quoted;     // values in double quotes (QLogic8070)
  size_t PortBase; // number of the first port in commands
  size_t FunctionBase;
  std::vector<Line> Lines;
  std::vector<PfInfoKey> PfInfo;
};

// ---- Special effects -------------------------------------------------------------------------

void RestoreAddresses(DialectModel &Model, Position At);
void RestoreIntelAddress(DialectModel &Model, Position At);
void RestoreMellanoxAddress(DialectModel &Model, Position At);
void RestoreNetPortNames(DialectModel &Model, Position At);

// The dialects whose restore commands read manufacturer values that no other line names.
extern const Dialect IntelDialect, Emulex0720Dialect, FcPortDialect, NetPortDialect;

// The dialect of an adapter, or null when no model simulates it.
const Dialect *DialectFor(uint16_t VendorId, uint16_t DeviceId);

} // namespace sim::dialect
