// The command line of zarn-utility.

#include <zarn_utility.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <exception>

#include "commands.h"

namespace {

const char* const kExitStatus =
    "Exit status: 0 when every input was decoded, 1 when one could not be read or decoded, 2 for wrong usage.";

// An unknown argument is named first, since what the parser misses often follows from it.
void complain(const CLI::App& app, const CLI::ParseError& error) {
  auto unknown = app.remaining(true);
  std::erase(unknown, "--");
  if (unknown.empty()) {
    std::fprintf(stderr, "zarn-utility: %s (see zarn-utility --help)\n", error.what());
  } else {
    const bool isOption = unknown.front().size() > 1 && unknown.front().front() == '-';
    tool::complain(unknown.front(), isOption ? "unknown option (see zarn-utility --help)"
                                             : "unknown subcommand (see zarn-utility --help)");
  }
}

int run(int argc, char** argv) {
  CLI::App app("Makes sense of what a Zarn compute processor leaves behind.", "zarn-utility");
  app.set_version_flag("--version", "zarn-utility " ZARN_UTILITY_VERSION);
  app.footer(kExitStatus);
  app.require_subcommand(1);

  std::string stringTable;
  tool::Names names;
  const auto addInputs = [&names](CLI::App* command, const char* what) {
    command->add_option(what, names, "Files to decode; - is standard input")->required()->type_name("");
  };

  auto* print = app.add_subcommand("print", "Show print buffers as text");
  print->add_option("--strings", stringTable, "String table that the buffers' formats lie in")
      ->required()
      ->type_name("TABLE");
  addInputs(print, "BUFFER");

  bool isAll = false;
  auto* log = app.add_subcommand("log", "Report on descriptor logs");
  log->add_flag("--all", isAll, "Every entry from the newest backwards, not only the newest");
  addInputs(log, "LOG");

  bool isQuiet = false;
  auto* kernel = app.add_subcommand("kernel", "Checksum kernel binaries and look for eDMA instructions");
  kernel->add_flag("-q,--quiet", isQuiet,
                   "Write nothing; exit status 0: a kernel has an eDMA instruction, 1: none has, 2: trouble");
  addInputs(kernel, "BINARY");

  try {
    app.parse(argc, argv);
    if (std::count(names.begin(), names.end(), "-") + (stringTable == "-") > 1) {
      throw CLI::ValidationError("standard input can be named only once");
    }
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return tool::finish(app.exit(error));  // --help, --version
    complain(app, error);
    return tool::kWrongUsage;
  }

  if (print->parsed()) return tool::printBuffers(stringTable, names);
  if (log->parsed()) return tool::reportLogs(isAll, names);
  return isQuiet ? tool::lookForEdma(names) : tool::checkKernels(names);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "zarn-utility: %s\n", error.what());
    return tool::kBadInput;
  }
}
