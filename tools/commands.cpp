#include "commands.h"

#include <zarn_utility.h>

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "input.h"
#include "json.h"
#include "out_of_memory.h"
#include "output.h"

namespace tool {
namespace {

// Gives back what the library returned.
template <auto release>
struct Release {
  template <class T>
  void operator()(T* result) const {
    release(&result);
  }
};
using PrintText = std::unique_ptr<char, Release<db_free_printf_string>>;
using PrintInfo = std::unique_ptr<PrintBufInfo, Release<db_free_print_buffer_info>>;
using Report = std::unique_ptr<char, Release<db_free_desc_string>>;

// What came of an input: the problem, if there is one, and whether the input was shown for all that.
struct Outcome {
  std::string problem;
  bool isShown;
};

const Outcome kShown{{}, true};

Outcome failed(std::string problem) { return {std::move(problem), false}; }

using Decode = std::function<Outcome(const std::string& name, const Bytes&)>;

void prepareForLackOfMemory(const std::string& name, std::size_t inputsAfter, Format format, int status) {
  const auto problem = kOutOfMemory + ("; inputs after it that were not decoded: " + std::to_string(inputsAfter));
  setLastWords({.toOutput = format == Format::kJson ? problemAsJson(name, kOutOfMemory) : "",
                .toError = complaint(name, problem),
                .status = status});
}

// Decodes the inputs in order. The status is kDone, or `failure` where an input could not be decoded.
int decodeAll(const Names& names, Format format, const Decode& decode, int failure = kFailed) {
  int status = kDone;
  for (std::size_t i = 0; i < names.size() && flush(); ++i) {
    const auto& name = names[i];
    prepareForLackOfMemory(name, names.size() - i - 1, format, failure);
    Bytes bytes;
    const auto unreadable = bytes.read(name);
    const auto [problem, isShown] = unreadable.empty() ? decode(name, bytes) : failed(unreadable);
    if (problem.empty()) continue;
    if (!isShown && format == Format::kJson) write(problemAsJson(name, problem));
    complain(name, problem);
    status = failure;
  }
  return finish(status);
}

// Shows a text, under the name of its input where there are several.
void showText(const Names& names, const std::string& name, std::string_view text) {
  if (names.size() > 1) write("==> " + shownName(name) + " <==\n");
  show(text);
  if (!text.ends_with('\n')) write("\n");
}

std::uint32_t wordAt(const Bytes& bytes, std::size_t offset) {
  std::uint32_t word = 0;
  for (std::size_t i = 4; i-- > 0;) word = word << 8 | static_cast<std::uint8_t>(bytes.data()[offset + i]);
  return word;
}

std::string tooShort(const Bytes& bytes, const char* what, std::size_t needed) {
  return "too short for " + std::string(what) + ": " + std::to_string(bytes.size()) + " bytes, " +
         std::to_string(needed - bytes.size()) + " missing";
}

// Why the library does not take a print buffer.
std::string printBufferProblem(const Bytes& buffer, const Bytes& stringTable) {
  if (buffer.size() < ZARN_PRINT_BUFFER_MIN_SIZE) return tooShort(buffer, "a print buffer", ZARN_PRINT_BUFFER_MIN_SIZE);
  const auto formatOffset = wordAt(buffer, 40);
  if (formatOffset >= stringTable.size()) {
    return "format offset " + std::to_string(formatOffset) + " is outside the string table of " +
           std::to_string(stringTable.size()) + " bytes";
  }
  const auto headerWord = wordAt(buffer, 0);
  if (headerWord == 0) return "header word is zero";
  if ((headerWord & 0x1F) > 8) return "unknown print kind " + std::to_string(headerWord & 0x1F);
  return "unknown data type " + std::to_string(headerWord >> 6 & 0x1F);
}

// Why the library finds no entry in a descriptor log.
std::string logProblem(const Bytes& log, bool isAll) {
  const std::size_t needed = isAll ? 140 : 65;
  if (log.size() < needed) return tooShort(log, isAll ? "a descriptor log with --all" : "a descriptor log", needed);
  const auto writeOffset = wordAt(log, log.size() - 64) & 0xFFFF;
  return "no entry can be decoded at write offset " + std::to_string(writeOffset);
}

// Writes the records of a log as JSON and returns their number.
std::uint32_t writeEntries(const std::string& name, const Bytes& log, bool isAll) {
  if (!isAll) {
    DescBufInfo* newest = db_get_desc_buffer_info(log.data(), log.size());
    if (newest == nullptr) return 0;
    writeLogAsJson(name, &newest, 1);
    db_free_desc_buffer_info(&newest);
    return 1;
  }
  std::uint32_t count = 0;
  DescBufInfo** entries = db_get_desc_buffer_info_array(log.data(), log.size(), &count);
  if (count > 0) writeLogAsJson(name, entries, count);
  db_free_desc_buffer_info_array(entries, static_cast<std::int32_t>(count));
  return count;
}

bool hasEdma(const Bytes& kernel) {
  return clc_bin_has_edma_instr(kernel.data(), static_cast<std::int64_t>(kernel.size())) == 1;
}

std::string checksumOf(const Bytes& kernel) {
  std::uint64_t checksum = 0;
  clc_bin_compute_checksum(kernel.data(), kernel.size(), &checksum);
  char digits[17];
  std::snprintf(digits, sizeof digits, "%016" PRIx64, checksum);
  return digits;
}

// As the usual checksum tools do: a line with a name that would break it begins with a backslash.
std::string checksumLine(const std::string& name, const std::string& checksum, bool hasEdma) {
  std::string shown;
  for (const char c : name) {
    if (c == '\n' || c == '\\') shown += '\\';
    shown += c == '\n' ? 'n' : c;
  }
  return (shown == name ? "" : "\\") + checksum + (hasEdma ? "  edma     " : "  no-edma  ") + shown + "\n";
}

}  // namespace

int printBuffers(const std::string& stringTable, const Names& buffers, Format format) {
  prepareForLackOfMemory(stringTable, buffers.size(), format, kFailed);
  Bytes table;
  if (const auto problem = table.read(stringTable); !problem.empty()) {
    if (format == Format::kJson) write(problemAsJson(stringTable, problem));
    complain(stringTable, problem);
    return finish(kFailed);
  }
  return decodeAll(buffers, format, [&](const std::string& name, const Bytes& buffer) {
    // The library reads a format up to its NUL; the one after the table's bytes ends a last string that lacks its own.
    const PrintText text(db_get_printf_string(buffer.data(), buffer.size(), table.data(), table.size()));
    if (text == nullptr) return failed(printBufferProblem(buffer, table));
    if (format == Format::kJson) {
      const PrintInfo info(db_get_print_buffer_info(buffer.data(), buffer.size(), table.data(), table.size()));
      writePrintAsJson(name, *info, text.get());
    } else {
      showText(buffers, name, text.get());
    }
    // The library ends every line, so a text without a line end goes on after a NUL.
    const bool isCut = !std::string_view(text.get()).ends_with('\n');
    return Outcome{isCut ? "a NUL cut the text short" : "", true};
  });
}

int reportLogs(bool isAll, const Names& logs, Format format) {
  const auto showReport = [&](const std::string& name, const Bytes& log) {
    const Report text((isAll ? db_get_desc_string_array : db_get_desc_string)(log.data(), log.size()));
    if (text == nullptr || *text == '\0') return failed(logProblem(log, isAll));
    showText(logs, name, text.get());
    return kShown;
  };
  const auto writeRecords = [isAll](const std::string& name, const Bytes& log) {
    return writeEntries(name, log, isAll) == 0 ? failed(logProblem(log, isAll)) : kShown;
  };
  return decodeAll(logs, format, format == Format::kJson ? Decode(writeRecords) : Decode(showReport));
}

int checkKernels(const Names& kernels, Format format) {
  return decodeAll(kernels, format, [format](const std::string& name, const Bytes& kernel) {
    const auto checksum = checksumOf(kernel);
    if (format == Format::kJson) {
      writeKernelAsJson(name, checksum, hasEdma(kernel));
    } else {
      show(checksumLine(name, checksum, hasEdma(kernel)));
    }
    return kShown;
  });
}

int lookForEdma(const Names& kernels) {
  bool isFound = false;
  const auto look = [&isFound](const std::string&, const Bytes& kernel) {
    isFound = isFound || hasEdma(kernel);
    return kShown;
  };
  if (decodeAll(kernels, Format::kText, look, kTrouble) != kDone) return kTrouble;
  return isFound ? kFound : kNotFound;
}

}  // namespace tool
