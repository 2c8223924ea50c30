#ifndef QMSG_EXAMPLES_PHP_REQUEST_TRANSACTION_TREE_H_
#define QMSG_EXAMPLES_PHP_REQUEST_TRANSACTION_TREE_H_

#include <qmsg/tarq.pb.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

// Transactions nested in their parents. The numbers in the records are not checked: parents may be
// missing, numbers may repeat, links may form a circle.
class TransactionTree {
 public:
  struct Node {
    const quor::protobuf::Tarq::SqlTransaction* transaction;
    std::size_t depth;
  };

  // Refers to the elements of `transactions`.
  explicit TransactionTree(const quor::protobuf::Tarq::SqlTransactions& transactions);

  // Each transaction once, after the one around it.
  [[nodiscard]] std::vector<Node> DepthFirst() const;

  // "0 > 1" is transaction 1 inside transaction 0.
  [[nodiscard]] std::string Path(std::uint32_t ident) const;

 private:
  const quor::protobuf::Tarq::SqlTransactions& transactions_;
  std::map<std::uint32_t, const quor::protobuf::Tarq::SqlTransaction*> by_ident_;
  std::multimap<std::uint32_t, const quor::protobuf::Tarq::SqlTransaction*> by_parent_;
};

#endif
