// Descriptor logs: reports and JSON.

#include "desc/log.h"

#include <zarn_utility.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "commands.h"
#include "desc/entry.h"
#include "desc/record.h"
#include "desc/report.h"
#include "input.h"
#include "inputs.h"
#include "json_writer.h"
#include "out_of_memory.h"

namespace tool {
namespace {

using zarn::desc::Entry;
using zarn::desc::EntryType;
using zarn::desc::EntryWalk;
using zarn::desc::Log;

template <auto release>
struct Release {
  template <class T>
  void operator()(T* result) const {
    release(&result);
  }
};
using Report = std::unique_ptr<char, Release<db_free_desc_string>>;
using Record = std::unique_ptr<DescBufInfo, Release<db_free_desc_buffer_info>>;

const char* nameOf(EntryType type) {
  switch (type) {
    case EntryType::kEdma:
      return "eDMA";
    case EntryType::kGlsu:
      return "GLSU";
    case EntryType::kRingBufferAte:
      break;
  }
  return "RingBufferATE";
}

void appendPcs(JsonWriter& json, const char* countKey, const char* pcsKey, const std::uint32_t* pcs,
               std::uint32_t count) {
  json.field(countKey, count);
  json.key(pcsKey);
  json.open('[');
  for (std::uint32_t i = 0; i < count; ++i) json.value(pcs[i]);
  json.close(']');
}

void appendEntry(JsonWriter& json, const Log& log, const Entry& entry) {
  const Record owned(makeRecord(log, entry));
  const DescBufInfo& record = *owned;
  json.open('{');
  json.field("valid", record.valid == 1);
  json.field("overSized", record.overSized == 1);
  json.field("isEdma", record.isEdma == 1);
  json.field("isGlsu", record.isGlsu == 1);
  json.field("isRingBufferAte", record.isRingBufferAte == 1);
  json.field("type", nameOf(entry.type));
  json.field("hasRbNextPtr", record.hasRbNextPtr == 1);
  json.field("hasRbEnd", record.hasRbEnd == 1);
  json.field("hasRbRelease", record.hasRbRelease == 1);
  json.field("totalLogUsed", record.totalLogUsed);
  json.field("pc", record.pc);
  json.field("descSize", record.descSize);
  json.key("desc");
  json.hexadecimal(record.desc, record.descSize);
  appendPcs(json, "rbNextPtrCount", "rbNextPtrPcs", record.rbNextPtrPcs, record.rbNextPtrCount);
  appendPcs(json, "rbEndCount", "rbEndPcs", record.rbEndPcs, record.rbEndCount);
  appendPcs(json, "rbReleaseCount", "rbReleasePcs", record.rbReleasePcs, record.rbReleaseCount);
  json.close('}');
}

// Writes the newest entry of a log that has one, or all of them.
void writeAsJson(const std::string& name, const Log& log, bool isAll) {
  JsonWriter json;
  json.open('{');
  json.field("input", std::string_view(name));
  json.key("entries");
  json.open('[');
  EntryWalk walk(log);
  Entry entry;
  while (isAll ? walk.next(entry) : locateNewest(log, entry)) {
    appendEntry(json, log, entry);
    setUnfinishedObject(json.bytes(), json.bytes().size());
    if (!isAll) break;
  }
  json.close(']');
  json.close('}');
  writeObject(json);
}

// Returns what is wrong if there is no entry that can be decoded.
std::string showLog(const Arguments& arguments, const std::string& name, const Bytes& bytes) {
  const std::uint64_t needed = arguments.isAll ? EntryWalk::kMinLogSize : Log::kMinSize;
  if (bytes.size() < needed) {
    return tooShort(bytes, arguments.isAll ? "a descriptor log with --all" : "a descriptor log", needed);
  }
  const Log log(bytes.data(), bytes.size());
  if (Entry entry; !locateNewest(log, entry)) {
    return "no entry can be decoded at write offset " + std::to_string(log.writeOffset());
  }
  if (arguments.format == Format::kJson) {
    writeAsJson(name, log, arguments.isAll);
  } else {
    const Report report(arguments.isAll ? reportOnAll(log) : reportOnNewest(log));
    showText(arguments, name, report.get());
  }
  return {};
}

}  // namespace

int reportLogs(const Arguments& arguments) {
  return decodeAll(
      arguments, [&arguments](const std::string& name, const Bytes& bytes) { return showLog(arguments, name, bytes); });
}

}  // namespace tool
