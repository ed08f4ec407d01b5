#include "json.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "out_of_memory.h"
#include "output.h"
#include "zarn_utility.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

// Device texts and file names hold any bytes: those that are not UTF-8 become U+FFFD.
std::string dump(const Json& json) { return json.dump(-1, ' ', true, Json::error_handler_t::replace); }

// A float as the JSON number with the fewest digits that reads back to it, also through a double, as most readers do.
Json numberOf(float value) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
  for (int digits = 1; digits <= std::numeric_limits<float>::max_digits10; ++digits) {
    char text[32];
    std::snprintf(text, sizeof text, "%.*g", digits, static_cast<double>(value));
    const double number = std::strtod(text, nullptr);
    if (static_cast<float>(number) == value) return number;
  }
  return value;
}

enum PrintType : std::uint32_t { kMaskedThreads, kSingleValue, kPadsOnly, kThreadsAndPads };

constexpr std::size_t kThreads = 64;

Json valuesOf(const PrintBufInfo& info, const std::array<std::uint32_t, 4>& subMask) {
  std::array<std::uint32_t, 128> data{};
  std::memcpy(data.data(), info.data, sizeof data);
  const auto value = [&](std::size_t i) {
    return info.isFloat ? numberOf(std::bit_cast<float>(data[i])) : Json(data[i]);
  };

  auto values = Json::array();
  if (info.printType == kSingleValue) values.push_back(Json::object({{"value", value(0)}}));
  for (std::size_t t = 0; t < kThreads; ++t) {
    const bool isPresent = (subMask[t / 16] >> 2 * (t % 16) & 3) != 0;
    if (info.printType == kMaskedThreads && isPresent && info.is64Bit) {
      values.push_back(Json::object({{"thread", t}, {"low", data[t]}, {"high", data[kThreads + t]}}));
    } else if (info.printType == kThreadsAndPads || (info.printType == kMaskedThreads && isPresent)) {
      values.push_back(Json::object({{"thread", t}, {"value", value(t)}}));
    }
  }
  if (info.printType == kPadsOnly || info.printType == kThreadsAndPads) {
    const std::size_t first = info.printType == kPadsOnly ? 0 : kThreads;
    const char* const pads[] = {"L0", "L1", "R0", "R1", "U0", "U1", "D0", "D1"};
    for (std::size_t i = 0; i < 64; ++i) {
      values.push_back(Json::object({{"pad", pads[i / 8]}, {"lane", i % 8}, {"value", value(first + i)}}));
    }
  }
  return values;
}

std::string hexadecimal(const std::uint8_t* bytes, std::size_t size) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(2 * size);
  for (std::size_t i = 0; i < size; ++i) text.append(1, kDigits[bytes[i] >> 4]).append(1, kDigits[bytes[i] & 15]);
  return text;
}

Json entryOf(const DescBufInfo& entry) {
  const auto pcs = [](const std::uint32_t* first, std::uint32_t count) { return Json::array_t(first, first + count); };
  return Json::object({{"valid", entry.valid == 1},
                       {"overSized", entry.overSized == 1},
                       {"isEdma", entry.isEdma == 1},
                       {"isGlsu", entry.isGlsu == 1},
                       {"isRingBufferAte", entry.isRingBufferAte == 1},
                       {"type", entry.isEdma == 1   ? "eDMA"
                                : entry.isGlsu == 1 ? "GLSU"
                                                    : "RingBufferATE"},
                       {"hasRbNextPtr", entry.hasRbNextPtr == 1},
                       {"hasRbEnd", entry.hasRbEnd == 1},
                       {"hasRbRelease", entry.hasRbRelease == 1},
                       {"totalLogUsed", entry.totalLogUsed},
                       {"pc", entry.pc},
                       {"descSize", entry.descSize},
                       {"desc", hexadecimal(entry.desc, entry.descSize)},
                       {"rbNextPtrCount", entry.rbNextPtrCount},
                       {"rbNextPtrPcs", pcs(entry.rbNextPtrPcs, entry.rbNextPtrCount)},
                       {"rbEndCount", entry.rbEndCount},
                       {"rbEndPcs", pcs(entry.rbEndPcs, entry.rbEndCount)},
                       {"rbReleaseCount", entry.rbReleaseCount},
                       {"rbReleasePcs", pcs(entry.rbReleasePcs, entry.rbReleaseCount)}});
}

void writeLine(const Json& json) { write(dump(json) + "\n"); }

}  // namespace

void writePrintAsJson(const std::string& name, const PrintBufInfo& info, const char* text) {
  std::array<std::uint32_t, 4> subMask{};
  std::memcpy(subMask.data(), info.subMask, sizeof subMask);
  writeLine(Json::object({{"input", name},
                          {"printType", info.printType},
                          {"is64Bit", info.is64Bit},
                          {"isFloat", info.isFloat},
                          {"currentTime", info.currentTime},
                          {"totalSize", info.totalSize},
                          {"graphId", info.graphId},
                          {"kernelId", info.kernelId},
                          {"instanceId", info.instanceId},
                          {"subMask", subMask},
                          {"format", info.format},
                          {"values", valuesOf(info, subMask)},
                          {"text", text}}));
}

void writeLogAsJson(const std::string& name, const DescBufInfo* const* entries, std::size_t count) {
  const auto start = "{\"input\":" + dump(name) + ",\"entries\":[";
  auto endWithoutMemory = "],\"error\":" + dump(kOutOfMemory) + "}\n";
  const auto newest = dump(entryOf(*entries[0]));
  write(start);
  write(newest);
  setLastWordsToOutput(std::move(endWithoutMemory));
  for (std::size_t i = 1; i < count; ++i) {
    const auto entry = dump(entryOf(*entries[i]));
    write(",");
    write(entry);
  }
  write("]}\n");
}

void writeKernelAsJson(const std::string& name, const std::string& checksum, bool hasEdma) {
  writeLine(Json::object({{"input", name}, {"checksum", checksum}, {"edma", hasEdma}}));
}

std::string problemAsJson(const std::string& name, const std::string& problem) {
  return dump(Json::object({{"input", name}, {"error", problem}})) + "\n";
}

}  // namespace tool
