#include "json_writer.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "decimal.h"
#include "float_digits.h"
#include "output.h"
#include "utf8.h"

namespace tool {
namespace {

// Characters that a JSON string can hold unescaped.
constexpr auto kIsPlain = [] {
  std::array<bool, 256> isPlain{};
  for (std::size_t c = 0x20; c < 0x7F; ++c) isPlain[c] = c != '"' && c != '\\';
  return isPlain;
}();

std::size_t plainLength(std::string_view text) {
  std::size_t length = 0;
  while (length < text.size() && kIsPlain[static_cast<std::uint8_t>(text[length])]) ++length;
  return length;
}

// A text as the JSON library escapes it, without the quotes.
std::string escapedByLibrary(std::string_view text) {
  const nlohmann::json json(text);
  const auto quoted = json.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
  return quoted.substr(1, quoted.size() - 2);
}

constexpr auto kHexPairs = [] {
  constexpr char kDigits[] = "0123456789abcdef";
  std::array<std::array<char, 2>, 256> pairs{};
  for (std::size_t byte = 0; byte < pairs.size(); ++byte) pairs[byte] = {kDigits[byte / 16], kDigits[byte % 16]};
  return pairs;
}();

}  // namespace

void JsonWriter::separate() {
  if (bytes_.empty()) return;
  const char last = bytes_.back();
  if (last != '{' && last != '[' && last != ':') bytes_ += ',';
}

void JsonWriter::key(std::string_view name) {
  separate();
  bytes_.append(1, '"').append(name).append("\":");
}

void JsonWriter::value(bool isTrue) {
  separate();
  bytes_ += isTrue ? "true" : "false";
}

void JsonWriter::value(std::uint32_t number) {
  separate();
  char digits[zarn::kMaxDecimalDigits + 1];
  bytes_.append(digits, zarn::writeDecimal(digits, number));
}

void JsonWriter::value(std::uint64_t number) {
  separate();
  bytes_ += std::to_string(number);
}

void JsonWriter::value(float number) {
  separate();
  appendFloat(bytes_, number);
}

void JsonWriter::null() {
  separate();
  bytes_ += "null";
}

void JsonWriter::value(std::string_view text) {
  separate();
  bytes_ += '"';
  appendEscaped(text);
  bytes_ += '"';
}

void JsonWriter::hexadecimal(const std::uint8_t* bytes, std::size_t size) {
  separate();
  const auto begin = bytes_.size() + 1;
  bytes_.append(2 * size + 2, '"');
  char* at = bytes_.data() + begin;
  for (std::size_t i = 0; i < size; ++i, at += 2) std::memcpy(at, kHexPairs[bytes[i]].data(), 2);
}

void JsonWriter::append(std::string_view plain) {
  // A text of hundreds of megabytes is mostly one run of blanks or zeros. 500 of them make at most 1001 parts; one
  // system call takes 1024 (IOV_MAX on Linux).
  constexpr std::size_t kLong = 65536;
  constexpr std::size_t kMaxLongTexts = 500;
  if (plain.size() >= kLong && longTexts_.size() < kMaxLongTexts) {
    longTexts_.push_back({bytes_.size(), plain});
  } else {
    bytes_ += plain;
  }
}

void JsonWriter::appendEscaped(std::string_view text) {
  while (true) {
    const auto plain = text.substr(0, plainLength(text));
    append(plain);
    text.remove_prefix(plain.size());
    if (text.empty()) return;
    if (text.front() == '\n') {  // by far the most frequent escape
      bytes_ += "\\n";
      text.remove_prefix(1);
    } else {
      constexpr std::size_t kPiece = 256;
      const auto piece = firstPiece(text, kPiece);
      bytes_ += escapedByLibrary(piece);
      text.remove_prefix(piece.size());
    }
  }
}

void JsonWriter::writeLine() {
  bytes_ += '\n';
  std::vector<std::string_view> parts;
  parts.reserve(2 * longTexts_.size() + 1);
  std::size_t begin = 0;
  for (const auto& [at, text] : longTexts_) {
    parts.push_back(std::string_view(bytes_).substr(begin, at - begin));
    parts.push_back(text);
    begin = at;
  }
  parts.push_back(std::string_view(bytes_).substr(begin));
  write(parts);
}

}  // namespace tool
