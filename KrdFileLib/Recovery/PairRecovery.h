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
//     writer stopped) get their rows;
//   - anything else (damage in the middle, rows that point at no packet or
//     at a packet of another type, an index of another recording, an index
//     that cannot be read) makes a new index, built beside the old one,
//     which replaces it only once complete; the old one stays as a side file.
// Repair never changes a byte of a whole packet, and a second run finds
// nothing to do.

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
  // The data file's length, and the end of its last whole packet.
  uint64_t file_size = 0;
  uint64_t whole_packets_end = 0;
  uint64_t whole_packets = 0;
  // Where the last whole packet starts, when there is one.
  std::optional<uint64_t> last_whole_packet;

  // The last packet cut short (a frame or body that runs past the end, or a
  // zero-filled tail): where it starts and how many bytes are there.
  struct TornTail {
    uint64_t offset = 0;
    uint64_t bytes = 0;
  };
  std::optional<TornTail> torn_tail;

  // A packet that cannot be parsed although more bytes follow it.
  struct Damage {
    uint64_t offset = 0;
    std::string reason;
  };
  std::optional<Damage> damage;

  // Packets past the last one the index knows of, which have no row.
  std::vector<uint64_t> unindexed_packets;

  // Index rows that point at no packet, or at a packet of another type.
  struct BadRow {
    std::string table;
    int64_t offset = 0;
    std::string problem;
  };
  std::vector<BadRow> bad_rows;

  bool guid_mismatch = false;
  // The index could not be opened or read as an index; why.
  std::optional<std::string> index_unusable;

  // True when data file and index agree and nothing is cut or damaged.
  bool IsClean() const;
  // Every finding, one per line, with its offsets.
  std::string Describe() const;
};

// Fails with code 3 when the data file does not begin with a header of this
// library's file type, and with the data file's own codes when it cannot be
// opened. Changes neither file.
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

// Refuses a data file that is not this library's (code 3) before anything
// is written.
RepairReport Repair(const std::string& krd_path, const std::string& krq_path,
                    const Progress& progress = {});

}  // namespace Varnholt::KrdFiles::Recovery
