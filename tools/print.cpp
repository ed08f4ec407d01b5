// Print buffers, as text or JSON.

#include <zarn_utility.h>

#include <bit>
#include <cstdint>
#include <string>
#include <string_view>

#include "commands.h"
#include "input.h"
#include "inputs.h"
#include "json_writer.h"
#include "out_of_memory.h"
#include "output.h"
#include "print/print_buffer.h"
#include "print/printf_text.h"
#include "print/shown_values.h"
#include "print/text.h"
#include "print/text_parts.h"

namespace tool {
namespace {

using zarn::print::Header;
using zarn::print::HeaderFault;
using zarn::print::Place;
using zarn::print::ShownValue;
using zarn::print::Text;

std::string problemOf(const Header& header, const Bytes& buffer, const Bytes& stringTable) {
  const auto number = std::to_string(header.number);
  switch (header.fault) {
    case HeaderFault::kNone:
      return {};
    case HeaderFault::kTooShort:
      return tooShort(buffer, "a print buffer", ZARN_PRINT_BUFFER_MIN_SIZE);
    case HeaderFault::kFormatOffset:
      return "format offset " + number + " is outside the string table of " +
             counted(stringTable.size(), "byte", "bytes");
    case HeaderFault::kHeaderWord:
      return "header word is zero";
    case HeaderFault::kPrintKind:
      return "unknown print kind " + number;
    case HeaderFault::kDataType:
      return "unknown data type " + number;
  }
  return {};
}

// The halves of a 64-bit value, the low one first, share an object.
void appendValue(JsonWriter& json, const ShownValue& value, bool isFloat, const Text& text) {
  using Kind = Place::Kind;
  const auto& [kind, index, lane] = value.place;
  const bool isLow = kind == Kind::kThreadLow;
  const bool isHigh = kind == Kind::kThreadHigh;
  if (!isHigh) json.open('{');
  if (kind == Kind::kThread || isLow) json.field("thread", index);
  if (kind == Kind::kPad) {
    json.field("pad", zarn::print::kPadNames[index]);
    json.field("lane", lane);
  }
  json.key(isLow ? "low" : isHigh ? "high" : "value");
  if (isFloat) {
    json.value(std::bit_cast<float>(value.word));
  } else {
    json.value(value.word);
  }
  json.field(isLow    ? "lowText"
             : isHigh ? "highText"
                      : "text",
             text.view().substr(value.begin, value.end - value.begin));
  if (!isLow) json.close('}');
}

void writeAsJson(const std::string& name, const PrintBufInfo& info) {
  Text text;
  const auto values = appendTextAndList(text, info);
  JsonWriter json;
  json.open('{');
  json.field("input", std::string_view(name));
  json.field("printType", info.printType);
  json.field("is64Bit", info.is64Bit);
  json.field("isFloat", info.isFloat);
  json.field("currentTime", info.currentTime);
  json.field("totalSize", info.totalSize);
  json.field("graphId", info.graphId);
  json.field("kernelId", info.kernelId);
  json.field("instanceId", info.instanceId);
  json.key("subMask");
  json.open('[');
  for (std::uint32_t i = 0; i < 4; ++i) json.value(zarn::print::wordAt(info.subMask, i));
  json.close(']');
  json.field("format", info.format);
  json.key("values");
  json.open('[');
  for (const auto& value : values) appendValue(json, value, info.isFloat, text);
  json.close(']');
  json.field("text", text.view());
  json.close('}');
  writeObject(json);
}

}  // namespace

int printBuffers(const Arguments& arguments) {
  const auto& tableName = *arguments.stringTable;
  setCurrentInput(tableName, arguments.names.size(), arguments.format, kFailed);
  Bytes table;
  if (const auto problem = table.read(tableName); !problem.empty()) {
    reportProblem(tableName, problem, arguments.format);
    return finish(kFailed);
  }
  return decodeAll(arguments, [&](const std::string& name, const Bytes& buffer) {
    // A format is read up to its NUL; the one after the table's bytes ends a last string that has none.
    const auto header = zarn::print::readHeader(buffer.data(), buffer.size(), table.data(), table.size());
    if (header.info == nullptr) return problemOf(header, buffer, table);
    if (arguments.format == Format::kJson) {
      writeAsJson(name, *header.info);
    } else {
      Text text;
      appendText(text, *header.info);
      showText(arguments, name, text.view());
    }
    return std::string();
  });
}

}  // namespace tool
