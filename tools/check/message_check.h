// Checks one message: its wire format, and what its content promises.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "check/findings.h"
#include "check/sql_lists.h"
#include "check/tree.h"
#include "wire/walk.h"

namespace qmsg {

class MessageCheck : private Visitor {
 public:
  // Adds what it finds, and flushes it. `type`: null if it is not known; then only the wire format
  // is checked. The bytes and the pool, which other messages may use again, have to outlast it.
  MessageCheck(std::string_view bytes, const google::protobuf::Descriptor* type, NodePool& pool,
               Findings& findings);
  ~MessageCheck() override;
  MessageCheck(const MessageCheck&) = delete;
  MessageCheck& operator=(const MessageCheck&) = delete;

  // Whether the runtime can parse it.
  bool good() const { return good_; }
  // A field of the message, whose type has to be known.
  const Slot& at(int number) const;
  const SqlLists& sql() const { return sql_; }

 private:
  void Value(const Occurrence& at, const Path& path) override;
  void Enter(const Occurrence& at, const google::protobuf::Descriptor* type,
             const Path& path) override;
  void Leave(const Occurrence& at, const Path& path) override;
  void Meet(const Fault& fault, const Path& path) override;

  // Tells of fields that no parser takes. Returns whether this is one that it takes.
  bool IsKnown(const Occurrence& at);
  Slot& Take(const Occurrence& at);
  void MakeRoomInOneof(Node& node, const Occurrence& at);
  Node* NewChild(const Occurrence& at, const google::protobuf::Descriptor* type, std::size_t index);
  void Judge(Node& node);
  void EndElement(Node& element);

  std::string_view bytes_;
  NodePool& pool_;
  Findings& findings_;
  SqlLists sql_;
  Node* root_ = nullptr;
  std::vector<Node*> open_;  // the messages around the place of the walk
  std::size_t groups_ = 0;   // and the groups inside of these
  bool good_;
};

}  // namespace qmsg
