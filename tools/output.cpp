#include "output.h"

#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "commands.h"
#include "utf8.h"

namespace tool {
namespace {

int writeError = 0;  // errno of the first failure

// Returns 0, or errno.
int writeTo(int file, std::span<const std::string_view> parts) {
  std::vector<iovec> pieces;
  pieces.reserve(parts.size());
  for (const auto part : parts) pieces.push_back({const_cast<char*>(part.data()), part.size()});
  for (auto left = std::span(pieces);;) {
    while (!left.empty() && left.front().iov_len == 0) left = left.subspan(1);
    if (left.empty()) return 0;
    const auto result = writev(file, left.data(), static_cast<int>(left.size()));
    if (result < 0 && errno != EINTR) return errno;
    for (auto written = static_cast<std::size_t>(std::max<ssize_t>(result, 0)); written > 0;) {
      const auto count = std::min(written, left.front().iov_len);
      left.front().iov_base = static_cast<char*>(left.front().iov_base) + count;
      left.front().iov_len -= count;
      written -= count;
      if (left.front().iov_len == 0) left = left.subspan(1);
    }
  }
}

// Whether terminals obey this UTF-8 character: U+0000 to U+001F, U+007F to U+009F, line and paragraph separators
// (U+2028, U+2029), and characters that change the direction of writing (U+202A to U+202E, U+2066 to U+2069).
bool isControl(std::string_view character) {
  const auto byte = [character](std::size_t i) { return static_cast<std::uint8_t>(character[i]); };
  if (byte(0) < 0x20 || byte(0) == 0x7F) return true;
  if (byte(0) == 0xC2) return byte(1) < 0xA0;
  if (byte(0) != 0xE2) return false;
  return (byte(1) == 0x80 && 0xA8 <= byte(2) && byte(2) <= 0xAE) ||
         (byte(1) == 0x81 && 0xA6 <= byte(2) && byte(2) <= 0xA9);
}

void appendEscape(std::string& result, char byte) {
  switch (byte) {
    case '\n':
      result += "\\n";
      return;
    case '\t':
      result += "\\t";
      return;
    case '\\':
      result += "\\\\";
      return;
    default:
      break;
  }
  constexpr char kDigits[] = "0123456789abcdef";
  const auto value = static_cast<std::uint8_t>(byte);
  result.append("\\x").append(1, kDigits[value >> 4]).append(1, kDigits[value & 15]);
}

// Escapes control characters except those in `kept`, the characters in `alsoEscaped`, and bytes that are not UTF-8.
std::string escaped(std::string_view text, std::string_view kept, std::string_view alsoEscaped) {
  const auto holds = [](std::string_view set, std::string_view character) {
    return set.find(character) != std::string_view::npos;
  };
  std::string result;
  while (!text.empty()) {
    const auto length = characterLength(text);
    const auto character = text.substr(0, length == 0 ? 1 : length);
    text.remove_prefix(character.size());
    const bool isPlain = length != 0 && !isControl(character) && !holds(alsoEscaped, character);
    if (isPlain || holds(kept, character)) {
      result += character;
    } else {
      for (const char byte : character) appendEscape(result, byte);
    }
  }
  return result;
}

// Writes a text to a terminal in parts, so that a long one isn't held in memory twice.
void showOnTerminal(std::string_view text) {
  constexpr std::size_t kPart = 65536;
  while (!text.empty()) {
    const auto part = firstPiece(text, kPart);
    write({escaped(part, "\n\t", "")});
    text.remove_prefix(part.size());
  }
}

}  // namespace

void write(std::span<const std::string_view> parts) {
  if (!hasWriteFailed()) writeError = writeTo(STDOUT_FILENO, parts);
}

void write(std::initializer_list<std::string_view> parts) { write(std::span(parts.begin(), parts.size())); }

bool hasWriteFailed() { return writeError != 0; }

void show(std::string_view heading, std::string_view text) {
  static const bool isTerminal = isatty(STDOUT_FILENO) == 1;
  if (!isTerminal) return write({heading, text});
  write({heading});
  showOnTerminal(text);
}

std::string escapedName(std::string_view name) { return name.empty() ? "''" : escaped(name, "", "\\"); }

std::string counted(std::uint64_t number, const char* one, const char* several) {
  return std::to_string(number) + " " + (number == 1 ? one : several);
}

void printError(std::string_view name, const std::string& problem) {
  const auto shown = escapedName(name);
  const std::string_view parts[] = {"zarn-utility: ", shown, ": ", problem, "\n"};
  writeTo(STDERR_FILENO, parts);
}

int finish(int status) {
  if (!hasWriteFailed()) return status;
  if (writeError != EPIPE) printError("standard output", std::strerror(writeError));  // a closed pipe needs no message
  return kFailed;
}

}  // namespace tool
