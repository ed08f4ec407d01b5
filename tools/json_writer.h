// Writes JSON into one string, in ASCII only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

class JsonWriter {
 public:
  void open(char bracket) {
    separate();
    bytes_ += bracket;
  }
  void close(char bracket) { bytes_ += bracket; }

  void key(std::string_view name);

  void value(bool isTrue);
  void value(std::uint32_t number);
  void value(std::uint64_t number);
  // Writes the fewest digits that read back as `number`, even through a double, which most readers use; or "inf",
  // "-inf" or "nan".
  void value(float number);
  // Device texts and file names may hold any bytes: those that are not UTF-8 become U+FFFD. A long text is not copied
  // and must outlive the writer.
  void value(std::string_view text);
  void value(const char* text) { value(std::string_view(text)); }
  void null();

  void hexadecimal(const std::uint8_t* bytes, std::size_t size);

  template <typename Value>
  void field(std::string_view name, Value content) {
    key(name);
    value(content);
  }

  // Everything but the long texts.
  const std::string& bytes() const { return bytes_; }

  // Writes everything and a line end to standard output.
  void writeLine();

 private:
  void separate();
  void append(std::string_view plain);
  void appendEscaped(std::string_view text);

  // A text that belongs at offset `at` of the string.
  struct LongText {
    std::size_t at;
    std::string_view text;
  };

  std::string bytes_;
  std::vector<LongText> longTexts_;
};

}  // namespace tool
