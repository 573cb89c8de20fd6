#pragma once

namespace Varnholt::KrdFiles::Walk {

// What sets reindexing apart from recovery on the one walk through a data
// file that both take (PacketWalk, PacketCheck, IndexRestore). Reindexing
// (the exported CreateIndex) builds a new index from the packets as the
// recording wrote them; recovery (Verify, Repair) reads a file that a crash
// or damage may have cut short, and never changes a byte of it.
struct WalkRules {
  // Whether a packet counts only once the file holds all of it. Reindexing
  // reads no more of a data block than its frame and fixed fields, and so
  // indexes a last block whose samples the end of the file cuts off.
  bool whole_packets;
  // Whether a header anywhere but at the start is rejected, as a file has
  // one; reindexing restores it as it restores any packet.
  bool one_header;

  // How the rows differ, so that repair leaves the data file as it is and a
  // second repair finds nothing to do:
  //   - reindexing gives a header without a GUID (all zero) a fresh one,
  //     written over the old bytes of the data file, before its row goes
  //     in; repair inserts the header's row as the header stands;
  bool fresh_guid_for_nil;
  //   - in repair a packet whose key already has a row replaces that row:
  //     an ID freed by a deletion and given again leaves two packets with
  //     one key in the file, and the later one is the entity the recording
  //     ended with; reindexing fails there, with the index's own text;
  bool replace_taken_keys;
  //   - in repair a start or annotation packet also records its offset in
  //     file_information, so that the index shows the packet is applied.
  bool record_applied_offsets;

  static constexpr WalkRules Reindexing() { return {false, false, true, false, false}; }
  static constexpr WalkRules Recovery() { return {true, true, false, true, true}; }
};

}  // namespace Varnholt::KrdFiles::Walk
