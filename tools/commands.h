// The subcommands. Each takes its inputs in turn and returns the exit status.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tool {

enum ExitStatus { kDone = 0, kFailed = 1, kUsageError = 2 };
enum QuietStatus { kFound = 0, kNotFound = 1, kTrouble = 2 };

enum class Format { kText, kJson };

using Names = std::vector<std::string>;

struct Arguments {
  Names names;
  Format format = Format::kText;
  bool isVerbose = false;
  std::optional<std::string> stringTable;
  bool isAll = false;
  bool isTable = false;
  std::optional<std::uint16_t> writeOffset;
  bool isQuiet = false;
};

int printBuffers(const Arguments& arguments);
int reportLogs(const Arguments& arguments);

// With `isQuiet`, only error messages are written. The status is then kFound or kNotFound, or kTrouble if an input
// could not be read.
int checkKernels(const Arguments& arguments);

}  // namespace tool
