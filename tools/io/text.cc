#include "io/text.h"

#include <google/protobuf/stubs/common.h>

#include <algorithm>
#include <numeric>
#include <vector>

namespace qmsg {

std::size_t EditDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t changed = diagonal + (Lower(a[i]) == Lower(b[j]) ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
}

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
