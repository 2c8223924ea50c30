// The SQL activity of one message: the idents of its elements, and their references.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "check/findings.h"
#include "check/parsed_message.h"

namespace qmsg {

// One element of SqlConnections or SqlTransactions.
struct Declared {
  std::uint32_t ident;
  bool has_parent;  // of transactions alone
  std::uint32_t parent;
  std::size_t index;
  std::size_t parent_begin;  // of the tag of parent_id
};

// What a query refers to.
enum class Target { kConnection, kTransaction };

// One connection_id or transaction_id of SqlQueries.
struct Reference {
  Target target;
  std::uint32_t ident;
  std::size_t index;  // of the query
  std::size_t begin;  // of the tag
};

class SqlLists {
 public:
  explicit SqlLists(const google::protobuf::Descriptor* type);

  // An element of the outermost message has ended.
  void Take(const ParsedMessage& element);

  // Whether the message is not one of the three types.
  bool other() const { return kind_ == Kind::kOther; }
  // Whether the message is a list of that kind.
  bool declares(Target target) const;
  const std::vector<Declared>& declared() const { return declared_; }
  const std::vector<Reference>& references() const { return references_; }

 private:
  enum class Kind { kOther, kConnections, kTransactions, kQueries };

  void Refer(const ParsedMessage& query, Target target,
             const google::protobuf::FieldDescriptor* field);

  Kind kind_ = Kind::kOther;
  std::vector<Declared> declared_;
  std::vector<Reference> references_;
};

// Judges the parents within one SqlTransactions.
void JudgeParents(const std::vector<Declared>& transactions, Findings& findings);

}  // namespace qmsg
