// The command line of zarn-utility.

#include <getopt.h>
#include <zarn_utility.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "commands.h"
#include "out_of_memory.h"
#include "output.h"

namespace {

enum OptionId { kHelp = 'h', kQuiet = 'q', kVerbose = 'v', kAll = 256, kAt, kJson, kStrings, kTable };

struct Command {
  std::string name;
  std::string inputs;
  const char* shortOptions;
  std::vector<option> longOptions;
  int (*run)(const tool::Arguments&);
  const char* help;
};

const char* const kHelpText = R"(Usage: zarn-utility print --strings TABLE [--json] [-v | --verbose] BUFFER...
       zarn-utility log [--all] [--table | --json] [--at OFFSET] [-v | --verbose] LOG...
       zarn-utility kernel [-q | --quiet] [--json] BINARY...
       zarn-utility --version

Decodes dumps of Zarn compute processors.

  print         show print buffers as text
  log           report on descriptor logs
  kernel        checksum kernel binaries and look for eDMA instructions

  -h, --help    show this, or the options of a subcommand and an example
  --version     show the version

Exit status: 0 when every input was decoded, 1 when one could not be read or decoded, 2 for wrong usage. That of
"kernel --quiet" is an answer: see zarn-utility kernel --help.
)";

const Command kCommands[] = {
    {"print",
     "BUFFER",
     ":hv",
     {{"strings", required_argument, nullptr, kStrings},
      {"json", no_argument, nullptr, kJson},
      {"verbose", no_argument, nullptr, kVerbose},
      {"help", no_argument, nullptr, kHelp},
      {}},
     tool::printBuffers,
     R"(Usage: zarn-utility print --strings TABLE [--json] [-v | --verbose] BUFFER...

Show print buffers as text.

  BUFFER...          files to decode; - is standard input
  --strings TABLE    string table with the buffers' formats; - is standard input
  --json             write one JSON object per line for each buffer
  -v, --verbose      write the name of a buffer above its text even if there is only one
  -h, --help         show this
  --                 treat all further arguments as names

Exit status: 0 when every buffer was decoded, 1 when one could not be read or decoded, 2 for wrong usage.

Example: zarn-utility print --strings strings.bin prints/*
)"},
    {"log",
     "LOG",
     ":hv",
     {{"all", no_argument, nullptr, kAll},
      {"at", required_argument, nullptr, kAt},
      {"json", no_argument, nullptr, kJson},
      {"table", no_argument, nullptr, kTable},
      {"verbose", no_argument, nullptr, kVerbose},
      {"help", no_argument, nullptr, kHelp},
      {}},
     tool::reportLogs,
     R"(Usage: zarn-utility log [--all] [--table | --json] [--at OFFSET] [-v | --verbose] LOG...

Report on descriptor logs.

  LOG...           files to decode; - is standard input
  --all            every entry from the newest backwards, not only the newest
  --table          a table of every entry, one line each
  --json           write one JSON object per line for each log
  --at OFFSET      read a log as if OFFSET (0 to 65535, decimal or 0x...) were its write offset
  -v, --verbose    write the name of a log above its report even if there is only one
  -h, --help       show this
  --               treat all further arguments as names

If --all or --table stops before the end of the log, a line on standard error says where and why.

Exit status: 0 when every log was decoded, 1 when one could not be read or decoded, 2 for wrong usage.

Example: zarn-utility log --table device-0.log
)"},
    {"kernel",
     "BINARY",
     ":hq",
     {{"quiet", no_argument, nullptr, kQuiet},
      {"json", no_argument, nullptr, kJson},
      {"help", no_argument, nullptr, kHelp},
      {}},
     tool::checkKernels,
     R"(Usage: zarn-utility kernel [-q | --quiet] [--json] BINARY...

Checksum kernel binaries and look for eDMA instructions.

  BINARY...      files to read; - is standard input
  -q, --quiet    write nothing; the exit status says whether there is an eDMA instruction
  --json         write one JSON object per line for each binary
  -h, --help     show this
  --             treat all further arguments as names

Exit status: 0 when every binary was read, 1 when one could not be, 2 for wrong usage.
With --quiet: 0 when a binary has an eDMA instruction, 1 when none has, 2 when one could not be read or for wrong usage.

Example: zarn-utility kernel --quiet kernel.bin && echo uses eDMA
)"}};

// `command` is the subcommand whose --help says more.
int usageError(const std::string& problem, const std::string& command = "") {
  std::fprintf(stderr, "zarn-utility: %s (see zarn-utility %s--help)\n", problem.c_str(),
               command.empty() ? "" : (command + " ").c_str());
  return tool::kUsageError;
}

int show(const std::string& text) {
  tool::write({text});
  return tool::finish(tool::kDone);
}

// What is wrong with the option that getopt_long() rejected and left in optopt and optind.
std::string optionProblem(const Command& command, char** argv) {
  for (const auto& known : command.longOptions) {
    if (known.name == nullptr || known.val != optopt) continue;
    return "--" + std::string(known.name) + (known.has_arg == no_argument ? " takes no value" : " needs a value");
  }
  const auto unknown = optopt == 0 ? std::string(argv[optind - 1]) : "-" + std::string(1, static_cast<char>(optopt));
  return tool::escapedName(unknown) + ": unknown option";
}

// Parses a decimal number, or a hexadecimal one after 0x. Returns nothing if it is neither or doesn't fit.
std::optional<std::uint16_t> parseOffset(std::string_view text) {
  const bool isHex = text.starts_with("0x");
  if (isHex) text.remove_prefix(2);
  std::uint16_t offset = 0;
  const char* const end = text.data() + text.size();
  const auto [at, error] = std::from_chars(text.data(), end, offset, isHex ? 16 : 10);
  if (error != std::errc() || at != end) return std::nullopt;
  return offset;
}

// What is wrong with the arguments as a whole, or an empty string.
std::string problemOf(const Command& command, const tool::Arguments& arguments) {
  if (command.name == "print" && !arguments.stringTable) return "--strings is required";
  if (arguments.names.empty()) return command.inputs + " is required";
  if (arguments.isTable && arguments.format == tool::Format::kJson) return "--table and --json exclude each other";
  const auto standardInputs = std::count(arguments.names.begin(), arguments.names.end(), "-");
  if (standardInputs + (arguments.stringTable == "-") > 1) return "standard input can be named only once";
  return {};
}

int run(const Command& command, int argc, char** argv) {
  tool::Arguments arguments;
  for (int id = 0; (id = getopt_long(argc, argv, command.shortOptions, command.longOptions.data(), nullptr)) != -1;) {
    switch (id) {
      case kHelp:
        return show(command.help);
      case kQuiet:
        arguments.isQuiet = true;
        tool::installOutOfMemoryHandler(tool::kTrouble);
        break;
      case kVerbose:
        arguments.isVerbose = true;
        break;
      case kAll:
        arguments.isAll = true;
        break;
      case kTable:
        arguments.isTable = true;
        break;
      case kAt:
        arguments.writeOffset = parseOffset(optarg);
        if (!arguments.writeOffset) return usageError("--at needs an offset from 0 to 65535", command.name);
        break;
      case kJson:
        arguments.format = tool::Format::kJson;
        break;
      case kStrings:
        arguments.stringTable = optarg;
        break;
      default:
        return usageError(optionProblem(command, argv), command.name);
    }
  }
  arguments.names.assign(argv + optind, argv + argc);
  const auto problem = problemOf(command, arguments);
  if (!problem.empty()) return usageError(problem, command.name);
  if (arguments.isQuiet) arguments.format = tool::Format::kText;
  tool::reserveMemoryFor(arguments);
  return command.run(arguments);
}

}  // namespace

int main(int argc, char** argv) {
  tool::installOutOfMemoryHandler(tool::kFailed);
  const std::string_view first = argc < 2 ? "" : argv[1];
  if (first == "-h" || first == "--help") return show(kHelpText);
  if (first == "--version") return show("zarn-utility " ZARN_UTILITY_VERSION "\n");
  if (argc < 2 || first == "--") return usageError("a subcommand is required");
  for (const auto& command : kCommands) {
    if (first == command.name) return run(command, argc - 1, argv + 1);
  }
  const bool isOption = first.size() > 1 && first.front() == '-';
  return usageError(tool::escapedName(first) + (isOption ? ": unknown option" : ": unknown subcommand"));
}
