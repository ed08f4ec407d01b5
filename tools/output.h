// Standard output and standard error.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

namespace tool {

// Writes the parts, at most IOV_MAX of them, in one system call, so that nothing gets in between when several processes
// append to one file. After a failure nothing more is written.
void write(std::span<const std::string_view> parts);
void write(std::initializer_list<std::string_view> parts);

bool hasWriteFailed();

// Writes a heading, which may be empty, and a text: unchanged to a file or a pipe, but with control characters escaped
// to a terminal, which would obey them.
void show(std::string_view heading, std::string_view text);

// A name as shown in headings and messages: on one line, with control characters and backslashes escaped.
std::string escapedName(std::string_view name);

// "1 byte" or "2 bytes".
std::string counted(std::uint64_t number, const char* one, const char* several);

// Writes one line to standard error.
void printError(std::string_view name, const std::string& problem);

// Returns `status`, or 1 if standard output could not be written completely, which it reports.
int finish(int status);

}  // namespace tool
