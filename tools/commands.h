// What the subcommands do: each takes its inputs in turn and returns the exit status.
#pragma once

#include <string>
#include <vector>

namespace tool {

enum ExitStatus { kDone = 0, kBadInput = 1, kWrongUsage = 2 };
enum QuietStatus { kFound = 0, kNotFound = 1, kTrouble = 2 };

using Names = std::vector<std::string>;

int printBuffers(const std::string& stringTable, const Names& buffers);
int reportLogs(bool isAll, const Names& logs);
int checkKernels(const Names& kernels);

// Writes nothing but complaints. The status is kFound or kNotFound, or kTrouble where an input could not be read.
int lookForEdma(const Names& kernels);

// One line on standard error.
void complain(const std::string& name, const std::string& problem);

// Sees whether all of standard output was written.
int finish(int status);

}  // namespace tool
