#include "out_of_memory.h"

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>

#include "commands.h"
#include "inputs.h"
#include "output.h"

namespace tool {
namespace {

struct InputAtHand {
  const std::string* name = nullptr;
  std::size_t inputsAfter = 0;
  Format format = Format::kText;
  int status = kFailed;
  bool isWritten = false;
  const std::string* unfinished = nullptr;
  std::size_t finishedSize = 0;
};

InputAtHand atHand;
void* kept = nullptr;

// Both end the process: the library is built without exceptions, so operator new must not throw.

[[noreturn]] void endWithFewWords() {
  constexpr std::string_view kWords = "zarn-utility: not enough memory\n";
  const auto written = ::write(STDERR_FILENO, kWords.data(), kWords.size());
  (void)written;
  _exit(atHand.status);
}

[[noreturn]] void end() {
  std::set_new_handler(endWithFewWords);
  std::free(kept);
  constexpr const char* kProblem = "not enough memory to decode it";
  if (atHand.format == Format::kJson && !atHand.isWritten) {
    if (atHand.unfinished != nullptr) {
      const auto finished = std::string_view(*atHand.unfinished).substr(0, atHand.finishedSize);
      write({finished, R"(],"error":")", kProblem, "\"}\n"});
    } else {
      writeProblem(*atHand.name, kProblem);
    }
  }
  complain(*atHand.name,
           std::string(kProblem) + "; inputs after it that were not decoded: " + std::to_string(atHand.inputsAfter));
  _exit(atHand.status);
}

}  // namespace

void prepareForLackOfMemory(int status) {
  atHand.status = status;
  std::set_new_handler(endWithFewWords);
}

void keepMemoryFor(const Arguments& arguments) {
  std::size_t longest = arguments.stringTable.value_or("").size();
  for (const auto& name : arguments.names) longest = std::max(longest, name.size());
  kept = std::malloc(16384 + 20 * longest);  // for names escaped in a growing string
  std::set_new_handler(end);
}

void setInputAtHand(const std::string& name, std::size_t inputsAfter, Format format, int status) {
  atHand = {.name = &name, .inputsAfter = inputsAfter, .format = format, .status = status};
}

void setUnfinishedObject(const std::string& bytes, std::size_t size) {
  atHand.unfinished = &bytes;
  atHand.finishedSize = size;
}

void setObjectWritten() {
  atHand.unfinished = nullptr;
  atHand.isWritten = true;
}

}  // namespace tool
