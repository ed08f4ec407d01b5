// Descriptor logs: decoding at the limits of sizes, offsets and rings, and the reports byte for byte.

#include <gtest/gtest.h>

#include <initializer_list>
#include <vector>

#include "allocations.h"
#include "desc/report.h"
#include "zarn_utility.h"

namespace {

// Some bytes to write into a log of zeros.
struct Poke {
  std::size_t at;
  std::size_t width;
  std::uint64_t value;
};

// A record that ends at `end`, and a descriptor header.
Poke record(std::size_t end, std::uint32_t pc, std::uint16_t start, const char* tag) {
  const std::uint64_t tagWord = static_cast<std::uint8_t>(tag[0]) | static_cast<std::uint64_t>(tag[1]) << 8;
  return {end - 8, 8, pc | std::uint64_t{start} << 32 | tagWord << 48};
}
Poke header(std::size_t at, std::uint16_t units) { return {at, 4, 0x5453 | std::uint32_t{units} << 16}; }

std::string logOf(std::size_t size, std::uint16_t writeOffset, const std::vector<Poke>& pokes) {
  std::string log(size, '\0');
  if (size >= 64) {
    put(log, size - 64, writeOffset, 2);
    put(log, size - 60, writeOffset, 4);
  }
  for (const auto& poke : pokes) put(log, poke.at, poke.value, poke.width);
  return log;
}

std::string pcs(const char* name, bool has, const std::uint32_t* pcs, std::uint32_t count) {
  std::string text = has ? " " : " no ";
  text += name;
  for (std::uint32_t i = 0; i < count; ++i) text.append(i == 0 ? " " : ",").append(std::to_string(pcs[i]));
  return text;
}

// "eDMA pc 1 size 64" and what ring-buffer records there are.
std::string summary(const DescBufInfo& info) {
  std::string text = info.overSized ? "over " : "";
  if (info.isEdma) text += "eDMA";
  if (info.isGlsu) text += "GLSU";
  if (info.isRingBufferAte) text += "RB";
  text += " pc " + std::to_string(info.pc) + " size " + std::to_string(info.descSize);
  if (info.isRingBufferAte) {
    text += pcs("NP", info.hasRbNextPtr, info.rbNextPtrPcs, info.rbNextPtrCount) +
            pcs("EL", info.hasRbEnd, info.rbEndPcs, info.rbEndCount) +
            pcs("RL", info.hasRbRelease, info.rbReleasePcs, info.rbReleaseCount);
  }
  EXPECT_TRUE(info.valid == 1 && info.desc && info.rbNextPtrPcs && info.rbEndPcs && info.rbReleasePcs);
  return text;
}

std::string decodeNewest(const ExactBytes& log) {
  const long before = liveAllocations();
  auto* info = db_get_desc_buffer_info(log.data(), log.size());
  if (info == nullptr) {
    EXPECT_EQ(liveAllocations(), before);
    return "null";
  }
  const auto text = summary(*info);
  db_free_desc_buffer_info(&info);
  EXPECT_EQ(info, nullptr);
  return text;
}

std::vector<std::string> decodeAll(const ExactBytes& log) {
  std::uint32_t count = 77;
  auto* array = db_get_desc_buffer_info_array(log.data(), log.size(), &count);
  if (array == nullptr) return {"null", std::to_string(count)};
  std::vector<std::string> texts;
  for (std::uint32_t i = 0; i < count; ++i) texts.push_back(summary(*array[i]));
  db_free_desc_buffer_info_array(array, static_cast<std::int32_t>(count));
  return texts;
}

TEST(DescRecord, DecodesTheNewestEntryAtEveryLimit) {
  const std::string noPc = " pc 4294967295 size 0";
  const struct {
    const char* name;
    std::string log;
    std::string expected;
  } rows[] = {
      {"one byte too short for a ring", logOf(64, 0, {}), "null"},
      {"a ring of one byte", logOf(65, 0, {{0, 3, 0x4445}}), "null"},
      {"eDMA", logOf(256, 0x5C, {header(16, 1), record(0x5C, 4660, 16, "ED")}), "eDMA pc 4660 size 64"},
      {"GLSU", logOf(256, 0x5C, {header(16, 1), record(0x5C, 9, 16, "GL")}), "GLSU pc 9 size 64"},
      {"unknown tag", logOf(256, 0x5C, {header(16, 1), record(0x5C, 9, 16, "EF")}), "null"},
      {"total below the write offset", logOf(256, 92, {header(16, 1), record(92, 1, 16, "ED"), {196, 4, 91}}),
       "over eDMA pc 1 size 64"},
      {"total equal in its low half only", logOf(256, 92, {header(16, 1), record(92, 1, 16, "ED"), {198, 2, 1}}),
       "over eDMA pc 1 size 64"},
      {"RB without a header", logOf(256, 92, {record(92, 1, 16, "RB")}), "null"},
      {"NP without a header", logOf(256, 92, {record(92, 1, 16, "NP")}), "RB" + noPc + " NP 1 no EL no RL"},
      {"no units", logOf(256, 92, {header(16, 0), record(92, 1, 16, "RB")}), "RB pc 1 size 0 no NP no EL no RL"},
      {"PCs oldest first, the entry's PC from before its start",
       logOf(512, 200,
             {record(32, 5, 0, "RB"), header(32, 1), record(168, 1, 32, "EL"), record(176, 2, 32, "NP"),
              record(184, 3, 32, "EL"), record(192, 4, 32, "RL"), record(200, 6, 32, "NP")}),
       "RB pc 5 size 128 NP 2,6 EL 1,3 RL 4"},

      // The test at size - 76 and the cut to size - 128.
      {"two RB units fit", logOf(512, 300, {header(16, 2), record(300, 1, 16, "RB")}),
       "RB pc 1 size 256 no NP no EL no RL"},
      {"two RB units cut", logOf(300, 200, {header(16, 2), record(200, 1, 16, "RB")}),
       "RB pc 1 size 172 no NP no EL no RL"},
      {"length at size - 76", logOf(204, 92, {header(0, 2), record(92, 1, 0, "ED")}), "eDMA pc 1 size 128"},
      {"length above size - 76", logOf(203, 92, {header(0, 2), record(92, 1, 0, "ED")}), "eDMA pc 1 size 75"},
      {"cut to nothing", logOf(128, 64, {header(0, 1), record(64, 1, 0, "ED")}), "eDMA pc 1 size 0"},
      {"too small to be cut", logOf(127, 63, {header(0, 1), record(63, 1, 0, "ED")}), "null"},
      {"nothing to cut at 76 bytes", logOf(76, 12, {header(0, 0), record(12, 1, 0, "ED")}), "eDMA pc 1 size 0"},
      {"76 bytes", logOf(76, 12, {header(0, 1), record(12, 1, 0, "ED")}), "null"},
      {"never cut below 76 bytes", logOf(75, 11, {header(40, 0xFFFF), record(11, 1, 40, "GL")}),
       "GLSU pc 1 size 4194240"},

      // The start offset at the buffer's end.
      {"header in the last four bytes", logOf(256, 92, {header(252, 1), record(92, 1, 252, "ED")}),
       "eDMA pc 1 size 64"},
      {"header cut off by the end", logOf(256, 92, {{253, 2, 0x5453}, record(92, 1, 253, "ED")}), "null"},
      {"header cut off, but a record", logOf(256, 92, {{253, 2, 0x5453}, record(92, 1, 253, "EL")}),
       "RB" + noPc + " no NP EL 1 no RL"},
      {"start at the size", logOf(256, 92, {record(92, 1, 256, "RL")}), "RB" + noPc + " no NP no EL RL 1"},
      {"start beyond the size", logOf(256, 92, {record(92, 1, 257, "RL")}), "null"},
      // W = 3 puts the tag at 1. Of the two bytes before it, one wraps to ring(-1) = 63 and the other is byte 0; the
      // start offset is read at 63 and 64. Gathering begins at 59 and finds no tag at 65.
      {"anchor wraps byte by byte", logOf(256, 3, {{0, 3, 0x4C4500}, {63, 2, 0x20}, header(0x20, 1), {24, 4, 8}}),
       "RB pc 8 size 128 no NP EL 0 no RL"},
      {"anchor beyond the size", logOf(256, 3, {{0, 3, 0x4C4501}, {63, 2, 0x20}, header(0x20, 1)}), "null"},

      // Positions below zero: 2^32 is 64 modulo 192, so they count back from 64 there; and from 256 in a ring of 256.
      {"W 0, 192", logOf(256, 0, {header(100, 1), record(64, 7, 100, "ED")}), "eDMA pc 7 size 64"},
      {"W 0, 192, at the ring's end", logOf(256, 0, {header(100, 1), record(192, 7, 100, "ED")}), "null"},
      {"W 0, 256", logOf(320, 0, {header(100, 1), record(256, 7, 100, "ED")}), "eDMA pc 7 size 64"},
      {"W 1, 192", logOf(256, 1, {header(100, 1), record(65, 7, 100, "ED")}), "eDMA pc 7 size 64"},
      {"W 2, 192", logOf(256, 2, {header(100, 1), {58, 4, 7}, {62, 2, 100}, {0, 2, 0x4445}}), "eDMA pc 7 size 64"},
      {"W 4, 192", logOf(256, 4, {header(100, 1), {60, 4, 7}, {0, 4, 0x44450064}}), "eDMA pc 7 size 64"},
      {"W 4, 256", logOf(320, 4, {header(100, 1), {252, 4, 7}, {0, 4, 0x44450064}}), "eDMA pc 7 size 64"},
      {"W 6, 192", logOf(256, 6, {header(100, 1), {62, 4, 7}, {2, 4, 0x44450064}}), "eDMA pc 7 size 64"},
      {"W 8", logOf(256, 8, {header(100, 1), record(8, 7, 100, "ED")}), "eDMA pc 7 size 64"},
      {"W beyond the ring", logOf(256, 8 + 192, {header(100, 1), record(8, 7, 100, "ED")}), "eDMA pc 7 size 64"},
      // Walking back over position 0 leads to 56, gathering forwards from 48 to 64: NP is not met, a third EL is.
      {"walk and gathering part at position 0",
       logOf(256, 8, {record(8, 1, 100, "NP"), record(64, 2, 0, "EL"), record(56, 3, 0, "EL"), record(72, 4, 0, "EL")}),
       "RB" + noPc + " NP 0 EL 3,2 no RL"},
      {"records all round the ring",
       logOf(96, 0,
             {record(8, 1, 90, "EL"), record(16, 2, 90, "EL"), record(24, 3, 90, "EL"), record(32, 4, 90, "EL")}),
       "RB" + noPc + " no NP EL 1,2,3,4 no RL"},

      // Rings of more than 65,536 bytes: the newest tag, the start offset and the PC are looked for 16 bits wide, the
      // walk is not.
      {"cut positions", logOf(131136, 0, {header(100, 1), record(65536, 7, 100, "ED")}), "eDMA pc 7 size 64"},
      {"uncut positions",
       logOf(131136, 0,
             {header(100, 1),
              {92, 4, 8},
              record(65536, 7, 100, "NP"),
              record(131072, 5, 0, "EL"),
              record(131064, 6, 0, "EL")}),
       "RB pc 8 size 128 no NP EL 6,5 no RL"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(decodeNewest(ExactBytes(row.log)), row.expected) << row.name;
    EXPECT_EQ(decodeNewest(ExactBytes(row.log, 1)), row.expected) << row.name;
  }
  EXPECT_EQ(db_get_desc_buffer_info(nullptr, 256), nullptr);
}

TEST(DescRecord, CopiesTheDescriptorRoundTheRing) {
  // A ring of 11 bytes (75 in all) and a descriptor of 64, from 44 modulo 11 on; and one that wraps once.
  auto tiny = logOf(75, 11, {header(40, 1), record(11, 0x04030201, 40, "ED")});
  auto large = logOf(1024, 20, {header(900, 1), record(20, 1, 900, "ED")});
  for (std::size_t i = 904; i < 960; ++i) large[i] = static_cast<char>(i);
  for (auto* log : {&tiny, &large}) {
    const std::size_t ring = log->size() - 64;
    const std::size_t first = log == &tiny ? 44 : 904;
    auto* info = db_get_desc_buffer_info(log->data(), log->size());
    ASSERT_NE(info, nullptr);
    ASSERT_EQ(info->descSize, 64U);
    for (std::size_t i = 0; i < 64; ++i) ASSERT_EQ(static_cast<char>(info->desc[i]), (*log)[(first + i) % ring]) << i;
    db_free_desc_buffer_info(&info);
  }
}

TEST(DescArray, WalksFromTheNewestBackwards) {
  const std::vector<Poke> three = {header(0, 1),   record(76, 1, 0, "ED"),   header(76, 1), record(152, 2, 76, "ED"),
                                   header(152, 1), record(228, 3, 152, "GL")};
  const auto same = [](std::size_t count, const std::string& text) { return std::vector<std::string>(count, text); };
  // Entries of 20 records whose start offset leads back to the write offset.
  const auto circle = [](const char* tag) {
    std::vector<Poke> pokes;
    for (std::size_t end = 108; end <= 260; end += 8) pokes.push_back(record(end, 1, 260, tag));
    return logOf(1088, 260, pokes);
  };
  const std::string ones = "1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1";
  const struct {
    const char* name;
    std::string log;
    std::vector<std::string> expected;
  } rows[] = {
      {"too short", logOf(64, 0, {}), {"null", "77"}},
      {"a ring of 75 bytes is empty", logOf(139, 8, {header(20, 0), record(8, 1, 20, "ED")}), {}},
      {"a ring of 76 bytes", logOf(140, 8, {header(8, 0), record(8, 1, 8, "ED")}), {"eDMA pc 1 size 0"}},
      {"three entries", logOf(1088, 228, three), {"GLSU pc 3 size 64", "eDMA pc 2 size 64", "eDMA pc 1 size 64"}},
      {"damaged newest entry", logOf(1088, 230, three), {}},
      {"circle up to the limit", logOf(1088, 8, {header(8, 1), record(8, 1, 8, "ED")}), same(13, "eDMA pc 1 size 64")},
      {"circle up to the budget", logOf(1088, 8, {header(8, 2), record(8, 1, 8, "ED")}), same(8, "eDMA pc 1 size 128")},
      {"budget met exactly", logOf(280, 8, {header(8, 2), record(8, 1, 8, "ED"), {10, 2, 3}}), {"eDMA pc 1 size 192"}},
      {"next pointers use up the budget", circle("NP"), same(6, "RB pc 4294967295 size 0 NP " + ones + " no EL no RL")},
      {"ends do not", circle("EL"), same(13, "RB pc 4294967295 size 0 no NP EL " + ones + " no RL")},
      {"releases do not", circle("RL"), same(13, "RB pc 4294967295 size 0 no NP no EL RL " + ones)},
  };
  const long before = liveAllocations();
  for (const auto& row : rows) EXPECT_EQ(decodeAll(ExactBytes(row.log)), row.expected) << row.name;
  EXPECT_EQ(liveAllocations(), before);

  std::uint32_t count = 77;
  EXPECT_EQ(db_get_desc_buffer_info_array(nullptr, 1088, &count), nullptr);
  EXPECT_EQ(count, 77U);
}

TEST(DescArray, AllocatesExactlyWhatIsStated) {
  const auto log = logOf(1088, 236,
                         {header(0, 1), record(76, 1, 0, "ED"), header(76, 1), record(212, 2, 76, "NP"),
                          record(220, 2, 76, "RL"), record(228, 3, 76, "RL"), record(236, 3, 76, "RL")});
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

// A record as no log gives it: every array is as long as its count says, up to what the test provides.
struct HandMade : DescBufInfo {
  HandMade(std::uint8_t isValid, std::uint8_t isOverSized, std::initializer_list<std::uint8_t> flags,
           std::uint32_t total, std::uint32_t pcValue, std::vector<std::uint8_t> table, std::vector<std::uint32_t> next,
           std::vector<std::uint32_t> end, std::vector<std::uint32_t> release)
      : DescBufInfo(), table_(table), next_(next), end_(end), release_(release) {
    valid = isValid;
    overSized = isOverSized;
    std::copy(flags.begin(), flags.end(), &isEdma);
    totalLogUsed = total;
    pc = pcValue;
    descSize = static_cast<std::uint32_t>(table.size());
    rbNextPtrCount = static_cast<std::uint32_t>(next.size());
    rbEndCount = static_cast<std::uint32_t>(end.size());
    rbReleaseCount = static_cast<std::uint32_t>(release.size());
    desc = table_.data();
    rbNextPtrPcs = next_.data();
    rbEndPcs = end_.data();
    rbReleasePcs = release_.data();
  }
  HandMade(const HandMade&) = delete;

  std::vector<std::uint8_t> table_;
  std::vector<std::uint32_t> next_, end_, release_;
};

std::string report(const DescBufInfo& record) {
  zarn::desc::TextBuilder out;
  zarn::desc::appendReport(out, record);
  return std::string(out.text());
}

std::string report(std::initializer_list<const DescBufInfo*> array) {
  zarn::desc::TextBuilder out;
  std::uint32_t index = 0;
  for (const auto* record : array) zarn::desc::appendArrayReport(out, index++, record);
  return std::string(out.text());
}

TEST(DescReport, SaysExactlyWhatTheRecordHolds) {
  std::vector<std::uint8_t> counting;
  for (std::uint8_t byte = 0x10; byte < 0x34; ++byte) counting.push_back(byte);
  const HandMade ringBuffer(1, 0, {0, 0, 1, 1, 0, 0}, 412, 608, counting, {320, 352}, {}, {});
  EXPECT_EQ(report(ringBuffer),
            "\nTotal Descriptor log used(bytes) : 412\nDescriptor is over sized : no\nPC : 608\nType: RingBufferATE\n"
            "Size: 36\nDescriptor Table: \n"
            " 10 11 12 13 14 15 16 17 18 19 1a 1b 1c 1d 1e 1f 20 21 22 23 24 25 26 27 28 29 2a 2b 2c 2d 2e 2f\n"
            " 30 31 32 33\n"
            "\nRB_next_PTR: yes\nqel_rb_next_ptr PC[0] : 320\nqel_rb_next_ptr PC[1] : 352\n\nRB_end: no\n"
            "\nRB_release: no\n");

  const HandMade edma(1, 1, {1}, 900, 96, {0x0A, 0xFF, 0x00, 0x7C}, {}, {}, {});
  const std::string edmaTable = "Type: eDMA\nSize: 4\nDescriptor Table: \n 0a ff 00 7c\n";
  const std::string edmaHeader = "\nTotal Descriptor log used(bytes) : 900\nDescriptor is over sized : yes\n";
  EXPECT_EQ(report(edma), edmaHeader + "PC : 96\n" + edmaTable);

  // Flags other than 0 and 1: type flags and overSized count when exactly 1, has-flags by their lowest bit.
  const HandMade odd(1, 2, {1, 1, 2, 3, 2, 0}, 0xFFFFFFFF, 0xFFFFFFFF, {}, {}, {7}, {});
  EXPECT_EQ(report(odd),
            "\nTotal Descriptor log used(bytes) : 4294967295\nDescriptor is over sized : no\nPC : 4294967295\n"
            "Type: eDMA\nType: GLSU\nSize: 0\nDescriptor Table: \n\nRB_next_PTR: yes\nqel_rb_end PC[0] : 7\n");

  HandMade huge(1, 0, {0, 1}, 0, 0, {}, {}, {}, {});  // counts beyond an int stand for none
  huge.descSize = 0x80000000;
  huge.rbNextPtrCount = huge.rbEndCount = huge.rbReleaseCount = 0xFFFFFFFF;
  EXPECT_EQ(report(huge),
            "\nTotal Descriptor log used(bytes) : 0\nDescriptor is over sized : no\nPC : 0\nType: GLSU\n"
            "Size: 2147483648\nDescriptor Table: \n");

  // The array report: header from entry 0 only, gaps where entries are left out, labels of its own.
  const HandMade second(1, 0, {0, 0, 1, 1, 1, 0}, 0, 608, {0x01, 0x02, 0xAB}, {320, 352}, {736}, {});
  const HandMade invalid(2, 0, {}, 0, 0, {}, {}, {}, {});
  const std::string secondText =
      "PC: 608\nType: RingBufferATE\nSize: 3\nDescriptor Table: \n 01 02 ab\n\nRB_next_PTR: yes\n"
      "qel_next_ptr PC[0] : 320\nqel_next_ptr PC[1] : 352\n\nRB_end: yes\nqel_rb_end PC[0] : 736\n\nRB_release: no\n";
  EXPECT_EQ(report({&edma, &second}), edmaHeader + "\nDescBufInfo 0 in Array :\nPC: 96\n" + edmaTable +
                                          "\nDescBufInfo 1 in Array :\n" + secondText);
  EXPECT_EQ(report({nullptr, &second, &invalid, &second}),
            "\nDescBufInfo 1 in Array :\n" + secondText + "\nDescBufInfo 3 in Array :\n" + secondText);
}

TEST(DescReport, IsNullOrEmptyWhereNothingCanBeDecoded) {
  const auto log = logOf(256, 92, {});
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
