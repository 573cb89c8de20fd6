#pragma once

#include <string>

#include "KrdFileLib/Packets/PacketBase.h"

namespace Varnholt::KrdFiles::Packets {

// A free text about the recording as a whole, kept in the file_information
// row of the index.
//
// Body: the text itself, with no length and no terminator.
class AnnotationPacket final : public PacketBase {
 public:
  explicit AnnotationPacket(std::string text);
  AnnotationPacket(const PacketFrame& frame, Bytes body);

  const std::string& Text() const { return text_; }

  void AppendBody(Bytes& body) const override;
  // Stores the text in the file_information row, creating the row if the
  // index has none yet. Restoring does the same.
  void AddToIndex(Index::IndexConnection& connection) override;

 private:
  std::string text_;
};

}  // namespace Varnholt::KrdFiles::Packets
