// The inputs of a subcommand, one after the other.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "commands.h"
#include "input.h"
#include "json_writer.h"

namespace tool {

// Decodes and shows an input. Returns an error message if it can't be decoded, otherwise an empty string.
using Decode = std::function<std::string(const std::string& name, const Bytes&)>;

// Returns kDone, or `failure` if an input could not be decoded.
int decodeAll(const Arguments& arguments, const Decode& decode, int failure = kFailed);

// Reports an input that can't be decoded: on standard error, and in JSON also as an object of its own.
void reportProblem(const std::string& name, const std::string& problem, Format format);
void writeProblem(std::string_view name, std::string_view problem);  // writes only that object

// Shows a text, under the name of its input if there are several or headings are wanted.
void showText(const Arguments& arguments, const std::string& name, std::string_view text);

// Writes the complete object of the current input.
void writeObject(JsonWriter& json);

std::string tooShort(const Bytes& bytes, const std::string& what, std::size_t needed);

}  // namespace tool
