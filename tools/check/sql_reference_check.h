// Checks the references from queries to the connections and transactions of their request, which
// come in separate messages, before or after the queries.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "check/findings.h"
#include "check/sql_lists.h"

namespace qmsg {

// Uses bounded memory: beyond the limits the least recently used request is judged and dropped.
class SqlReferenceCheck {
 public:
  using Tell = std::function<void(const Subject& subject, const Finding& finding)>;

  static constexpr std::size_t kMost = 4096;                         // requests
  static constexpr std::size_t kMostHeld = std::size_t{256} * 1024;  // idents and references of all

  explicit SqlReferenceCheck(Tell tell) : tell_(std::move(tell)) {}

  // Adds the lists of one message. `whole`: all of it could be read. Messages without a queue_id
  // are ignored: they could belong to any request.
  void Add(std::string_view queue_id, const SqlLists& lists, bool whole, const Subject& subject);

  // Judges the remaining requests, in the order of the messages.
  void Finish();

 private:
  struct Waiting {
    Reference reference;
    Subject subject;
  };

  struct Known {
    bool captured = false;  // a list was in the input
    bool whole = true;      // and all of it could be read
    std::unordered_set<std::uint32_t> idents;
  };

  struct Request {
    std::string queue_id;
    Known connections;
    Known transactions;
    std::vector<Waiting> waiting;  // for an ident that has not occurred yet

    Known& known(Target target) {
      return target == Target::kConnection ? connections : transactions;
    }
    std::size_t held() const;
  };

  using List = std::list<Request>;

  Request& Touch(std::string_view queue_id);
  static void Declare(Known& known, const SqlLists& lists, bool whole);
  // Drops references to idents that exist, or whose list is missing or incomplete.
  static void Judge(Request& request);
  void ForgetOldest();

  Tell tell_;
  List requests_;  // most recently used first
  std::unordered_map<std::string_view, List::iterator> by_queue_id_;
  std::size_t held_ = 0;
};

}  // namespace qmsg
