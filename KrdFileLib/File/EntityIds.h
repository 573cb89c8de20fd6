#pragma once

#include <array>
#include <cstdint>

namespace Varnholt::KrdFiles {

namespace Index {
class IndexConnection;
}

// Hands out the 16-bit IDs of a recording's devices, physical channels,
// channel groups, channels and event sources: each ID once, and never again,
// not even after its entity is deleted. A deleted entity's packet stays in
// the data file, so a second packet under its ID would make the index
// unrebuildable, and index rows may still name it (a deleted group's data
// blocks, a deleted device's physical channels), which a newcomer under the
// same ID would silently take over.
//
// The next ID of a kind is one past the highest it has had (the first is
// 1). A recorder
// starts a new pair, so the IDs it handed out are all there are. An editor
// knows the IDs it handed out or deleted, and the highest ID the index still
// names anywhere, which it asks for on its first create of that kind. The
// root device is ID 0, so it can be created only while no device ID has been
// handed out. IDs end at 65533: 65534 and 65535 mark unrecorded entities and
// missing parents.
class EntityIds {
 public:
  enum class Kind { kDevice, kPhysicalChannel, kChannelGroup, kChannel, kEventSource };
  static constexpr int kKinds = 5;
  static constexpr uint16_t kHighestId = 65533;

  // What the IDs of every kind stand at; copied to undo a failed call.
  struct State {
    // The highest ID of each kind handed out, deleted or found in the
    // index; -1 for none.
    std::array<int32_t, kKinds> highest;
    // Whether the index has been asked for the kind's highest ID.
    std::array<bool, kKinds> index_asked;
  };

  EntityIds();

  // A recorder's new pair: no ID of any kind has been handed out.
  void StartNewRecording();
  // The ID for a new entity of kind; code 36 when all are used.
  uint16_t Next(Kind kind, Index::IndexConnection& index);
  // ID 0 for a new root device; code 36 when a device ID was ever given.
  uint16_t Root(Index::IndexConnection& index);
  // A deleted entity's ID stays taken.
  void NoteDeleted(Kind kind, uint16_t id);

  State Save() const { return state_; }
  void Restore(const State& state) { state_ = state; }

 private:
  // The highest ID of kind so far, the index's included.
  int32_t Highest(Kind kind, Index::IndexConnection& index);

  State state_;
};

}  // namespace Varnholt::KrdFiles
