// Descriptor logs: reports, tables and JSON.

#include "desc/log.h"

#include <zarn_utility.h>

#include <cstdint>
#include <cstdio>
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
#include "output.h"
#include "walk.h"

namespace tool {
namespace {

using zarn::desc::Entry;
using zarn::desc::EntryType;
using zarn::desc::EntryWalk;
using zarn::desc::Log;
using zarn::desc::Stop;
using zarn::desc::Tag;

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
  json.field("start", std::uint32_t{entry.start});
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

void appendWalk(JsonWriter& json, const Walk& walk) {
  json.key("walk");
  json.open('{');
  json.field("complete", walk.isComplete());
  json.field("stoppedAt", walk.stoppedAt());
  json.field("reason", std::string_view(walk.reason()));
  json.field("bytes", walk.bytesNotShown());
  json.close('}');
}

// Writes all entries of `walk` or, if it is null, the newest entry of a log that has one.
void writeAsJson(const std::string& name, const Log& log, Walk* walk) {
  JsonWriter json;
  json.open('{');
  json.field("input", std::string_view(name));
  json.field("writeOffset", std::uint32_t{log.writeOffset()});
  json.field("ringSize", log.ringSize());
  json.key("entries");
  json.open('[');
  Entry entry;
  while (walk == nullptr ? locateNewest(log, entry) : walk->next(entry)) {
    appendEntry(json, log, entry);
    setUnfinishedObject(json.bytes(), json.bytes().size());
    if (walk == nullptr) break;
  }
  json.close(']');
  if (walk != nullptr) appendWalk(json, *walk);
  json.close('}');
  writeObject(json);
}

// Columns for people and for awk: only numbers that no intact log has make a line longer.
std::string tableOf(Walk& walk) {
  std::string table = "index  start  type                   pc     size  next_ptr    end  release\n";
  unsigned index = 0;
  for (Entry entry; walk.next(entry); ++index) {
    const auto count = [&entry](Tag tag) { return entry.rbCounts[rbKind(tag)]; };
    char pc[16];
    std::snprintf(pc, sizeof pc, "0x%x", entry.pc);
    char line[128];
    std::snprintf(line, sizeof line, "%5u  %5u  %-13s  %10s  %7u  %8u  %5u  %7u\n", index, unsigned{entry.start},
                  nameOf(entry.type), pc, entry.descSize, count(Tag::kRbNextPtr), count(Tag::kRbEnd),
                  count(Tag::kRbRelease));
    table += line;
  }
  return table;
}

// Returns an error message if no entry can be decoded, otherwise an empty string.
std::string showLog(const Arguments& arguments, const std::string& name, const Bytes& bytes) {
  const bool hasAll = arguments.isAll || arguments.isTable;
  const std::uint64_t needed = hasAll ? EntryWalk::kMinLogSize : Log::kMinSize;
  if (bytes.size() < needed) {
    const char* const option = arguments.isTable ? " with --table" : hasAll ? " with --all" : "";
    return tooShort(bytes, std::string("a descriptor log") + option, needed);
  }
  Log log(bytes.data(), bytes.size());
  if (arguments.writeOffset) log.setWriteOffset(*arguments.writeOffset);
  const auto writeOffset = log.writeOffset();
  if (const auto stop = whyNoEntry(log, writeOffset); stop != Stop::kNone) {
    return "no entry can be decoded at write offset " + std::to_string(writeOffset) + ": " +
           reasonOf(log, stop, writeOffset);
  }

  Walk walk(log);
  if (arguments.format == Format::kJson) {
    writeAsJson(name, log, hasAll ? &walk : nullptr);
  } else if (arguments.isTable) {
    showText(arguments, name, tableOf(walk));
  } else {
    const Report report(hasAll ? reportOnAll(log) : reportOnNewest(log));
    showText(arguments, name, report.get());
    for (Entry entry; hasAll && walk.next(entry);) {
    }
  }
  if (hasAll && !walk.isComplete()) printError(name, walk.problem());
  return {};
}

}  // namespace

int reportLogs(const Arguments& arguments) {
  return decodeAll(
      arguments, [&arguments](const std::string& name, const Bytes& bytes) { return showLog(arguments, name, bytes); });
}

}  // namespace tool
