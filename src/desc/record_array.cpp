// All entries of a log as records, from the newest backwards.

#include <algorithm>
#include <cstdint>
#include <memory>

#include "entry.h"
#include "log.h"
#include "record.h"
#include "zarn_utility.h"

DescBufInfo** db_get_desc_buffer_info_array(const void* buffer, std::uint64_t size, std::uint32_t* count) {
  using namespace zarn::desc;
  const Log log(buffer, size);
  if (!log.isReadable()) return nullptr;
  *count = 0;
  EntryWalk walk(log);
  const std::unique_ptr<DescBufInfo*[]> records(new DescBufInfo*[walk.limit() + 1]);
  while (const auto entry = walk.next()) records[(*count)++] = makeRecord(log, *entry);

  auto* result = new DescBufInfo*[*count];
  std::copy_n(records.get(), *count, result);
  return result;
}

void db_free_desc_buffer_info_array(DescBufInfo** array, std::int32_t count) {
  for (std::int32_t i = 0; i < count; ++i) zarn::desc::deleteRecord(array[i]);
  delete[] array;
}
