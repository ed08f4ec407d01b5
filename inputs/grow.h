// Grows inputs of every shape for the decoders from a string of bytes: libFuzzer's in fuzz targets, random ones in
// tests. Most inputs are plausible enough to be decoded.
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
