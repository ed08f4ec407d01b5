#include "grow.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "inputs.h"
#include "reference.h"

namespace zarn::inputs {
namespace {

// Consumes a seed from the front; yields zeros past its end.
class Seed {
 public:
  explicit Seed(std::string_view bytes) : bytes_(bytes) {}
  bool isEmpty() const { return bytes_.empty(); }
  std::uint8_t byte() {
    if (bytes_.empty()) return 0;
    const char first = bytes_.front();
    bytes_.remove_prefix(1);
    return static_cast<std::uint8_t>(first);
  }
  std::uint32_t word(int width) {
    std::uint32_t value = 0;
    for (int i = 0; i < width; ++i) value |= static_cast<std::uint32_t>(byte()) << 8 * i;
    return value;
  }

 private:
  std::string_view bytes_;
};

// Pseudo-random words, with high bits mixed into the low bytes.
class Random {
 public:
  explicit Random(std::uint32_t seed) : state_(seed) {}
  std::uint32_t operator()() {
    state_ = state_ * 1664525 + 1013904223;
    return state_ ^ state_ >> 15;
  }

 private:
  std::uint32_t state_;
};

// --------------------------------------------------------------------------------------------------------------------

// Bytes below 0x80 stand for themselves, others for parts of conversions and numbers at the limits.
std::string growFormat(Seed& seed) {
  constexpr std::string_view kParts[] = {
      "%",           "%1$", "%2$", "%0$",        "%%",         "*",          ".",
      ".*",          "h",   "hh",  "l",          "ll",         "L",          "%.2147483647A",
      "t",           "d",   "i",   "u",          "x",          "X",          "o",
      "c",           "s",   "p",   "a",          "A",          "e",          "E",
      "f",           "F",   "g",   "G",          "n",          "%d",         "%u",
      "%x",          "%f",  "%.",  "2147483646", "2147483647", "2147483639", "2147483648",
      "99999999999", "%.2", "%08", "%-9",        "%+#",        "% ",         "%.2147483639a",
      "%2147483648"};
  std::string format;
  while (!seed.isEmpty() && format.size() < 1000) {
    const std::uint8_t byte = seed.byte();
    format += byte < 0x80 ? std::string(1, static_cast<char>(byte)) : std::string(kParts[byte % std::size(kParts)]);
  }
  return format.substr(0, format.find('\0'));
}

// Cuts widths and precisions that would take effect to three digits; those that give no text stay.
std::string tamed(std::string format, bool isFloat) {
  auto all = reference::conversions(format, isFloat, 0);
  std::reverse(all.begin(), all.end());  // so that the offsets of those to come stay valid
  for (const auto& conversion : all) {
    if (conversion.isSilent || !conversion.takesValue) continue;
    if (conversion.width <= 999 && conversion.precision <= 999) continue;
    std::string shortened;
    int digits = 0;
    for (std::size_t i = conversion.begin; i < conversion.end; ++i) {
      digits = '0' <= format[i] && format[i] <= '9' ? digits + 1 : 0;
      if (digits <= 3) shortened += format[i];
    }
    format.replace(conversion.begin, conversion.end - conversion.begin, shortened);
  }
  return format;
}

}  // namespace

PrintInput growPrint(std::string_view bytes) {
  Seed seed(bytes);
  const auto field = [&seed](std::uint32_t valid) {  // mostly valid
    const std::uint8_t byte = seed.byte();
    return byte < 0xF0 ? byte % valid : byte & 0x1FU;
  };
  const std::uint32_t kind = field(9);
  const std::uint32_t dataType = field(8);
  const std::uint8_t shape = seed.byte();
  Random random(seed.word(4));
  PrintBuffer print{
      headerWord(kind, dataType) | (random() & 0xFFFFF820), random(), random(), random(), random(), random()};
  for (auto& submask : print.submasks) {
    submask = random();
    submask &= random();
  }
  print.formatOffset = shape % 4;
  const std::uint32_t spread = seed.byte() % 32;  // zero bits at the top of values
  auto format = growFormat(seed);
  const bool valueMayCount = format.find('*') != std::string::npos;
  for (std::size_t i = 0; i < print.data.size(); ++i) {
    auto& word = print.data[i];
    word = random() >> (i % 4 == 0 ? 0 : spread);
    if (i % 8 == 5) word = i % 16 == 5 ? 0x80000000 : 0xFFFFFFFF;
    if (valueMayCount && word <= INT_MAX) word %= 1000;
  }
  format = tamed(std::move(format), dataType == 5 || dataType == 6);
  std::string table = std::string(print.formatOffset, '%') + format + '\0';
  const auto size = shape >= 0xFC ? 619 : std::size_t{620} + shape / 16 % 2;
  if (shape == 0xFB) table.resize(print.formatOffset);
  auto buffer = print.bytes() + '\0';
  return {buffer.substr(0, size), table};
}

// --------------------------------------------------------------------------------------------------------------------

namespace {

// The previous contents of the ring: zeros, random words, or records without entries.
std::string oldRing(std::size_t ringSize, std::uint8_t kind, Random& random) {
  std::string ring(ringSize, '\0');
  for (std::size_t at = 0; kind != 0 && at + 8 <= ringSize; at += 8) {
    const std::uint32_t words[] = {random(), random()};
    std::memcpy(&ring[at], words, 8);
    if (kind >= 0xC0) ring.replace(at + 6, 2, kTags[3 + random() % (kind % 3 + 1U)]);
  }
  return ring;
}

}  // namespace

std::string growLog(std::string_view bytes) {
  Seed seed(bytes);
  Random random(seed.word(2));
  const std::uint8_t sizes = seed.byte();
  const std::uint8_t ringKind = seed.byte();
  std::size_t size = 65 + seed.word(2) % (sizes < 0x80 ? 300 : 4000);
  // Circles of many records take a long time in a big ring.
  if (sizes >= 0xE0 && ringKind < 0xC0) size += sizes % 2 == 0 ? 0x10000 : 0x20000;
  LogWriter writer(oldRing(size - 64, ringKind, random), seed.byte());

  int records = size > 65536 ? 64 : 1000;  // that may still be written without a header
  std::uint32_t extraTotal = 0;
  std::vector<std::pair<std::size_t, std::uint8_t>> damages;
  struct Newest {
    std::uint32_t writeOffset, start;
    std::string_view tag;
  };
  std::vector<Newest> planted;
  while (!seed.isEmpty()) {
    const std::uint8_t instruction = seed.byte();
    const auto tag = kTags[instruction % kTagCount];
    if (instruction < 0x50) {
      const std::size_t units = instruction / 6 % 5;
      writer.header(units);
      writer.skip(units * (tag == "ED" || tag == "GL" ? 64 : 128));
      writer.record(random(), tag);
    } else if (instruction < 0xA0) {
      for (int i = instruction / 6 % 4; i >= 0 && records > 0; --i, --records) writer.record(random(), tag);
    } else if (instruction < 0xB0) {
      writer.setStart(seed.word(2) % (size + 2));  // later records refer elsewhere
    } else if (instruction < 0xC0) {
      writer.setStart(size - instruction % 8);
      for (const std::size_t i : {0U, 1U}) damages.emplace_back(size - instruction % 8 + i, "ST"[i]);
    } else if (instruction < 0xD0) {
      const std::uint8_t choice = seed.byte();
      const auto start = choice < 0xC0 ? writer.start() : seed.word(2);
      planted.push_back({instruction % 16U, static_cast<std::uint32_t>(start), kTags[choice % kTagCount]});
    } else if (instruction < 0xF0) {
      const std::size_t at = seed.word(2) % size;
      damages.emplace_back(at, seed.byte());
    } else {
      extraTotal += instruction;
    }
  }
  auto log = writer.log();
  for (const auto& [writeOffset, start, tag] : planted) putNewest(log, writeOffset, start, tag, random());
  if (extraTotal != 0) put(log, size - 60, extraTotal, 4);
  for (const auto& [at, byte] : damages) {
    if (at < size) put(log, at, byte, 1);
  }
  return log;
}

std::string growKernel(std::string_view bytes) {
  Seed seed(bytes);
  Random random(seed.word(2));
  std::string kernel;
  const auto appendMany = [&kernel](std::size_t count, std::uint64_t instruction, std::size_t length) {
    for (std::size_t i = 0; i < count; ++i) append(kernel, instruction, length);
  };
  while (!seed.isEmpty() && kernel.size() < 2000) {
    const std::uint8_t instruction = seed.byte();
    const std::size_t count = instruction / 8;
    const unsigned kind = instruction % 8;
    if (kind == 0) {
      appendMany(count, random() & 0xFFFC, 2);
    } else if (kind == 1) {
      appendMany(count, (random() & 0xFFFFFFE0) | 0x13, 4);
    } else if (kind == 2) {
      appendMany(count, (random() & 0xFFFFFF80) | 0x5F, 4);
    } else if (kind == 3) {
      kernel += count % 4 == 0 ? "prot" : "pro";
    } else if (kind == 4) {
      append(kernel, random(), 1 + count % 4);
    } else {  // a bundle, mostly with few counted parcels, full of the pattern or of a near miss
      constexpr std::uint32_t kOpcodes[] = {0x1F, 0x3B, 0x3F, 0x7F};
      std::uint32_t slots = random() & 0xFF80;
      slots &= random();
      append(kernel, slots | kOpcodes[count % 4], 2);
      appendMany(4 + count % 4 * 2, 0xF940 ^ (count < 16 ? 0 : 1U << random() % 16), 2);
    }
  }
  return kernel;
}

}  // namespace zarn::inputs
