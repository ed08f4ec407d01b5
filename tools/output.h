// Standard output and standard error.
#pragma once

#include <string>
#include <string_view>

namespace tool {

// Writes bytes as they are.
void write(std::string_view bytes);

// Writes a text: as it is to a file or a pipe; with control characters escaped to a terminal, which would obey them.
void show(std::string_view text);

// A name as headings and messages have it: on one line, with control characters and backslashes escaped.
std::string shownName(std::string_view name);

// Passes on what was written so far, so that nothing finished is lost. Returns false once writing has failed.
bool flush();

// One line on standard error.
void complain(std::string_view name, const std::string& problem);
std::string complaint(std::string_view name, const std::string& problem);

// Tells about standard output if it could not be written whole, and returns the exit status: then 1, or else `status`.
int finish(int status);

}  // namespace tool
