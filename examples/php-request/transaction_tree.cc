#include "transaction_tree.h"

#include <set>

using quor::protobuf::Tarq::SqlTransaction;
using quor::protobuf::Tarq::SqlTransactions;

TransactionTree::TransactionTree(const SqlTransactions& transactions)
    : transactions_(transactions) {
  for (const SqlTransaction& transaction : transactions.transactions()) {
    by_ident_.emplace(transaction.ident(), &transaction);
    if (transaction.has_parent_id()) {
      by_parent_.emplace(transaction.parent_id(), &transaction);
    }
  }
}

std::vector<TransactionTree::Node> TransactionTree::DepthFirst() const {
  std::vector<Node> nodes;
  std::set<const SqlTransaction*> seen;
  const auto add_with_inner = [&](const SqlTransaction& outermost) {
    std::vector<Node> waiting = {{&outermost, 0}};
    while (!waiting.empty()) {
      const Node node = waiting.back();
      waiting.pop_back();
      if (!seen.insert(node.transaction).second) {
        continue;
      }
      nodes.push_back(node);
      // In reverse, because a stack returns the last one first.
      const auto [first, last] = by_parent_.equal_range(node.transaction->ident());
      for (auto inner = last; inner != first;) {
        waiting.push_back({(--inner)->second, node.depth + 1});
      }
    }
  };
  for (const SqlTransaction& transaction : transactions_.transactions()) {
    if (!transaction.has_parent_id() || by_ident_.count(transaction.parent_id()) == 0) {
      add_with_inner(transaction);
    }
  }
  // The rest is in circles.
  for (const SqlTransaction& transaction : transactions_.transactions()) {
    add_with_inner(transaction);
  }
  return nodes;
}

std::string TransactionTree::Path(std::uint32_t ident) const {
  std::string path = std::to_string(ident);
  std::set<std::uint32_t> seen = {ident};
  for (auto it = by_ident_.find(ident); it != by_ident_.end() && it->second->has_parent_id();
       it = by_ident_.find(ident)) {
    ident = it->second->parent_id();
    if (!seen.insert(ident).second) {
      return "… > " + path;
    }
    path.insert(0, std::to_string(ident) + " > ");
  }
  return path;
}
