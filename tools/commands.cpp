#include "commands.h"

#include <zarn_utility.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>

#include "input.h"

namespace tool {
namespace {

// A text of the library's, released by the function that belongs to it.
using TextPtr = std::unique_ptr<char, void (*)(char*)>;

struct Decoded {
  TextPtr text;         // null where there is a problem
  std::string problem;  // what is wrong with the input
};

std::uint32_t wordAt(const Bytes& bytes, std::size_t offset) {
  std::uint32_t word = 0;
  for (std::size_t i = 4; i-- > 0;) word = word << 8 | static_cast<std::uint8_t>(bytes.data()[offset + i]);
  return word;
}

std::string tooShort(const Bytes& bytes, const char* what, std::size_t needed) {
  return "too short for " + std::string(what) + ": " + std::to_string(bytes.size()) + " bytes, " +
         std::to_string(needed - bytes.size()) + " missing";
}

// Decodes each input and writes its text, under its name where there are several.
int decodeAll(const Names& names, const std::function<Decoded(const Bytes&)>& decode) {
  int status = kDone;
  for (const auto& name : names) {
    Bytes bytes;
    auto problem = bytes.read(name);
    if (problem.empty()) {
      const auto decoded = decode(bytes);
      problem = decoded.problem;
      if (decoded.text != nullptr) {
        if (names.size() > 1) std::printf("==> %s <==\n", name.c_str());
        std::fputs(decoded.text.get(), stdout);
      }
    }
    if (!problem.empty()) {
      complain(name, problem);
      status = kBadInput;
    }
  }
  return finish(status);
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

}  // namespace

int printBuffers(const std::string& stringTable, const Names& buffers) {
  Bytes table;
  if (const auto problem = table.read(stringTable); !problem.empty()) {
    complain(stringTable, problem);
    return kBadInput;
  }
  return decodeAll(buffers, [&table](const Bytes& buffer) {
    // The library reads a format up to its NUL; the one behind the table's bytes ends a last string that lacks its own.
    Decoded decoded{{db_get_printf_string(buffer.data(), buffer.size(), table.data(), table.size()),
                     [](char* text) { db_free_printf_string(&text); }},
                    {}};
    if (decoded.text == nullptr) decoded.problem = printBufferProblem(buffer, table);
    return decoded;
  });
}

void complain(const std::string& name, const std::string& problem) {
  std::fflush(stdout);  // so that the line stands where it belongs when both go to one terminal
  std::fprintf(stderr, "zarn-utility: %s: %s\n", name.c_str(), problem.c_str());
}

int finish(int status) {
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return status;
  if (errno != EPIPE) complain("standard output", std::strerror(errno));  // a closed pipe needs no words
  return kBadInput;
}

}  // namespace tool
