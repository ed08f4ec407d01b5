// Inputs of every shape for the decoders, each grown from a string of bytes: by fuzz targets from what libFuzzer makes
// up, by tests from random bytes. Most of them are plausible enough to be decoded.
#pragma once

#include <string>
#include <string_view>

namespace zarn::inputs {

struct PrintInput {
  std::string buffer;
  std::string stringTable;
};

PrintInput growPrint(std::string_view bytes);
std::string growLog(std::string_view bytes);
std::string growKernel(std::string_view bytes);

}  // namespace zarn::inputs
