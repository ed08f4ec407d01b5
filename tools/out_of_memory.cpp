#include "out_of_memory.h"

#include <unistd.h>

#include <cstdio>
#include <new>
#include <string>
#include <utility>

namespace tool {
namespace {

LastWords lastWords;

void writeWhole(int file, const std::string& text) {
  std::size_t written = 0;
  while (written < text.size()) {
    const auto count = ::write(file, text.data() + written, text.size() - written);
    if (count <= 0) return;
    written += static_cast<std::size_t>(count);
  }
}

// Ends the process here: the library is built without exceptions, so none may leave operator new.
[[noreturn]] void end() {
  std::fflush(stdout);
  writeWhole(STDOUT_FILENO, lastWords.toOutput);
  writeWhole(STDERR_FILENO, lastWords.toError);
  _exit(lastWords.status);
}

}  // namespace

void setLastWords(LastWords words) {
  lastWords = std::move(words);
  std::set_new_handler(end);
}

void setLastWordsToOutput(std::string words) { lastWords.toOutput = std::move(words); }

}  // namespace tool
