// All entries of a log, from the newest backwards.

#include <algorithm>
#include <memory>

#include "record.h"

namespace {

// The shortest entry, of one unit of 64 bytes: header, descriptor, record.
constexpr std::uint32_t kShortestEntry = 4 + 64 + 8;

}  // namespace

DescBufInfo** db_get_desc_buffer_info_array(const void* buffer, std::uint64_t size, std::uint32_t* count) {
  using namespace zarn::desc;
  if (!Log::isReadable(buffer, size)) return nullptr;
  const Log log(buffer, size);
  *count = 0;
  const std::uint32_t limit = log.ringSize() / kShortestEntry;
  const std::unique_ptr<DescBufInfo*[]> records(new DescBufInfo*[limit + 1]);

  // What the entries take up is summed until the log is used up. End and release records are not part of the sum, though
  // they take 8 bytes each; it is meant so. Entries may refer to each other in a circle: sum and limit end that too.
  const std::uint32_t budget = static_cast<std::uint32_t>(size) - kShortestEntry;
  std::uint64_t sum = 0;
  std::uint16_t writeOffset = log.writeOffset();
  while (*count < limit) {
    const auto entry = locate(log, writeOffset);
    if (!entry) break;
    records[(*count)++] = makeRecord(log, *entry);
    sum += std::uint64_t{8} * entry->counts.nextPtr + entry->descSize + 12;
    if (sum >= budget) break;
    writeOffset = entry->start;  // entries are contiguous: the one before ends where this one starts
  }

  auto* result = new DescBufInfo*[*count];
  std::copy_n(records.get(), *count, result);
  return result;
}

void db_free_desc_buffer_info_array(DescBufInfo** array, std::int32_t count) {
  for (std::int32_t i = 0; i < count; ++i) zarn::desc::deleteRecord(array[i]);
  delete[] array;
}
