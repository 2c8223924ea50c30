#include "io/text.h"

#include <google/protobuf/stubs/common.h>

namespace qmsg {

std::size_t Utf8SequenceSize(std::string_view text) {
  const auto first = static_cast<unsigned char>(text.front());
  if (first < 0x80) {
    return 1;
  }
  const std::size_t size = first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
  if (size > text.size()) {
    return 0;
  }
  const int good = google::protobuf::internal::UTF8SpnStructurallyValid(
      google::protobuf::StringPiece(text.data(), size));
  return static_cast<std::size_t>(good) == size ? size : 0;
}

}  // namespace qmsg
