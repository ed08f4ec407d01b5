// Writes the sample files that stand beside this program: make_samples DIRECTORY

#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace {

using Bytes = std::string;

void put(Bytes& bytes, std::size_t offset, std::uint64_t value, std::size_t width) {
  for (std::size_t i = 0; i < width; ++i) bytes.at(offset + i) = static_cast<char>(value >> 8 * i);
}

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
  std::uint32_t submasks[4];
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
    Bytes buffer(620, '\0');
    put(buffer, 0, print.kind | print.dataType << 6, 4);
    put(buffer, 4, 1000, 4);
    put(buffer, 8, buffer.size(), 4);
    for (std::size_t i = 0; i < 3; ++i) put(buffer, 12 + 4 * i, i + 1, 4);
    for (std::size_t i = 0; i < 4; ++i) put(buffer, 24 + 4 * i, print.submasks[i], 4);
    put(buffer, 40, strings.size(), 4);
    for (std::uint32_t i = 0; i < 128; ++i) put(buffer, 44 + 4 * i, print.value(i), 4);
    write(directory / (std::string(print.name) + ".bin"), buffer);
    strings.append(print.format).push_back('\0');
  }
  write(directory / "strings.bin", strings);
}

// --------------------------------------------------------------------------------------------------------------------
// Descriptor logs.

struct Record {
  std::uint32_t pc;
  const char* tag;
};

// Appends entries to a ring as the device does.
class LogWriter {
 public:
  LogWriter(std::size_t ringSize, std::size_t start) : ring_(ringSize, '\0'), at_(start) {}

  // A header, `length` bytes counting up from `first`, and the records.
  void entry(std::size_t units, std::size_t length, std::uint32_t first, const std::vector<Record>& records) {
    const auto start = at_;
    append(0x5453 | units << 16, 4);
    for (std::size_t i = 0; i < length; ++i) append(first + i, 1);
    for (const auto& record : records) {
      append(record.pc, 4);
      append(start, 2);
      append(static_cast<std::uint8_t>(record.tag[0]), 1);
      append(static_cast<std::uint8_t>(record.tag[1]), 1);
    }
  }

  std::size_t writeOffset() const { return at_; }

  Bytes finish(std::size_t total) const {
    auto log = ring_ + Bytes(64, '\0');
    put(log, ring_.size(), at_, 2);
    put(log, ring_.size() + 4, total, 4);
    return log;
  }

 private:
  void append(std::uint64_t value, std::size_t width) {
    for (std::size_t i = 0; i < width; ++i) {
      ring_[at_] = static_cast<char>(value >> 8 * i);
      at_ = (at_ + 1) % ring_.size();
    }
  }

  Bytes ring_;
  std::size_t at_;
};

void writeLogs(const std::filesystem::path& directory) {
  LogWriter edma(192, 0x10);
  edma.entry(1, 64, 0x80, {{0x1234, "ED"}});
  write(directory / "edma.bin", edma.finish(edma.writeOffset()));

  LogWriter glsu(256, 0);
  glsu.entry(1, 64, 0, {{0x40, "ED"}});
  glsu.entry(2, 128, 0x70, {{0x60, "GL"}});
  write(directory / "glsu.bin", glsu.finish(glsu.writeOffset()));

  LogWriter ringBuffer(1024, 0);
  ringBuffer.entry(1, 64, 0, {{96, "ED"}});
  ringBuffer.entry(1, 128, 0x20, {{608, "RB"}});
  ringBuffer.entry(1, 128, 0x40, {{320, "NP"}, {352, "NP"}, {736, "EL"}, {740, "EL"}, {900, "RL"}});
  ringBuffer.entry(0, 0, 0, {{1000, "RL"}});
  write(directory / "ring-buffer-ate.bin", ringBuffer.finish(ringBuffer.writeOffset()));
  auto damaged = ringBuffer.finish(ringBuffer.writeOffset());
  put(damaged, ringBuffer.writeOffset() - 1, '?', 1);
  write(directory / "damaged.bin", damaged);

  LogWriter wrapped(256, 200);
  wrapped.entry(1, 64, 0, {{77, "ED"}});
  write(directory / "wrapped.bin", wrapped.finish(wrapped.writeOffset()));

  // The descriptor's length does not fit into the log, so it is cut; and more was logged than the write offset shows.
  LogWriter overSized(236, 0);
  overSized.entry(2, 220, 0, {{5, "RB"}});
  write(directory / "over-sized.bin", overSized.finish(1260));
}

// --------------------------------------------------------------------------------------------------------------------
// Kernel binaries: parcels of 16 bits. 0x0013 heads a word, 0x0001 is a short, 0x001F heads a bundle of three parcels.

void writeKernels(const std::filesystem::path& directory) {
  const auto kernel = [&directory](const char* name, const std::vector<std::uint16_t>& parcels) {
    Bytes bytes(2 * parcels.size(), '\0');
    for (std::size_t i = 0; i < parcels.size(); ++i) put(bytes, 2 * i, parcels[i], 2);
    write(directory / name, bytes);
  };
  kernel("with-edma.bin", {0x0013, 0x0000, 0x0001, 0x001F, 0x0040, 0xF900});
  kernel("without-edma.bin", {0x0013, 0x0000, 0x0001, 0x001F, 0x0040, 0xF800});
  // The marker "prot" ends the instructions; what follows is not looked at.
  kernel("stopped.bin", {0x0013, 0x0000, 0x7270, 0x746F, 0x001F, 0x0040, 0xF900});
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
