#include "io/wrap.h"

#include <algorithm>

namespace qmsg {
namespace {

constexpr std::size_t kColumns = 80;

std::size_t Width(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
    return (static_cast<unsigned char>(byte) & 0xc0U) != 0x80;  // not inside a character
  }));
}

}  // namespace

std::string Wrap(std::string_view text, std::size_t indent) {
  std::string wrapped;
  std::size_t column = 0;  // 0: nothing stands on the line yet
  const auto end_line = [&wrapped, &column] {
    if (column != 0) {
      wrapped += '\n';
      column = 0;
    }
  };
  while (!text.empty()) {
    std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    if (line.empty() || line.front() == ' ') {
      end_line();
      wrapped.append(line.empty() ? 0 : indent, ' ').append(line) += '\n';
      continue;
    }
    while (!line.empty()) {
      const std::string_view word = line.substr(0, line.find(' '));
      line.remove_prefix(std::min(line.size(), word.size() + 1));
      if (word.empty()) {
        continue;
      }
      if (column != 0 && column + 1 + Width(word) > kColumns) {
        end_line();
      }
      wrapped.append(column == 0 ? indent : 1, ' ').append(word);
      column += (column == 0 ? indent : 1) + Width(word);
    }
  }
  end_line();
  return wrapped;
}

}  // namespace qmsg
