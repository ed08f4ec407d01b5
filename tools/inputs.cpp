#include "inputs.h"

#include <cstddef>
#include <string>
#include <string_view>

#include "commands.h"
#include "input.h"
#include "json_writer.h"
#include "out_of_memory.h"
#include "output.h"

namespace tool {

int decodeAll(const Arguments& arguments, const Decode& decode, int failure) {
  const auto& names = arguments.names;
  int status = kDone;
  for (std::size_t i = 0; i < names.size() && !hasWriteFailed(); ++i) {
    const auto& name = names[i];
    setCurrentInput(name, names.size() - i - 1, arguments.format, failure);
    Bytes bytes;
    auto problem = bytes.read(name);
    if (problem.empty()) problem = decode(name, bytes);
    if (problem.empty()) continue;
    reportProblem(name, problem, arguments.format);
    status = failure;
  }
  return finish(status);
}

void reportProblem(const std::string& name, const std::string& problem, Format format) {
  if (format == Format::kJson) writeProblem(name, problem);
  printError(name, problem);
}

void writeProblem(std::string_view name, std::string_view problem) {
  JsonWriter json;
  json.open('{');
  json.field("input", name);
  json.field("error", problem);
  json.close('}');
  writeObject(json);
}

void showText(const Arguments& arguments, const std::string& name, std::string_view text) {
  const bool hasHeading = arguments.isVerbose || arguments.names.size() > 1;
  show(hasHeading ? "==> " + escapedName(name) + " <==\n" : "", text);
}

void writeObject(JsonWriter& json) {
  json.writeLine();
  setObjectWritten();
}

std::string tooShort(const Bytes& bytes, const std::string& what, std::size_t needed) {
  return "too short for " + what + ": " + counted(bytes.size(), "byte", "bytes") + ", " +
         std::to_string(needed - bytes.size()) + " missing";
}

}  // namespace tool
