// Writes the sample files that stand beside this program: make_samples DIRECTORY

#include <array>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "inputs.h"

namespace {

using namespace zarn::inputs;
using Bytes = std::string;

void write(const std::filesystem::path& file, const Bytes& bytes) {
  std::filesystem::create_directories(file.parent_path());
  std::FILE* out = std::fopen(file.c_str(), "wb");
  if (out == nullptr || std::fwrite(bytes.data(), 1, bytes.size(), out) != bytes.size() || std::fclose(out) != 0) {
    std::perror(file.c_str());
    std::exit(1);
  }
}

// --------------------------------------------------------------------------------------------------------------------
// Print buffers. Word offsets and kinds are explained in zarn_utility.h.

struct Print {
  const char* name;
  std::uint32_t kind;
  std::uint32_t dataType;
  const char* format;
  std::array<std::uint32_t, 4> submasks;
  std::function<std::uint32_t(std::uint32_t)> value;  // of value word 0 to 127
};

std::uint32_t bits(double value) { return std::bit_cast<std::uint32_t>(static_cast<float>(value)); }

// A few words with a value of their own, the others zero.
std::function<std::uint32_t(std::uint32_t)> only(const std::vector<std::pair<std::uint32_t, std::uint32_t>>& words) {
  return [words](std::uint32_t index) {
    for (const auto& [at, value] : words) {
      if (at == index) return value;
    }
    return 0U;
  };
}

std::uint32_t ownIndex(std::uint32_t index) { return index; }
std::uint32_t quarters(std::uint32_t index) { return bits(index / 4.0 - 4); }
std::uint32_t signedSteps(std::uint32_t index) { return 1000 * (index - 64); }

void writePrints(const std::filesystem::path& directory) {
  const Print prints[] = {
      {"masked-u32", 0, 2, "val=%u", {0x5}, only({{0, 7}, {1, 0xFFFFFFFF}})},
      {"masked-64bit", 1, 3, "%x", {0x30}, only({{2, 16}, {66, 1}})},
      {"masked-float", 4, 5, "x = %9.3f", {0x1, 0x2, 0xC0000000, 0xC0000000}, quarters},
      {"masked-none", 0, 1, "%u", {}, ownIndex},
      {"single-u32", 3, 1, "counter is %d\n", {}, only({{0, 0xFFFFFFFF}})},
      {"single-64bit", 8, 4, "0x%08x", {0xF}, only({{0, 0xBEEF}, {64, 0xDEAD}})},
      {"single-float", 2, 5, "v=%.2f", {}, only({{0, bits(1.5)}})},
      {"pads-u32", 5, 7, "%u", {}, ownIndex},
      {"pads-float", 5, 6, "%g", {}, quarters},
      {"all-i32", 6, 0, "%+d", {}, signedSteps},
      {"all-float", 7, 5, "%.1e", {}, quarters},
  };
  Bytes strings;
  for (const auto& print : prints) {
    const auto formatOffset = static_cast<std::uint32_t>(strings.size());
    PrintBuffer buffer{headerWord(print.kind, print.dataType), 1000, 620, 1, 2, 3, print.submasks, formatOffset, {}};
    for (std::uint32_t i = 0; i < buffer.data.size(); ++i) buffer.data[i] = print.value(i);
    write(directory / (std::string(print.name) + ".bin"), buffer.bytes());
    strings.append(print.format).push_back('\0');
  }
  write(directory / "strings.bin", strings);
}

// --------------------------------------------------------------------------------------------------------------------
// Descriptor logs.

void writeLogs(const std::filesystem::path& directory) {
  LogWriter edma(192, 0x10);
  edma.entry(1, 64, 0x80, {{0x1234, "ED"}});
  write(directory / "edma.bin", edma.log());

  LogWriter glsu(256);
  glsu.entry(1, 64, 0, {{0x40, "ED"}});
  glsu.entry(2, 128, 0x70, {{0x60, "GL"}});
  write(directory / "glsu.bin", glsu.log());

  LogWriter ringBuffer(1024);
  ringBuffer.entry(1, 64, 0, {{96, "ED"}});
  ringBuffer.entry(1, 128, 0x20, {{608, "RB"}});
  ringBuffer.entry(1, 128, 0x40, {{320, "NP"}, {352, "NP"}, {736, "EL"}, {740, "EL"}, {900, "RL"}});
  ringBuffer.entry(0, 0, 0, {{1000, "RL"}});
  write(directory / "ring-buffer-ate.bin", ringBuffer.log());
  auto damaged = ringBuffer.log();
  put(damaged, ringBuffer.writeOffset() - 1, '?', 1);
  write(directory / "damaged.bin", damaged);

  LogWriter wrapped(256, 200);
  wrapped.entry(1, 64, 0, {{77, "ED"}});
  write(directory / "wrapped.bin", wrapped.log());

  // The descriptor's length does not fit into the log, so it is cut; and more was logged than the write offset shows.
  LogWriter overSized(236);
  overSized.entry(2, 220, 0, {{5, "RB"}});
  write(directory / "over-sized.bin", overSized.log(1260));
}

// --------------------------------------------------------------------------------------------------------------------
// Kernel binaries: parcels of 16 bits. 0x0013 heads a word, 0x0001 is a short, 0x001F heads a bundle of three parcels.

void writeKernels(const std::filesystem::path& directory) {
  write(directory / "with-edma.bin", kernel({0x0013, 0x0000, 0x0001, 0x001F, 0x0040, 0xF900}));
  write(directory / "without-edma.bin", kernel({0x0013, 0x0000, 0x0001, 0x001F, 0x0040, 0xF800}));
  // The marker "prot" ends the instructions; what follows is not looked at.
  write(directory / "stopped.bin", kernel({0x0013, 0x0000, 0x7270, 0x746F, 0x001F, 0x0040, 0xF900}));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_samples DIRECTORY\n");
    return 2;
  }
  writePrints(std::filesystem::path(argv[1]) / "print");
  writeLogs(std::filesystem::path(argv[1]) / "log");
  writeKernels(std::filesystem::path(argv[1]) / "kernel");
  return 0;
}
