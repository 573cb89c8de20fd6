// The post-process chains of the channels: ordered steps a reader applies
// to a channel's samples (a scaling, a change of unit). The library stores
// and orders them; their types and data are the host's. A step's place in
// the chain is its index, which later changes reach in the index only.

#include "KrdFileLib/Index/PostProcessTable.h"
#include "KrdFileLib/File/KrfFileBase.h"
#include "KrdFileLib/Packets/ChannelPacket.h"
#include "KrdFileLib/Packets/PostProcessPacket.h"
#include "KrdFileLib/Packets/String8.h"

namespace Varnholt::KrdFiles {

using Packets::PostProcessPacket;

namespace {

// The common path of the setters: finds the step (code 27), lets change
// alter its fields and writes them over its row (code 42 unless recorded).
template <typename Change>
void ChangeStep(Index::IndexConnection& index, uint32_t post_process_id, Change change) {
  const auto step = PostProcessPacket::Find(index, post_process_id);
  change(step->MutableFields());
  step->RequireRecorded(index);
  step->UpdateInIndex(index);
}

}  // namespace

uint32_t KrfFileBase::AddPostProcess(bool refuse_taken_index, uint16_t channel_id, uint8_t index,
                                     uint16_t type, bool is_default, bool is_disabled,
                                     const Bytes& data, const std::string& label,
                                     bool is_unit_change, const std::string& unit) {
  auto lock = LockFile();
  CheckModifyAllowed();
  PostProcessPacket step({channel_id, index, type, is_default, is_disabled, is_unit_change,
                          Bytes(unit.begin(), unit.end()), label, data});
  if (refuse_taken_index) {
    step.CheckIndexIsFree(index_);
  } else {
    Packets::ChannelPacket::Find(index_, channel_id);
  }
  // Adding the step's row moves the chain at and above its index up first.
  AddPacket(step);
  return step.PostProcessId();
}

uint32_t KrfFileBase::CreatePostProcess(uint16_t channel_id, uint8_t index, uint16_t type,
                                        bool is_default, bool is_disabled, const Bytes& data,
                                        const std::string& label, bool is_unit_change,
                                        const std::string& unit) {
  return AddPostProcess(true, channel_id, index, type, is_default, is_disabled, data, label,
                        is_unit_change, unit);
}

uint32_t KrfFileBase::InsertPostProcess(uint16_t channel_id, uint8_t index, uint16_t type,
                                        bool is_default, bool is_disabled, const Bytes& data,
                                        const std::string& label, bool is_unit_change,
                                        const std::string& unit) {
  return AddPostProcess(false, channel_id, index, type, is_default, is_disabled, data, label,
                        is_unit_change, unit);
}

void KrfFileBase::DeletePostProcess(uint32_t post_process_id) {
  auto lock = LockFile();
  CheckModifyAllowed();
  const auto step = PostProcessPacket::Find(index_, post_process_id);
  step->RequireRecorded(index_);
  step->RemoveFromIndex(index_);
}

std::vector<uint32_t> KrfFileBase::PostProcessList(uint16_t channel_id) {
  auto lock = LockFile();
  Packets::ChannelPacket::Find(index_, channel_id);
  Index::PostProcessTable steps;
  return steps.SelectIds<uint32_t>(index_, steps.post_process_id, steps.channel_id, channel_id);
}

void KrfFileBase::SetPostProcessIndex(uint32_t post_process_id, uint8_t index) {
  auto lock = LockFile();
  CheckModifyAllowed();
  const auto step = PostProcessPacket::Find(index_, post_process_id);
  if (step->Fields().post_process_index == index) return;
  step->RequireRecorded(index_);
  step->MutableFields().post_process_index = index;
  step->ShiftChainFromIndex(index_);
  step->UpdateInIndex(index_);
}

uint8_t KrfFileBase::GetPostProcessIndex(uint32_t post_process_id) {
  auto lock = LockFile();
  return PostProcessPacket::Find(index_, post_process_id)->Fields().post_process_index;
}

void KrfFileBase::SetPostProcess(uint32_t post_process_id, uint16_t type, const Bytes& data) {
  auto lock = LockFile();
  CheckModifyAllowed();
  ChangeStep(index_, post_process_id, [&](PostProcessPacket::Step& step) {
    step.post_process_type = type;
    step.data = data;
  });
}

KrfFileBase::Bytes KrfFileBase::GetPostProcess(uint32_t post_process_id, uint16_t& type) {
  auto lock = LockFile();
  const auto step = PostProcessPacket::Find(index_, post_process_id);
  type = step->Fields().post_process_type;
  return step->Fields().data;
}

void KrfFileBase::SetPostProcessDisable(uint32_t post_process_id, bool is_disabled) {
  auto lock = LockFile();
  CheckModifyAllowed();
  ChangeStep(index_, post_process_id,
             [&](PostProcessPacket::Step& step) { step.is_disabled = is_disabled; });
}

bool KrfFileBase::GetPostProcessDisable(uint32_t post_process_id) {
  auto lock = LockFile();
  return PostProcessPacket::Find(index_, post_process_id)->Fields().is_disabled;
}

bool KrfFileBase::GetPostProcessDefault(uint32_t post_process_id) {
  auto lock = LockFile();
  return PostProcessPacket::Find(index_, post_process_id)->Fields().is_default;
}

void KrfFileBase::SetPostProcessUnit(uint32_t post_process_id, bool is_unit_change,
                                     const Bytes& unit) {
  auto lock = LockFile();
  CheckModifyAllowed();
  ChangeStep(index_, post_process_id, [&](PostProcessPacket::Step& step) {
    Packets::RequireString8Fits("unit", unit.size());
    step.is_unit_change = is_unit_change;
    step.unit = unit;
  });
}

KrfFileBase::Bytes KrfFileBase::GetPostProcessUnit(uint32_t post_process_id,
                                                   bool& is_unit_change) {
  auto lock = LockFile();
  const auto step = PostProcessPacket::Find(index_, post_process_id);
  is_unit_change = step->Fields().is_unit_change;
  return step->Fields().unit;
}

void KrfFileBase::SetPostProcessLabel(uint32_t post_process_id, const std::string& label) {
  auto lock = LockFile();
  CheckModifyAllowed();
  ChangeStep(index_, post_process_id, [&](PostProcessPacket::Step& step) {
    step.label = Packets::CheckedLabel(label);
  });
}

std::string KrfFileBase::GetPostProcessLabel(uint32_t post_process_id) {
  auto lock = LockFile();
  return PostProcessPacket::Find(index_, post_process_id)->Fields().label;
}

}  // namespace Varnholt::KrdFiles
