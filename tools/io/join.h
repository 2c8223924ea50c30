// Joins words to one text.
#pragma once

#include <string>
#include <vector>

namespace qmsg {

// `words` with `separator` between them.
inline std::string Join(const std::vector<std::string>& words, const char* separator) {
  std::string text;
  for (const std::string& word : words) {
    text += (text.empty() ? "" : separator) + word;
  }
  return text;
}

}  // namespace qmsg
