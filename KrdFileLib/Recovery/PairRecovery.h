#pragma once

// Checking and bringing back a recording after a crash, a full disk or
// damage, for tools and hosts written in C++ (not exported to C).
//
// Verify walks the data file packet by packet from its header, in bounded
// memory, and compares what it finds with the index. Repair acts on what
// Verify found, and only ever moves bytes aside, never discards them:
//   - a torn tail (the last packet cut short, as a crash leaves it) is
//     copied into a side file next to the data file, and the data file is
//     cut back to its last whole packet;
//   - packets the index has no row for yet (the index lagged behind when the
//     writer stopped) get their rows, and the index keeps everything else,
//     edits included;
//   - rows that point at no packet or at a packet of another type, an index
//     of another recording, or an index that cannot be read make a new
//     index, built beside the old one, which replaces it only once
//     complete; the old one stays as a side file;
//   - damage in the middle of the data file stops the walk: the index is
//     brought to describe the whole packets before it (its rows past the
//     damage count as rows that point at no packet), and the bytes from
//     the damaged packet on are left where they are.
// Repair never changes a byte of a whole packet, and a second run finds
// nothing to do.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Varnholt::KrdFiles::Recovery {

// Called as the walk moves through the data file.
using Progress = std::function<void(uint64_t bytes_walked, uint64_t bytes_total)>;

// What Verify found, with byte offsets into the data file.
struct VerifyReport {
  // The most packets and rows a report lists one by one.
  static constexpr std::size_t kListedFindings = 1000;

  // The data file's length, and the end of its last whole packet.
  uint64_t file_size = 0;
  uint64_t whole_packets_end = 0;
  uint64_t whole_packets = 0;
  // Where the last whole packet starts, when there is one.
  std::optional<uint64_t> last_whole_packet;

  // The last packet cut short (a frame or body that runs past the end, a
  // zero-filled tail, or a last packet that cannot be read with nothing but
  // zeros after it): where it starts and how many bytes are there.
  struct TornTail {
    uint64_t offset = 0;
    uint64_t bytes = 0;
    // How the tail was cut: a short frame, a body that runs past the end,
    // zeros, or a last packet that cannot be read with nothing after it.
    std::string reason;
  };
  std::optional<TornTail> torn_tail;

  // A packet that cannot be read although more bytes follow it (or a
  // header anywhere but at the start), with the library's own reason. The
  // walk stops there: nothing after it is looked at.
  struct Damage {
    uint64_t offset = 0;
    std::string reason;
  };
  std::optional<Damage> damage;

  // Packets past the last one the index knows of, which have no row (and
  // the header when the index has no file_information row), in file order.
  // Only the first kListedFindings are listed; the count has them all.
  std::vector<uint64_t> unindexed_packets;
  uint64_t unindexed_count = 0;

  // Index rows that point at no packet, or at a packet of another type;
  // listed and counted as the unindexed packets are. A channel group row is
  // matched by its group's ID (its offset is -1 unless reindexing or repair
  // wrote it), and must give the channel count and data type of the last
  // group packet with that ID, which no edit can change.
  struct BadRow {
    std::string table;
    int64_t offset = 0;
    std::string problem;
  };
  std::vector<BadRow> bad_rows;
  uint64_t bad_row_count = 0;

  // The header's GUID differs from the one in the index's file_information.
  bool guid_mismatch = false;
  // The index could not be opened or read as an index; why.
  std::optional<std::string> index_unusable;

  // True when data file and index agree and nothing is cut or damaged.
  bool IsClean() const;
  // Every finding, one per line, with its offsets.
  std::string Describe() const;
};

// Fails with code 3 when the data file does not begin with a whole header
// of this library's file type (an empty data file: "KRD file ended
// unexpectedly."), with the data file's own codes when it cannot be opened,
// and with code 36 when a data block's group has a data type that is not
// registered (Initialize), since its frames cannot be checked then; paths
// that the open of a pair refuses are refused alike (code 36,
// KrdFileLib/DataFile/PairPaths.h). Opens both files for reading only and changes
// neither; SQLite may leave the index's empty -wal and -shm companions
// beside it.
VerifyReport Verify(const std::string& krd_path, const std::string& krq_path,
                    const Progress& progress = {});

// What Repair did.
struct RepairReport {
  // The findings that Repair acted on.
  VerifyReport found;
  // Where moved bytes and replaced files went.
  std::vector<std::string> side_files;
  // One line per action taken; empty when there was nothing to do.
  std::vector<std::string> actions;
};

// Refuses a data file that is not this library's (code 3), and one that a
// recorder or an editor still has open or that another repair is at (code
// 36: Repair is the recording's one writer while it runs), before anything
// is written. Fails with code 36 when a side file cannot be written or an
// index cannot be moved, and with the index's own codes when the new or
// caught-up index cannot be written; the old index is replaced only by a
// complete new one. Data-file damage in the middle cannot be repaired: the bytes
// from the damaged packet on stay where they are, the index is made to
// describe the whole packets before it, and Verify keeps reporting the
// damage while Repair finds nothing more to do. Progress sees each walk
// through the data file (Repair makes up to three).
RepairReport Repair(const std::string& krd_path, const std::string& krq_path,
                    const Progress& progress = {});

}  // namespace Varnholt::KrdFiles::Recovery
