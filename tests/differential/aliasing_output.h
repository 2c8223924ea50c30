// An output that takes long texts by reference, as a stream into a rope does.
#pragma once

#include <google/protobuf/io/zero_copy_stream.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace differential {

class AliasingOutput : public google::protobuf::io::ZeroCopyOutputStream {
 public:
  // Hands out blocks of that many bytes, each in memory of its own.
  explicit AliasingOutput(int block);

  bool Next(void** data, int* size) override;
  void BackUp(int count) override;
  std::int64_t ByteCount() const override;
  bool WriteAliasedRaw(const void* data, int size) override;
  bool AllowsAliasing() const override { return true; }

  std::string Bytes() const;
  // How many bytes were taken by reference.
  std::size_t aliased() const { return aliased_; }

 private:
  std::size_t block_;
  std::vector<std::vector<char>> pieces_;
  std::size_t aliased_ = 0;
};

}  // namespace differential
