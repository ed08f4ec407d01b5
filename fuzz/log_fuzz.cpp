// Descriptor logs. An input is a list of instructions that grow a plausible log and then damage it, so that most inputs
// decode to something.

#include "fuzz.h"
#include "inputs.h"
#include "zarn_utility.h"

namespace {

using namespace zarn::inputs;

// The log that an input stands for.
std::string makeLog(Input input) {
  const std::uint32_t size = 65 + input.word(2) % (input.byte() % 4 == 0 ? 200 : 4000);
  LogWriter writer(size - 64, input.byte() % (size - 64));
  std::vector<std::pair<std::size_t, std::uint8_t>> damages;
  std::uint32_t total = 0;
  constexpr std::string_view kTags[] = {"ED", "GL", "RB", "NP", "EL", "RL"};
  while (!input.isEmpty()) {
    const std::uint8_t instruction = input.byte();
    if (instruction < 0x60) {
      const std::uint32_t units = instruction / 6 % 5;
      writer.header(units);
      writer.moveTo(writer.writeOffset() + units * (instruction % 6 < 2 ? 64U : 128U));
      writer.record(units, kTags[instruction % 6]);
    } else if (instruction < 0xB0) {
      writer.record(instruction, kTags[instruction % 6]);
    } else if (instruction < 0xD0) {
      writer.setStart(input.word(2) % (size + 2));  // later records refer to somewhere else
    } else if (instruction < 0xF0) {
      const std::size_t at = input.word(2) % size;
      damages.emplace_back(at, input.byte());
    } else {
      total += instruction;
    }
  }
  auto log = writer.log(writer.writeOffset() + total);
  for (const auto& [at, byte] : damages) put(log, at, byte, 1);
  return log;
}

// What the public header promises of every record.
void requireValid(const DescBufInfo& info, std::size_t size) {
  REQUIRE(info.valid == 1 && info.isEdma + info.isGlsu + info.isRingBufferAte == 1);
  REQUIRE(info.desc && info.rbNextPtrPcs && info.rbEndPcs && info.rbReleasePcs);
  REQUIRE(info.hasRbNextPtr == (info.rbNextPtrCount != 0) && info.hasRbEnd == (info.rbEndCount != 0) &&
          info.hasRbRelease == (info.rbReleaseCount != 0));
  REQUIRE(std::uint64_t{info.rbNextPtrCount} + info.rbEndCount + info.rbReleaseCount <= (size - 64) / 8 + 1);
  REQUIRE(info.descSize <= (size < 76 ? std::size_t{65535} * 128 : size - 76));
}

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
  for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
}

// The array report begins with the single report, but for its section line and two labels. A report has all of a record
// in it, so this also holds the array's first record against the one of the single decode.
void requireAgreement(std::string single, const std::string& all) {
  replaceAll(single, "\nPC : ", "\n\nDescBufInfo 0 in Array :\nPC: ");
  replaceAll(single, "qel_rb_next_ptr PC[", "qel_next_ptr PC[");
  REQUIRE(all.starts_with(single));
}

void checkRecords(const ExactBytes& log, const DescBufInfo* info) {
  std::uint32_t count = 0;
  DescBufInfo** array = db_get_desc_buffer_info_array(log.data(), log.size(), &count);
  REQUIRE(array != nullptr && count <= (log.size() - 64) / 76);
  REQUIRE((count != 0) == (info != nullptr && log.size() >= 140));
  if (info != nullptr) requireValid(*info, log.size());
  for (std::uint32_t i = 0; i < count; ++i) {
    requireValid(*array[i], log.size());
    REQUIRE(array[i]->overSized == info->overSized && array[i]->totalLogUsed == info->totalLogUsed);
  }
  db_free_desc_buffer_info_array(array, static_cast<std::int32_t>(count));
}

void checkReports(const ExactBytes& log, bool isDecoded) {
  const auto all = textOf([&log] { return db_get_desc_string_array(log.data(), log.size()); }, db_free_desc_string);
  REQUIRE(all.empty() == (!isDecoded || log.size() < 140));
  if (!isDecoded) {
    REQUIRE(db_get_desc_string(log.data(), log.size()) == nullptr);
    return;
  }
  const auto single = textOf([&log] { return db_get_desc_string(log.data(), log.size()); }, db_free_desc_string);
  if (!all.empty()) requireAgreement(single, all);
}

Share share{"decoded"};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const ExactBytes log(makeLog(Input(data, size)));
  const long before = liveAllocations();
  DescBufInfo* info = db_get_desc_buffer_info(log.data(), log.size());
  const bool isDecoded = info != nullptr;
  share.count(isDecoded);
  checkRecords(log, info);
  if (isDecoded) db_free_desc_buffer_info(&info);
  checkReports(log, isDecoded);
  REQUIRE(liveAllocations() == before);
  return 0;
}
