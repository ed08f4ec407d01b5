#include "commands.h"

#include <zarn_utility.h>

#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>

#include "input.h"

namespace tool {
namespace {

std::uint32_t wordAt(const Bytes& bytes, std::size_t offset) {
  std::uint32_t word = 0;
  for (std::size_t i = 4; i-- > 0;) word = word << 8 | static_cast<std::uint8_t>(bytes.data()[offset + i]);
  return word;
}

std::string tooShort(const Bytes& bytes, const char* what, std::size_t needed) {
  return "too short for " + std::string(what) + ": " + std::to_string(bytes.size()) + " bytes, " +
         std::to_string(needed - bytes.size()) + " missing";
}

// Decodes each input with `decode`, which returns what is wrong, or nothing at all.
int decodeAll(const Names& names, const std::function<std::string(const std::string& name, const Bytes&)>& decode) {
  int status = kDone;
  for (const auto& name : names) {
    Bytes bytes;
    auto problem = bytes.read(name);
    if (problem.empty()) problem = decode(name, bytes);
    if (!problem.empty()) {
      complain(name, problem);
      status = kBadInput;
    }
    if (std::ferror(stdout) != 0) break;  // what follows would be lost too, and finish() needs errno as it is
  }
  return finish(status);
}

// Writes a text, under the name of its input where there are several.
void show(const Names& names, const std::string& name, const char* text) {
  if (names.size() > 1) std::printf("==> %s <==\n", name.c_str());
  std::fputs(text, stdout);
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

bool hasEdma(const Bytes& kernel) {
  return clc_bin_has_edma_instr(kernel.data(), static_cast<std::int64_t>(kernel.size())) == 1;
}

// As the usual checksum tools do: a line with a name that would break it begins with a backslash.
std::string escaped(const std::string& name) {
  std::string text;
  for (const char c : name) {
    if (c == '\n' || c == '\\') text += '\\';
    text += c == '\n' ? 'n' : c;
  }
  return text;
}

}  // namespace

int printBuffers(const std::string& stringTable, const Names& buffers) {
  Bytes table;
  if (const auto problem = table.read(stringTable); !problem.empty()) {
    complain(stringTable, problem);
    return kBadInput;
  }
  return decodeAll(buffers, [&](const std::string& name, const Bytes& buffer) {
    // The library reads a format up to its NUL; the one behind the table's bytes ends a last string that lacks its own.
    char* text = db_get_printf_string(buffer.data(), buffer.size(), table.data(), table.size());
    if (text == nullptr) return printBufferProblem(buffer, table);
    show(buffers, name, text);
    db_free_printf_string(&text);
    return std::string();
  });
}

int reportLogs(bool isAll, const Names& logs) {
  return decodeAll(logs, [&](const std::string& name, const Bytes& log) {
    char* text = (isAll ? db_get_desc_string_array : db_get_desc_string)(log.data(), log.size());
    const bool isEmpty = text == nullptr || *text == '\0';
    if (!isEmpty) show(logs, name, text);
    db_free_desc_string(&text);
    return isEmpty ? logProblem(log, isAll) : std::string();
  });
}

int checkKernels(const Names& kernels) {
  return decodeAll(kernels, [](const std::string& name, const Bytes& kernel) {
    std::uint64_t checksum = 0;
    clc_bin_compute_checksum(kernel.data(), kernel.size(), &checksum);
    const bool isEscaped = name.find_first_of("\\\n") != std::string::npos;
    std::printf("%s%016" PRIx64 "  %-7s  %s\n", isEscaped ? "\\" : "", checksum, hasEdma(kernel) ? "edma" : "no-edma",
                isEscaped ? escaped(name).c_str() : name.c_str());
    return std::string();
  });
}

int lookForEdma(const Names& kernels) {
  bool isFound = false;
  const int status = decodeAll(kernels, [&isFound](const std::string&, const Bytes& kernel) {
    isFound = isFound || hasEdma(kernel);
    return std::string();
  });
  if (status != kDone) return kTrouble;
  return isFound ? kFound : kNotFound;
}

void complain(const std::string& name, const std::string& problem) {
  std::fflush(stdout);  // so that the line stands where it belongs when both go to one terminal
  std::fprintf(stderr, "zarn-utility: %s: %s\n", name.empty() ? "''" : name.c_str(), problem.c_str());
}

int finish(int status) {
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return status;
  if (errno != EPIPE) complain("standard output", std::strerror(errno));  // a closed pipe needs no words
  return kBadInput;
}

}  // namespace tool
