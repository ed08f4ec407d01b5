// Print buffers with any format. The text has to be what {fmt} makes of each value, for every format that {fmt} stands.

#include <bit>
#include <climits>
#include <string_view>

#include "fuzz.h"
#include "inputs.h"
#include "print/fmt.h"
#include "zarn_utility.h"

namespace {

// Numbers that fit an int are kept to three digits, so that no width fills the memory; larger ones give no text.
std::string tamed(const std::string& format) {
  std::string result;
  for (std::size_t i = 0; i < format.size();) {
    std::size_t digits = 0;
    unsigned long long value = 0;
    while (i + digits < format.size() && '0' <= format[i + digits] && format[i + digits] <= '9') {
      if (value <= INT_MAX) value = value * 10 + static_cast<unsigned>(format[i + digits] - '0');
      ++digits;
    }
    if (value > 999 && value <= INT_MAX) {
      result += format.substr(i, 3);
    } else {
      result += format.substr(i, digits == 0 ? 1 : digits);
    }
    i += digits == 0 ? 1 : digits;
  }
  return result;
}

// Whether {fmt} itself can be given the format: no number beyond three digits, no index 0, not broken off.
bool isSafe(const std::string& format) {
  int digits = 0;
  for (const char c : format) {
    digits = '0' <= c && c <= '9' ? digits + 1 : 0;
    if (digits > 3) return false;
  }
  if (format.find("0$") != std::string::npos) return false;
  return format.empty() || std::string_view("hljztL").find(format.back()) == std::string_view::npos;
}

struct Print {
  std::uint32_t type;
  bool is64Bit;
  bool isFloat;
  std::uint32_t submask;
  std::uint32_t words[128];
  std::string format;

  std::string value(std::uint32_t index) const {
    if (isFloat) return fmt::sprintf(format, std::bit_cast<float>(words[index])) + "\n";
    return fmt::sprintf(format, words[index]) + "\n";
  }

  std::string body() const {
    std::string text;
    if (type == 1) return value(0);
    for (std::uint32_t thread = 0; thread < 64 && type != 2; ++thread) {
      if (type == 0 && (submask >> 2 * (thread % 16) & 3) == 0) continue;
      text += "thread_" + std::to_string(thread);
      if (type == 0 && is64Bit) {
        text += ":\nlow 32 bits:\n" + value(thread) + "high 32 bits:\n" + value(64 + thread);
      } else {
        text += ": " + value(thread);
      }
    }
    for (std::uint32_t i = 0; i < 64 && type >= 2; ++i) {
      text += std::string("LLRRUUDD").substr(i / 8, 1) + std::to_string(i / 8 % 2) + "_" + std::to_string(i % 8) +
              ": " + value((type == 3 ? 64 : 0) + i);
    }
    return text;
  }
};

constexpr std::uint32_t kTypes[] = {0, 0, 1, 1, 0, 2, 3, 3, 1};  // by print kind

// The print buffer that the input stands for, and where it and its format lie.
struct Case {
  std::uint32_t kind;
  std::uint32_t dataType;
  std::uint32_t offset;
  std::size_t size;
  bool isAccepted;
  bool isComparable;  // with what {fmt} itself gives
  Print print;

  explicit Case(Input input)
      : kind(input.byte() % 10),
        dataType(input.byte() % 9),
        offset(input.byte() % 4),
        size(input.byte() == 0xFF ? 619 : 620),
        isAccepted(size == 620 && kind <= 8 && dataType <= 7),
        print{isAccepted ? kTypes[kind] : 0,
              dataType == 3 || dataType == 4,
              dataType == 5 || dataType == 6,
              input.word(4),
              {},
              {}} {
    const std::uint32_t seeds[] = {input.word(4), input.word(4)};
    print.format = tamed(input.rest().substr(0, 200));
    print.format.resize(std::strlen(print.format.c_str()));
    isComparable = isSafe(print.format);
    const bool hasCount = print.format.find('*') != std::string::npos;
    for (std::uint32_t i = 0; i < 128; ++i) {
      print.words[i] = seeds[i % 2] + i / 2 * 0x01010101U * (seeds[0] & 1);
      if (!hasCount) continue;
      if (print.words[i] <= INT_MAX) print.words[i] %= 1000;
      isComparable = isComparable && (print.isFloat || print.words[i] <= INT_MAX);
    }
  }

  std::string buffer() const {
    zarn::inputs::PrintBuffer buffer;
    buffer.headerWord = zarn::inputs::headerWord(kind, dataType) | 0x20;
    buffer.submasks.fill(print.submask);
    buffer.formatOffset = offset;
    std::copy(std::begin(print.words), std::end(print.words), buffer.data.begin());
    return buffer.bytes().substr(0, size);
  }
};

void checkText(const Case& input, const ExactBytes& buffer, const ExactBytes& table) {
  const auto text =
      textOf([&] { return db_get_printf_string(buffer.data(), buffer.size(), table.data(), table.size()); },
             db_free_printf_string);
  const auto header = fmt::format(
      "Graph Id: 0\nKernel Id: 0\nInstance Id: 0\nCurrent time: 0\nTotal size: 0\n"
      "submask0: {0:#x}\nsubmask1: {0:#x}\nsubmask2: {0:#x}\nsubmask3: {0:#x}\n",
      input.print.submask);
  REQUIRE(text.starts_with(header));
  if (input.isComparable) REQUIRE(text == header + input.print.body());
}

Share share{"decoded"};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Case input(Input(data, size));
  const ExactBytes buffer(input.buffer(), input.offset);
  const ExactBytes table(std::string(input.offset, '%') + input.print.format + '\0');
  const long before = liveAllocations();
  PrintBufInfo* info = db_get_print_buffer_info(buffer.data(), buffer.size(), table.data(), table.size());
  share.count(info != nullptr);
  REQUIRE(input.isAccepted == (info != nullptr));
  db_free_print_buffer_info(&info);
  if (input.isAccepted) {
    checkText(input, buffer, table);
  } else {
    REQUIRE(db_get_printf_string(buffer.data(), buffer.size(), table.data(), table.size()) == nullptr);
  }
  REQUIRE(liveAllocations() == before);
  return 0;
}
