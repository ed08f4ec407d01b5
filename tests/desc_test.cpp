// Descriptor logs: decoding at the limits of sizes, offsets and rings, and the reports byte for byte.

#include <gtest/gtest.h>

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <memory>
#include <numeric>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "compare.h"
#include "desc/report.h"
#include "inputs.h"
#include "support.h"
#include "zarn_utility.h"

namespace {

using namespace zarn::inputs;

// Writes one part of a log as tests/cases/logs.txt gives it, `shift` bytes further on.
void write(GuardedBytes& log, const std::string& part, std::size_t shift) {
  std::string separators, spaced = part;
  for (char& c : spaced) {
    if (std::isalnum(static_cast<unsigned char>(c))) continue;
    separators += c;
    c = ' ';
  }
  std::istringstream stream(spaced);
  const std::vector<std::string> fields(std::istream_iterator<std::string>(stream), {});
  if (separators == "@:" && fields.at(0) == "ST") {
    log.write(number(fields.at(1)) + shift, headerBytes(number(fields.at(2))));
  } else if (separators == "@:," && fields.at(0).size() == 2) {
    log.write(number(fields.at(1)) - 8 + shift, recordBytes(number(fields.at(2)), number(fields.at(3)), fields[0]));
  } else if (separators == "@=" && number(fields.at(0)) <= 8) {
    std::string bytes;
    append(bytes, number(fields.at(2)), number(fields[0]));
    log.write(number(fields.at(1)) + shift, bytes);
  } else {
    throw std::invalid_argument('"' + part + "\" is nothing to write");
  }
}

// Writes the write offset, then each part; "20*" writes a part twenty times, eight bytes apart.
void fill(GuardedBytes& log, std::size_t writeOffset, const std::string& parts) {
  if (log.size() >= 64) {
    std::string trailer(64, '\0');
    putTrailer(trailer, writeOffset, writeOffset);
    log.write(log.size() - 64, trailer);
  }
  std::istringstream stream(parts);
  for (std::string part; stream >> part;) {
    const auto star = part.find('*');
    const std::size_t count = star == std::string::npos ? 1 : number(part.substr(0, star));
    for (std::size_t i = 0; i < count; ++i) write(log, part.substr(star + 1), 8 * i);
  }
}

// The text that `put` produces: counted, then written into memory of exactly that size.
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

TEST(DescLog, MatchesTheTable) {
  forEachRow("logs.txt", 6, [](const Row& row) {
    SCOPED_TRACE(row.place);
    for (const auto guard : {GuardedBytes::Guard::kBehind, GuardedBytes::Guard::kInFront}) {
      GuardedBytes log(number(row[2]), guard);
      if (!log) continue;
      fill(log, number(row[3]), row[4]);
      if (row[1] != "newest" && row[1] != "all") throw std::invalid_argument("neither newest nor all");
      EXPECT_EQ((row[1] == "all" ? allEntries : newestEntry)(log.data(), log.size()), row[5]);
      EXPECT_EQ(compareLog(log.data(), log.size()), "");
    }
  });
  EXPECT_EQ(newestEntry(nullptr, 256), "null");
  EXPECT_EQ(allEntries(nullptr, 256), "null");
  EXPECT_EQ(compareLog(nullptr, 256), "");
}

// Every tag: in the newest record, in the newest record of an earlier entry, and among ring-buffer records.
TEST(DescLog, KnowsSixTags) {
  int known = 0;
  for (std::uint32_t tag = 0; tag < 0x10000; ++tag) {
    std::string letters;
    append(letters, tag, 2);
    LogWriter log(228);
    log.entry(1, 64, 1, {{5, letters}});
    log.entry(0, 0, 0, {{6, "NP"}, {7, letters}, {8, "RL"}});
    auto bytes = log.log();
    ASSERT_EQ(compareLog(bytes.data(), bytes.size()), "") << tag;
    putTrailer(bytes, log.writeOffset() - 8, 0);
    ASSERT_EQ(compareLog(bytes.data(), bytes.size()), "") << tag;
    known += newestEntry(bytes.data(), bytes.size()) != "null";
  }
  EXPECT_EQ(known, 6);
}

TEST(DescLog, AllocatesExactlyWhatIsDocumented) {
  GuardedBytes log(1088);
  fill(log, 236, "ST@0:1 ED@76:1,0 ST@76:1 NP@212:2,76 RL@220:2,76 RL@228:3,76 RL@236:3,76");
  std::uint32_t count = 0;
  const AllocationLog allocations;
  auto* array = db_get_desc_buffer_info_array(log.data(), log.size(), &count);
  EXPECT_EQ(allocations.text(), "112[] 80 4[] 0[] 12[] 128[] 80 0[] 0[] 0[] 64[] 16[]");
  db_free_desc_buffer_info_array(array, 2);
}

// Records that no log gives: valid, overSized, three types, three has-flags, total, PC, and the four arrays.
TEST(DescReport, MatchesTheTable) {
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

  // The most table entries that a count can stand for, and one more, which counts as none.
  const DescBufInfo most{1, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0x7FFFFFFF, {}, 0, {}, 0, {}, 0, {}};
  const DescBufInfo none{1, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0x80000000, {}, 0, {}, 0, {}, 0, {}};
  std::size_t pcRoom = 0;
  EXPECT_EQ(zarn::desc::report(std::size_t{0}, &most, pcRoom) - zarn::desc::report(std::size_t{0}, &none, pcRoom),
            3 * std::size_t{0x7FFFFFFF} + (1 << 26));
}

}  // namespace
