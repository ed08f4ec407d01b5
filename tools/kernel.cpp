// Kernel binaries: checksums, and whether they contain eDMA instructions.

#include <zarn_utility.h>

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "bin/edma_scan.h"
#include "commands.h"
#include "input.h"
#include "inputs.h"
#include "json_writer.h"
#include "output.h"

namespace tool {
namespace {

std::optional<std::int64_t> edmaAt(const Bytes& kernel) {
  return zarn::bin::findEdma(kernel.data(), static_cast<std::int64_t>(kernel.size()));
}

std::string checksumOf(const Bytes& kernel) {
  std::uint64_t checksum = 0;
  clc_bin_compute_checksum(kernel.data(), kernel.size(), &checksum);
  char digits[17];
  std::snprintf(digits, sizeof digits, "%016" PRIx64, checksum);
  return digits;
}

// Like the usual checksum tools, begins a line with a backslash if its name had to be escaped.
std::string checksumLine(const std::string& name, const std::string& checksum, bool hasEdma) {
  std::string shown;
  for (const char c : name) {
    if (c == '\n' || c == '\\') shown += '\\';
    shown += c == '\n' ? 'n' : c;
  }
  return (shown == name ? "" : "\\") + checksum + (hasEdma ? "  edma     " : "  no-edma  ") + shown + "\n";
}

void writeAsJson(const std::string& name, const std::string& checksum, std::optional<std::int64_t> edma) {
  JsonWriter json;
  json.open('{');
  json.field("input", std::string_view(name));
  json.field("checksum", std::string_view(checksum));
  json.field("edma", edma.has_value());
  json.key("edmaAt");
  if (edma) {
    json.value(static_cast<std::uint64_t>(*edma));
  } else {
    json.null();
  }
  json.close('}');
  writeObject(json);
}

int lookForEdma(const Arguments& arguments) {
  bool isFound = false;
  const auto look = [&isFound](const std::string&, const Bytes& kernel) {
    isFound = isFound || edmaAt(kernel).has_value();
    return std::string();
  };
  if (decodeAll(arguments, look, kTrouble) != kDone) return kTrouble;
  return isFound ? kFound : kNotFound;
}

}  // namespace

int checkKernels(const Arguments& arguments) {
  if (arguments.isQuiet) return lookForEdma(arguments);
  return decodeAll(arguments, [&arguments](const std::string& name, const Bytes& kernel) {
    const auto checksum = checksumOf(kernel);
    const auto edma = edmaAt(kernel);
    if (arguments.format == Format::kJson) {
      writeAsJson(name, checksum, edma);
    } else {
      show("", checksumLine(name, checksum, edma.has_value()));
    }
    return std::string();
  });
}

}  // namespace tool
