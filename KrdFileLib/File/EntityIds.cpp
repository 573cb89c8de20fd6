#include "KrdFileLib/File/EntityIds.h"

#include <algorithm>
#include <span>
#include <string>
#include <utility>

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/Index/IndexConnection.h"

namespace Varnholt::KrdFiles {

namespace {

using Kind = EntityIds::Kind;

// A column of the index that holds IDs of one kind.
struct IdColumn {
  const char* table;
  const char* column;
};

// Every column that names an entity of kind: its own table's key, and the
// rows that refer to it.
std::span<const IdColumn> ColumnsNaming(Kind kind) {
  static constexpr IdColumn kDevices[] = {{"device", "device_id"},
                                          {"device", "parent_id"},
                                          {"device_attributes", "device_id"},
                                          {"physical_channel", "device_id"}};
  static constexpr IdColumn kPhysicalChannels[] = {{"physical_channel", "channel_id"},
                                                   {"physical_channel_attr", "physical_channel_id"},
                                                   {"channel", "physical_channel_id"},
                                                   {"event_source", "physical_channel_id"}};
  static constexpr IdColumn kGroups[] = {
      {"channel_group", "group_id"}, {"channel", "channel_group_id"}, {"data", "channel_group_id"}};
  static constexpr IdColumn kChannels[] = {{"channel", "channel_id"},
                                           {"post_process", "channel_id"}};
  static constexpr IdColumn kEventSources[] = {{"event_source", "event_source_id"},
                                               {"event", "event_source_id"}};
  switch (kind) {
    case Kind::kDevice:
      return kDevices;
    case Kind::kPhysicalChannel:
      return kPhysicalChannels;
    case Kind::kChannelGroup:
      return kGroups;
    case Kind::kChannel:
      return kChannels;
    case Kind::kEventSource:
      return kEventSources;
  }
  return {};
}

const char* NameOf(Kind kind) {
  switch (kind) {
    case Kind::kDevice:
      return "device";
    case Kind::kPhysicalChannel:
      return "physical channel";
    case Kind::kChannelGroup:
      return "channel group";
    case Kind::kChannel:
      return "channel";
    case Kind::kEventSource:
      return "event source";
  }
  return "entity";
}

// The highest ID below the markers that the index names anywhere, -1 for
// none. Each column's maximum is found on its own, so that keyed columns
// answer from their index instead of a scan.
int32_t HighestIdInIndex(Kind kind, Index::IndexConnection& index) {
  std::string text = "select coalesce(max(id), -1) from (";
  const char* separator = "";
  for (const IdColumn& ids : ColumnsNaming(kind)) {
    text += std::string(separator) + "select max(" + ids.column + ") as id from " + ids.table +
            " where " + ids.column + " <= " + std::to_string(EntityIds::kHighestId);
    separator = " union all ";
  }
  const auto query = index.ExecuteQuery(Index::SqlCommand(text + ")"));
  if (!query->HasRow()) return -1;
  return static_cast<int32_t>(std::clamp<int64_t>(query->GetInt64(0), -1, EntityIds::kHighestId));
}

}  // namespace

EntityIds::EntityIds() {
  state_.highest.fill(-1);
  state_.index_asked.fill(false);
}

void EntityIds::StartNewRecording() {
  state_.highest.fill(-1);
  state_.index_asked.fill(true);
}

int32_t EntityIds::Highest(Kind kind, Index::IndexConnection& index) {
  const auto slot = static_cast<std::size_t>(kind);
  if (!state_.index_asked[slot]) {
    state_.highest[slot] = std::max(state_.highest[slot], HighestIdInIndex(kind, index));
    state_.index_asked[slot] = true;
  }
  return state_.highest[slot];
}

uint16_t EntityIds::Next(Kind kind, Index::IndexConnection& index) {
  // IDs start at 1; 0 is the root device's alone.
  const int32_t next = std::max(Highest(kind, index), 0) + 1;
  if (next > kHighestId) throw Errors::EntityIdsUsedUp(NameOf(kind), kHighestId);
  state_.highest[static_cast<std::size_t>(kind)] = next;
  return static_cast<uint16_t>(next);
}

uint16_t EntityIds::Root(Index::IndexConnection& index) {
  if (Highest(Kind::kDevice, index) >= 0) throw Errors::RootDeviceIdHandedOut();
  state_.highest[static_cast<std::size_t>(Kind::kDevice)] = 0;
  return 0;
}

void EntityIds::NoteDeleted(Kind kind, uint16_t id) {
  int32_t& highest = state_.highest[static_cast<std::size_t>(kind)];
  highest = std::max<int32_t>(highest, std::min(id, kHighestId));
}

}  // namespace Varnholt::KrdFiles
