// Checks one message: its wire format, and the conventions of its content.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "check/findings.h"
#include "check/parsed_message.h"
#include "check/sql_lists.h"
#include "wire/walk.h"

namespace qmsg {

class MessageCheck : private Visitor {
 public:
  // Adds its findings, and flushes them. `type`: null if unknown; then only the wire format is
  // checked. The bytes and the pool, which other messages may reuse, must outlive it.
  MessageCheck(std::string_view bytes, const google::protobuf::Descriptor* type,
               ParsedMessagePool& pool, Findings& findings);
  ~MessageCheck() override;
  MessageCheck(const MessageCheck&) = delete;
  MessageCheck& operator=(const MessageCheck&) = delete;

  // Whether the runtime can parse it.
  bool good() const { return good_; }
  // A field of the message. The type must be known.
  const FieldState& at(int number) const;
  const SqlLists& sql() const { return sql_; }

 private:
  void Value(const Occurrence& at, const Path& path) override;
  void Enter(const Occurrence& at, const google::protobuf::Descriptor* type,
             const Path& path) override;
  void Leave(const Occurrence& at, const Path& path) override;
  void Meet(const Fault& fault, const Path& path) override;

  // Returns whether the field is known; reports it if not.
  bool IsKnown(const Occurrence& at);
  FieldState& Take(const Occurrence& at);
  void MakeRoomInOneof(ParsedMessage& message, const Occurrence& at);
  ParsedMessage* NewChild(const Occurrence& at, const google::protobuf::Descriptor* type,
                          std::size_t index);
  void Judge(ParsedMessage& message);
  void EndElement(ParsedMessage& element);

  std::string_view bytes_;
  ParsedMessagePool& pool_;
  Findings& findings_;
  SqlLists sql_;
  ParsedMessage* root_ = nullptr;
  std::vector<ParsedMessage*> open_;  // the messages that enclose the current field
  std::size_t groups_ = 0;            // and the groups inside them
  bool good_;
};

}  // namespace qmsg
