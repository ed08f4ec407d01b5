// Descriptor logs: decoding at the limits of sizes, offsets and rings, and the reports byte for byte.

#include <gtest/gtest.h>

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <ios>
#include <iterator>
#include <memory>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

#include "desc/report.h"
#include "inputs.h"
#include "support.h"
#include "zarn_utility.h"

namespace {

using namespace zarn::inputs;

// Writes what tests/cases/logs.txt says of a log: its write offset, and what is written where.
void fill(GuardedBytes& log, std::size_t writeOffset, const std::string& writes) {
  if (log.size() >= 64) {
    std::string trailer(64, '\0');
    putTrailer(trailer, writeOffset, writeOffset);
    log.write(log.size() - 64, trailer);
  }
  std::istringstream stream(writes);
  for (std::string text; stream >> text;) {
    for (char& c : text) c = std::isalnum(static_cast<unsigned char>(c)) ? c : ' ';
    std::istringstream fields(text);
    fields.unsetf(std::ios::basefield);  // hexadecimal numbers too
    std::string kind;
    std::uint64_t at = 0, first = 0, second = 0;
    fields >> kind >> at >> first >> second;
    if (kind == "ST") {
      log.write(at, headerBytes(first));
    } else if (kind.size() == 2) {
      log.write(at - 8, recordBytes(first, second, kind));
    } else {
      std::string bytes;
      append(bytes, first, std::stoul(kind));
      log.write(at, bytes);
    }
  }
}

std::string pcs(const char* name, bool has, const std::uint32_t* pcs, std::uint32_t count) {
  std::string text = has ? " " : " no ";
  text += name;
  for (std::uint32_t i = 0; i < count; ++i) text.append(i == 0 ? " " : ",").append(std::to_string(pcs[i]));
  return text;
}

// The bytes of a descriptor that are not 0, each with its index, as "bytes 0=7f 63=01"; at most six of them, and how
// many more there are.
std::string bytesOf(const DescBufInfo& info) {
  std::ostringstream text;
  std::uint32_t found = 0;
  for (std::uint32_t i = 0; i < info.descSize; ++i) {
    if (info.desc[i] == 0) continue;
    if (++found == 1) text << " bytes";
    if (found <= 6) text << ' ' << std::dec << i << '=' << std::hex << info.desc[i] / 16 << info.desc[i] % 16;
  }
  if (found > 6) text << std::dec << " and " << found - 6 << " more";
  return text.str();
}

// "eDMA pc 1 size 64", the descriptor's bytes, and what ring-buffer records there are.
std::string summary(const DescBufInfo& info) {
  std::string text = info.overSized ? "over " : "";
  if (info.isEdma) text += "eDMA";
  if (info.isGlsu) text += "GLSU";
  if (info.isRingBufferAte) text += "RB";
  text += " pc " + std::to_string(info.pc) + " size " + std::to_string(info.descSize) + bytesOf(info);
  if (info.isRingBufferAte) {
    text += pcs("NP", info.hasRbNextPtr, info.rbNextPtrPcs, info.rbNextPtrCount) +
            pcs("EL", info.hasRbEnd, info.rbEndPcs, info.rbEndCount) +
            pcs("RL", info.hasRbRelease, info.rbReleasePcs, info.rbReleaseCount);
  }
  EXPECT_TRUE(info.valid == 1 && info.desc && info.rbNextPtrPcs && info.rbEndPcs && info.rbReleasePcs);
  return text;
}

// What `put` puts at the place it is given: counted, and then written into memory of exactly that size.
template <typename Put>
std::string written(Put put) {
  std::size_t pcRoom = 0;
  const std::size_t size = put(std::size_t{0}, pcRoom);
  const std::unique_ptr<char[]> text(new char[size]);
  EXPECT_EQ(put(text.get(), pcRoom), text.get() + size);
  EXPECT_EQ(pcRoom, 0U);
  return {text.get(), size};
}

std::string report(const DescBufInfo& record) {
  return written([&record](auto at, auto& pcRoom) { return zarn::desc::report(at, &record, pcRoom); });
}

std::string report(const std::vector<const DescBufInfo*>& array) {
  return written([&array](auto at, auto& pcRoom) {
    std::uint32_t index = 0;
    for (const auto* record : array) at = zarn::desc::arrayReport(at, index++, record, pcRoom);
    return at;
  });
}

// The report of a log has to be that of its records.
std::string decodeNewest(const GuardedBytes& log) {
  auto* info = db_get_desc_buffer_info(log.data(), log.size());
  const auto text = textOf([&] { return db_get_desc_string(log.data(), log.size()); }, db_free_desc_string);
  EXPECT_EQ(text.has_value(), info != nullptr);
  if (info == nullptr) return "null";
  EXPECT_TRUE(*text == report(*info));
  const auto found = summary(*info);
  db_free_desc_buffer_info(&info);
  EXPECT_EQ(info, nullptr);
  return found;
}

// Equal records in a row are counted: "2 x GLSU pc 3 size 64 | 1 x eDMA pc 2 size 64".
std::string decodeAll(const GuardedBytes& log) {
  std::uint32_t count = 77;
  auto* array = db_get_desc_buffer_info_array(log.data(), log.size(), &count);
  const auto text = textOf([&] { return db_get_desc_string_array(log.data(), log.size()); }, db_free_desc_string);
  if (array == nullptr) return count == 77 && text == "" ? "null" : "null, but a count or a text";
  EXPECT_TRUE(text == report({array, array + count}));
  std::string found;
  for (std::uint32_t i = 0, equal = 1; i < count; ++i, ++equal) {
    const auto record = summary(*array[i]);
    if (i + 1 < count && summary(*array[i + 1]) == record) continue;
    found += (found.empty() ? "" : " | ") + std::to_string(equal) + " x " + record;
    equal = 0;
  }
  db_free_desc_buffer_info_array(array, static_cast<std::int32_t>(count));
  return found;
}

TEST(DescLog, DecodesAsTheCasesSay) {
  for (const auto& row : readCases("logs.txt", 6)) {
    for (const auto guard : {GuardedBytes::Guard::kBehind, GuardedBytes::Guard::kInFront}) {
      const long before = liveAllocations();
      bool isRight = true;
      if (GuardedBytes log(std::stoul(row[2], nullptr, 0), guard); log) {
        fill(log, std::stoul(row[3]), row[4]);
        const auto found = row[1] == "all" ? decodeAll(log) : decodeNewest(log);
        isRight = found == row[5];
        if (!isRight) ADD_FAILURE() << row[0] << ": " << found << "\ninstead of " << row[5];
      }
      if (!isRight) break;  // the message is still allocated
      EXPECT_EQ(liveAllocations(), before) << row[0];
    }
  }
  std::uint32_t count = 77;
  EXPECT_EQ(db_get_desc_buffer_info(nullptr, 256), nullptr);
  EXPECT_EQ(db_get_desc_buffer_info_array(nullptr, 256, &count), nullptr);
  EXPECT_EQ(count, 77U);
}

TEST(DescLog, HasRecordsWhateverTheirCount) {
  zarn::inputs::LogWriter log(4096);
  for (int i = 0; i < 256; ++i) log.record(1, "EL");
  EXPECT_EQ(decodeNewest(GuardedBytes(log.log())).substr(0, 37), "RB pc 4294967295 size 0 no NP EL 1,1,");
}

TEST(DescLog, AllocatesExactlyWhatIsStated) {
  GuardedBytes log(1088);
  fill(log, 236, "ST@0:1 ED@76:1,0 ST@76:1 NP@212:2,76 RL@220:2,76 RL@228:3,76 RL@236:3,76");
  const std::string newest = "80 4[] 0[] 12[] 128[]";
  {
    const AllocationLog allocations;
    auto* info = db_get_desc_buffer_info(log.data(), log.size());
    EXPECT_EQ(allocations.text(), newest);
    db_free_desc_buffer_info(&info);
  }
  std::uint32_t count = 0;
  const AllocationLog allocations;
  auto* array = db_get_desc_buffer_info_array(log.data(), log.size(), &count);
  const auto all = allocations.text();
  EXPECT_EQ(all, "112[] " + newest + " 80 0[] 0[] 0[] 64[] 16[]");
  db_free_desc_buffer_info_array(array, 2);
}

// Records as no log gives them: valid, overSized, three types, three has-flags, total, PC, and the four arrays.
TEST(DescReport, SaysExactlyWhatTheRecordHolds) {
  std::uint8_t counting[36];
  std::iota(std::begin(counting), std::end(counting), std::uint8_t{0x10});
  std::uint8_t four[] = {0x0A, 0xFF, 0x00, 0x7C}, three[] = {0x01, 0x02, 0xAB};
  std::uint8_t thirteen[] = {1, 2, 3, 4, 5, 6, 7, 8, 0x90, 0xA1, 0xB2, 0xC3, 0xD4};
  std::uint32_t next[] = {320, 352}, seven[] = {7}, end[] = {736};
  std::uint32_t ofEachLength[] = {0,        9,        10,        99,        100,        999,       1000,
                                  9999,     10000,    99999,     100000,    999999,     1000000,   9999999,
                                  10000000, 99999999, 100000000, 999999999, 1000000000, 4294967295};
  constexpr std::uint32_t kMost = 0xFFFFFFFF;
  const DescBufInfo ringBuffer{1, 0, 0, 0, 1, 1, 0, 0, 412, 608, 36, counting, 2, next, 0, {}, 0, {}};
  const DescBufInfo edma{1, 1, 1, 0, 0, 0, 0, 0, 900, 96, 4, four, 0, {}, 0, {}, 0, {}};
  const DescBufInfo odd{1, 2, 1, 1, 2, 3, 2, 2, kMost, kMost, 0, {}, 0, {}, 1, seven, 0, {}};
  const DescBufInfo huge{1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0x80000000, {}, kMost, {}, kMost, {}, kMost, {}};
  const DescBufInfo second{1, 0, 0, 0, 1, 1, 1, 0, 0, 608, 3, three, 2, next, 1, end, 0, {}};
  const DescBufInfo numbers{1, 0, 2, 2, 1, 2, 3, 3, 0, 1, 13, thirteen, 0, {}, 0, {}, 20, ofEachLength};
  const DescBufInfo invalid{2, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, {}, 0, {}, 0, {}, 0, {}};
  const std::string found = "=== next pointers and a second row" + report(ringBuffer) + "=== eDMA" + report(edma) +
                            "=== type flags and overSized count when exactly 1, has-flags by their lowest bit" +
                            report(odd) + "=== numbers of each length" + report(numbers) +
                            "=== counts beyond an int stand for none" + report(huge) + "=== array" +
                            report({&edma, &second}) + "=== header from entry 0 only, gaps where entries are left out" +
                            report({nullptr, &second, &invalid, &second}) + "=== none" + report(invalid);
  std::ifstream file(CASES "/reports.txt");
  EXPECT_EQ(found, std::string(std::istreambuf_iterator<char>(file), {}));

  // As many table entries as a count can stand for, and one more, which stands for none.
  const DescBufInfo most{1, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0x7FFFFFFF, {}, 0, {}, 0, {}, 0, {}};
  const DescBufInfo none{1, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0x80000000, {}, 0, {}, 0, {}, 0, {}};
  std::size_t pcRoom = 0;
  EXPECT_EQ(zarn::desc::report(std::size_t{0}, &most, pcRoom) - zarn::desc::report(std::size_t{0}, &none, pcRoom),
            3 * std::size_t{0x7FFFFFFF} + (1 << 26));
}

TEST(DescReport, IsNullOrEmptyWhereNothingCanBeDecoded) {
  GuardedBytes log(256);
  fill(log, 92, "");
  const long before = liveAllocations();
  EXPECT_EQ(db_get_desc_string(log.data(), log.size()), nullptr);
  EXPECT_EQ(db_get_desc_string(nullptr, 256), nullptr);
  for (const char* bytes : {log.data(), static_cast<const char*>(nullptr)}) {
    char* text = db_get_desc_string_array(bytes, log.size());
    EXPECT_STREQ(text, "");
    db_free_desc_string(&text);
    db_free_desc_string(&text);
    EXPECT_EQ(text, nullptr);
  }
  EXPECT_EQ(liveAllocations(), before);
}

}  // namespace
