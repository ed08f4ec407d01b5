// What the subcommands do: each takes its inputs in turn and returns the exit status.
#pragma once

#include <string>
#include <vector>

namespace tool {

enum ExitStatus { kDone = 0, kFailed = 1, kWrongUsage = 2 };
enum QuietStatus { kFound = 0, kNotFound = 1, kTrouble = 2 };

enum class Format { kText, kJson };

using Names = std::vector<std::string>;

int printBuffers(const std::string& stringTable, const Names& buffers, Format format);
int reportLogs(bool isAll, const Names& logs, Format format);
int checkKernels(const Names& kernels, Format format);

// Writes nothing but complaints. The status is kFound or kNotFound, or kTrouble where an input could not be read.
int lookForEdma(const Names& kernels);

}  // namespace tool
