// The bytes that each field takes.
#pragma once

#include <google/protobuf/descriptor.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qmsg {

// Bytes by the path of fields, "queries.stack_trace.frames.file_name": elements of a repeated field
// count as one, and tags and lengths belong to their field.
class FieldBytes {
 public:
  struct Row {
    std::string path;
    std::uint64_t bytes;  // including everything inside
    std::uint64_t occurrences;
  };

  FieldBytes();
  ~FieldBytes();
  FieldBytes(FieldBytes&& other) noexcept;
  FieldBytes& operator=(FieldBytes&& other) noexcept;

  // Counts a message of that type. Returns false, and counts nothing, if the bytes are not valid.
  bool Add(std::string_view bytes, const google::protobuf::Descriptor* type);

  // Most bytes first; equal ones by path.
  std::vector<Row> Rows() const;

 private:
  struct Node;
  class Counter;

  std::unique_ptr<Node> root_;
};

}  // namespace qmsg
