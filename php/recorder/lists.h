#pragma once

#include <string_view>

// Calls action(item) for each item of a list with commas. Spaces around items do not count, nor do
// empty items.
template <typename Action>
void ForEachItem(std::string_view list, Action action) {
  constexpr std::string_view kSpace = " \t\r\n";
  while (!list.empty()) {
    const std::size_t comma = list.find(',');
    std::string_view item = list.substr(0, comma);
    list.remove_prefix(comma == std::string_view::npos ? list.size() : comma + 1);
    const std::size_t begin = item.find_first_not_of(kSpace);
    if (begin != std::string_view::npos) {
      action(item.substr(begin, item.find_last_not_of(kSpace) + 1 - begin));
    }
  }
}
