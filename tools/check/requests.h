// Holds the queries of an input together with the connections and transactions of their requests,
// which come in messages of their own, before or after.
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

// In memory of a bounded size: the request that was not touched for longest is judged and forgotten
// when there are too many, or when they hold too much.
class Requests {
 public:
  using Tell = std::function<void(const Subject& subject, const Finding& finding)>;

  static constexpr std::size_t kMost = 4096;                         // requests
  static constexpr std::size_t kMostHeld = std::size_t{256} * 1024;  // idents and references of all

  explicit Requests(Tell tell) : tell_(std::move(tell)) {}

  // What a message says about its request. `whole`: all of it could be read. A request without a
  // tag could be any, and is not held.
  void Add(std::string_view queue_id, const SqlLists& lists, bool whole, const Subject& subject);

  // Judges what is left, in the order of the messages.
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
    std::vector<Waiting> waiting;  // for an ident that has not been there yet

    Known& known(Target target) {
      return target == Target::kConnection ? connections : transactions;
    }
    std::size_t held() const;
  };

  using List = std::list<Request>;

  Request& Touch(std::string_view queue_id);
  static void Declare(Known& known, const SqlLists& lists, bool whole);
  // Drops what waits in vain: for idents that are there, or in lists that are not known.
  static void Judge(Request& request);
  void ForgetOldest();

  Tell tell_;
  List requests_;  // the one touched last comes first
  std::unordered_map<std::string_view, List::iterator> by_queue_id_;
  std::size_t held_ = 0;
};

}  // namespace qmsg
