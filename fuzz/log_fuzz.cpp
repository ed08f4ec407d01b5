// Descriptor logs: records, arrays and both reports.

#include <cstddef>
#include <cstdint>

#include "fuzz.h"
#include "grow.h"
#include "zarn_utility.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Share share{"decoded"};
  const ExactBytes log(zarn::inputs::growLog(zarn::inputs::Seed(data, size)), size % 2);
  DescBufInfo* record = zarn::reference::decodeNewest(log.data(), log.size());
  share.count(record != nullptr);
  if (record != nullptr) zarn::reference::release(record);
  requireNone(compareLog(log.data(), log.size()));
  return 0;
}
