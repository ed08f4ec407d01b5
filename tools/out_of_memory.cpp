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

struct CurrentInput {
  const std::string* name = nullptr;
  std::size_t remainingInputs = 0;
  Format format = Format::kText;
  int status = kFailed;
  bool isWritten = false;
  const std::string* unfinished = nullptr;
  std::size_t finishedSize = 0;
};

CurrentInput current;
void* reserve = nullptr;

// Both end the process: the library is built without exceptions, so operator new must not throw.

[[noreturn]] void exitWithShortMessage() {
  constexpr std::string_view kMessage = "zarn-utility: not enough memory\n";
  const auto written = ::write(STDERR_FILENO, kMessage.data(), kMessage.size());
  (void)written;
  _exit(current.status);
}

[[noreturn]] void exitOutOfMemory() {
  std::set_new_handler(exitWithShortMessage);
  std::free(reserve);
  constexpr const char* kProblem = "not enough memory to decode it";
  if (current.format == Format::kJson && !current.isWritten) {
    if (current.unfinished != nullptr) {
      const auto finished = std::string_view(*current.unfinished).substr(0, current.finishedSize);
      write({finished, R"(],"error":")", kProblem, "\"}\n"});
    } else {
      writeProblem(*current.name, kProblem);
    }
  }
  printError(*current.name, std::string(kProblem) +
                                "; inputs after it that were not decoded: " + std::to_string(current.remainingInputs));
  _exit(current.status);
}

}  // namespace

void installOutOfMemoryHandler(int status) {
  current.status = status;
  std::set_new_handler(exitWithShortMessage);
}

void reserveMemoryFor(const Arguments& arguments) {
  std::size_t longest = arguments.stringTable.value_or("").size();
  for (const auto& name : arguments.names) longest = std::max(longest, name.size());
  reserve = std::malloc(16384 + 20 * longest);  // for names escaped in a growing string
  std::set_new_handler(exitOutOfMemory);
}

void setCurrentInput(const std::string& name, std::size_t remainingInputs, Format format, int status) {
  current = {.name = &name, .remainingInputs = remainingInputs, .format = format, .status = status};
}

void setUnfinishedObject(const std::string& bytes, std::size_t size) {
  current.unfinished = &bytes;
  current.finishedSize = size;
}

void setObjectWritten() {
  current.unfinished = nullptr;
  current.isWritten = true;
}

}  // namespace tool
