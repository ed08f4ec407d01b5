// Lists the entries of a descriptor log, newest first, and checks a kernel binary: decode LOG KERNEL
#include <zarn_utility.h>

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <ios>
#include <iterator>
#include <string>

static std::string load(const char* name) {
  std::ifstream file(name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s LOG KERNEL\n", argv[0]);
    return 2;
  }
  const std::string log = load(argv[1]);
  std::uint32_t count = 0;  // stays 0 when there is no log to read
  DescBufInfo** entries = db_get_desc_buffer_info_array(log.data(), log.size(), &count);
  for (std::uint32_t i = 0; i < count; ++i) {
    const DescBufInfo& entry = *entries[i];
    const char* type = entry.isEdma ? "eDMA" : entry.isGlsu ? "GLSU" : "RingBufferATE";
    std::printf("PC %" PRIu32 ": %s, descriptor of %" PRIu32 " bytes", entry.pc, type, entry.descSize);
    for (std::uint32_t j = 0; j < entry.rbReleaseCount; ++j)
      std::printf(", release at %" PRIu32, entry.rbReleasePcs[j]);
    std::printf("\n");
  }
  db_free_desc_buffer_info_array(entries, static_cast<std::int32_t>(count));

  const std::string kernel = load(argv[2]);
  std::uint64_t checksum = 0;
  clc_bin_compute_checksum(kernel.data(), kernel.size(), &checksum);
  const bool hasEdma = clc_bin_has_edma_instr(kernel.data(), static_cast<std::int64_t>(kernel.size())) == 1;
  std::printf("%016" PRIx64 " %s\n", checksum, hasEdma ? "uses eDMA" : "does not use eDMA");
  return 0;
}
