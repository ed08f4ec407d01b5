// Standard output and standard error.
#pragma once

#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

namespace tool {

// Writes the parts one after the other in one system call, so that nothing else gets in between where several processes
// append to one file. Once that has failed nothing more is written.
void write(std::span<const std::string_view> parts);
void write(std::initializer_list<std::string_view> parts);

bool hasWriteFailed();

// Writes a heading, which may be empty, and a text: as it is to a file or a pipe; with control characters escaped to a
// terminal, which would obey them.
void show(std::string_view heading, std::string_view text);

// A name as headings and messages have it: on one line, with control characters and backslashes escaped.
std::string shownName(std::string_view name);

// One line on standard error.
void complain(std::string_view name, const std::string& problem);

// Tells about standard output if it could not be written whole, and returns the exit status: then 1, or else `status`.
int finish(int status);

}  // namespace tool
