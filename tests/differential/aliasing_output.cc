#include "aliasing_output.h"

namespace differential {

AliasingOutput::AliasingOutput(int block) : block_(static_cast<std::size_t>(block)) {}

bool AliasingOutput::Next(void** data, int* size) {
  pieces_.emplace_back(block_);
  *data = pieces_.back().data();
  *size = static_cast<int>(block_);
  return true;
}

void AliasingOutput::BackUp(int count) {
  pieces_.back().resize(pieces_.back().size() - static_cast<std::size_t>(count));
}

std::int64_t AliasingOutput::ByteCount() const {
  std::int64_t count = 0;
  for (const std::vector<char>& piece : pieces_) {
    count += static_cast<std::int64_t>(piece.size());
  }
  return count;
}

bool AliasingOutput::WriteAliasedRaw(const void* data, int size) {
  const char* const begin = static_cast<const char*>(data);
  pieces_.emplace_back(begin, begin + size);
  aliased_ += static_cast<std::size_t>(size);
  return true;
}

std::string AliasingOutput::Bytes() const {
  std::string bytes;
  for (const std::vector<char>& piece : pieces_) {
    bytes.append(piece.data(), piece.size());
  }
  return bytes;
}

}  // namespace differential
