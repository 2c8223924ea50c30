// Keys for a map that all fall into one bucket of its table.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "support/message_list.h"

namespace hostile {

using KeyMap = google::protobuf::Map<std::int32_t, quor::protobuf::QuorPHP::QVal>;

// `count` keys that share a bucket of `map` as long as its table has at most `buckets` of them, a
// power of two. `map` must not be empty: its seed, which no peer can know, is chosen with the first
// entry. Throws std::invalid_argument if there are not so many such keys.
std::vector<std::int32_t> CollidingKeys(const KeyMap& map, std::size_t buckets, std::size_t count);

}  // namespace hostile
