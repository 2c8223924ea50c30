#include "check/sql_lists.h"

#include <qmsg/tarq.pb.h>

#include <algorithm>
#include <string>
#include <unordered_map>

namespace qmsg {
namespace {

namespace pb = google::protobuf;
namespace Tarq = quor::protobuf::Tarq;

constexpr std::size_t kShownIdents = 20;

// The fields that matter, looked up once.
struct Fields {
  const pb::FieldDescriptor* connection =
      Tarq::SqlConnection::descriptor()->FindFieldByName("ident");
  const pb::FieldDescriptor* transaction =
      Tarq::SqlTransaction::descriptor()->FindFieldByName("ident");
  const pb::FieldDescriptor* parent =
      Tarq::SqlTransaction::descriptor()->FindFieldByName("parent_id");
  const pb::FieldDescriptor* query_connection =
      Tarq::SqlQuery::descriptor()->FindFieldByName("connection_id");
  const pb::FieldDescriptor* query_transaction =
      Tarq::SqlQuery::descriptor()->FindFieldByName("transaction_id");
};

const Fields& TheFields() {
  static const Fields fields;
  return fields;
}

std::uint32_t Number(const FieldState& state) { return static_cast<std::uint32_t>(state.number); }

std::string PathToParent(const Declared& transaction) {
  return "transactions[" + std::to_string(transaction.index) + "].parent_id";
}

// The transactions by ident; of several with the same one the first.
using ByIdent = std::unordered_map<std::uint32_t, const Declared*>;

class Cycles {
 public:
  Cycles(const ByIdent& by_ident, Findings& findings) : by_ident_(by_ident), findings_(findings) {}

  // Follows the parents from `start` to the first transaction seen before.
  void Follow(const Declared& start) {
    ++walk_;
    const Declared* at = &start;
    while (at != nullptr && seen_.emplace(at, walk_).second) {
      at = Parent(*at);
    }
    if (at != nullptr && seen_[at] == walk_) {
      Tell(*at);
    }
  }

 private:
  const Declared* Parent(const Declared& transaction) const {
    const auto found = by_ident_.find(transaction.parent);
    return transaction.has_parent && found != by_ident_.end() ? found->second : nullptr;
  }

  // Reports the cycle with this transaction, from its first element in the list on.
  void Tell(const Declared& member) {
    const Declared* first = &member;
    std::size_t size = 1;
    for (const Declared* at = Parent(member); at != &member; at = Parent(*at)) {
      first = at->index < first->index ? at : first;
      ++size;
    }
    std::string idents = std::to_string(first->ident);
    const Declared* at = Parent(*first);
    for (std::size_t i = 1; i < std::min(size, kShownIdents); ++i, at = Parent(*at)) {
      idents += " -> " + std::to_string(at->ident);
    }
    idents += size > kShownIdents ? " -> ..." : "";
    findings_.Add({&rules::kParentCycle, first->parent_begin, PathToParent(*first),
                   "the parents form a cycle of " + std::to_string(size) + ": " + idents + " -> " +
                       std::to_string(first->ident)});
  }

  const ByIdent& by_ident_;
  Findings& findings_;
  std::unordered_map<const Declared*, std::size_t> seen_;  // and the walk that saw it
  std::size_t walk_ = 0;
};

}  // namespace

SqlLists::SqlLists(const pb::Descriptor* type) {
  if (type == Tarq::SqlConnections::descriptor()) {
    kind_ = Kind::kConnections;
  } else if (type == Tarq::SqlTransactions::descriptor()) {
    kind_ = Kind::kTransactions;
  } else if (type == Tarq::SqlQueries::descriptor()) {
    kind_ = Kind::kQueries;
  }
}

bool SqlLists::declares(Target target) const {
  return kind_ == (target == Target::kConnection ? Kind::kConnections : Kind::kTransactions);
}

void SqlLists::Take(const ParsedMessage& element) {
  const Fields& fields = TheFields();
  switch (kind_) {
    case Kind::kOther:
      break;
    case Kind::kConnections:
      declared_.push_back({Number(element.at(fields.connection)), false, 0, element.index, 0});
      break;
    case Kind::kTransactions: {
      const FieldState& parent = element.at(fields.parent);
      declared_.push_back({Number(element.at(fields.transaction)), parent.present, Number(parent),
                           element.index, parent.begin});
      break;
    }
    case Kind::kQueries:
      Refer(element, Target::kConnection, fields.query_connection);
      Refer(element, Target::kTransaction, fields.query_transaction);
      break;
  }
}

void SqlLists::Refer(const ParsedMessage& query, Target target, const pb::FieldDescriptor* field) {
  const FieldState& state = query.at(field);
  if (state.present) {
    references_.push_back({target, Number(state), query.index, state.begin});
  }
}

void JudgeParents(const std::vector<Declared>& transactions, Findings& findings) {
  ByIdent by_ident;
  for (const Declared& transaction : transactions) {
    by_ident.emplace(transaction.ident, &transaction);
  }
  Cycles cycles(by_ident, findings);
  for (const Declared& transaction : transactions) {
    if (!transaction.has_parent) {
      continue;
    }
    if (by_ident.count(transaction.parent) == 0) {
      findings.Add(
          {&rules::kDanglingReference, transaction.parent_begin, PathToParent(transaction),
           "no transaction of this message has the ident " + std::to_string(transaction.parent)});
    }
    cycles.Follow(transaction);
  }
}

}  // namespace qmsg
