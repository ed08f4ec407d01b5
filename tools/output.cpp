#include "output.h"

#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "commands.h"

namespace tool {
namespace {

int writeError = 0;  // errno of the first failure

void noteError() {
  if (writeError == 0) writeError = errno;
}

// Length of the UTF-8 character at the start of `text`, which isn't empty; 0 where there is none.
std::size_t characterLength(std::string_view text) {
  const auto byte = [text](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  const auto first = byte(0);
  if (first < 0x80) return 1;
  const std::size_t length = first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF5 ? 4 : 0;
  if (length == 0 || length > text.size()) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  const bool isOverlong = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xF0 && byte(1) < 0x90);
  const bool isSurrogate = first == 0xED && byte(1) >= 0xA0;
  const bool isBeyondUnicode = first == 0xF4 && byte(1) >= 0x90;
  return isOverlong || isSurrogate || isBeyondUnicode ? 0 : length;
}

// Whether a UTF-8 character is one that terminals obey: U+0000 to U+001F, or U+007F to U+009F.
bool isControl(std::string_view character) {
  const auto first = static_cast<std::uint8_t>(character.front());
  return first < 0x20 || first == 0x7F || (first == 0xC2 && static_cast<std::uint8_t>(character[1]) < 0xA0);
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

// Escapes control characters but those in `kept`, the characters in `alsoEscaped`, and bytes that are not UTF-8.
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

}  // namespace

void write(std::string_view bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size()) noteError();
}

void show(std::string_view text) {
  static const bool isTerminal = isatty(STDOUT_FILENO) == 1;
  if (!isTerminal) return write(text);
  while (!text.empty()) {  // line by line, so that a long report isn't held twice
    const auto line = text.substr(0, text.find('\n') + 1);
    const auto part = line.empty() ? text : line;
    write(escaped(part, "\n\t", ""));
    text.remove_prefix(part.size());
  }
}

std::string shownName(std::string_view name) { return name.empty() ? "''" : escaped(name, "", "\\"); }

bool flush() {
  if (std::fflush(stdout) != 0) noteError();
  return writeError == 0;
}

std::string complaint(std::string_view name, const std::string& problem) {
  return "zarn-utility: " + shownName(name) + ": " + problem + "\n";
}

void complain(std::string_view name, const std::string& problem) {
  flush();  // so that the line stands where it belongs when both go to one place
  std::fputs(complaint(name, problem).c_str(), stderr);
}

int finish(int status) {
  if (flush()) return status;
  if (writeError != EPIPE) complain("standard output", std::strerror(writeError));  // a closed pipe needs no words
  return kFailed;
}

}  // namespace tool
