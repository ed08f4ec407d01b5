#include "printf_text.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "line_writer.h"
#include "print_buffer.h"
#include "text.h"
#include "text_parts.h"
#include "zarn_utility.h"

namespace zarn::print {
namespace {

class PlainLines : public LineWriter {
 public:
  using LineWriter::LineWriter;

  template <typename WriteLabel>
  void append(const Place& /*place*/, WriteLabel writeLabel, std::uint32_t word) {
    LineWriter::append(writeLabel, word);
  }
};

// The text may hold NULs of its own ("%c" of 0), so it is copied by length.
char* copyOut(std::string_view text) {
  auto* copy = new char[text.size() + 1];
  std::memcpy(copy, text.data(), text.size());
  copy[text.size()] = '\0';
  return copy;
}

}  // namespace

void appendText(Text& out, const PrintBufInfo& info) { appendTextBy<PlainLines>(out, info); }

}  // namespace zarn::print

char* db_get_printf_string(const void* buffer, std::size_t bufferSize, const char* stringTable,
                           std::size_t stringTableSize) {
  using namespace zarn::print;
  const InfoPtr info = readHeader(buffer, bufferSize, stringTable, stringTableSize).info;
  if (info == nullptr) return nullptr;
  Text out;
  appendText(out, *info);
  return copyOut(out.view());
}

void db_free_printf_string(char** text) {
  const char* const array = *text;
  *text = nullptr;
  delete[] array;
}
