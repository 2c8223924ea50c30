#include "check/sql_reference_check.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace qmsg {
namespace {

// A queue_id takes memory too.
constexpr std::size_t kQueueIdBytesPerHeld = 16;

std::string Name(Target target) {
  return target == Target::kConnection ? "connection" : "transaction";
}

Finding Dangling(const Reference& reference, const std::string& queue_id) {
  const std::string what = Name(reference.target);
  return {&rules::kDanglingReference, reference.begin,
          "queries[" + std::to_string(reference.index) + "]." + what + "_id",
          "no " + what + " of request " + Quoted(queue_id) + " has the ident " +
              std::to_string(reference.ident)};
}

}  // namespace

std::size_t SqlReferenceCheck::Request::held() const {
  return waiting.size() + connections.idents.size() + transactions.idents.size() +
         queue_id.size() / kQueueIdBytesPerHeld;
}

void SqlReferenceCheck::Add(std::string_view queue_id, const SqlLists& lists, bool whole,
                            const Subject& subject) {
  const bool connections = lists.declares(Target::kConnection);
  const bool transactions = lists.declares(Target::kTransaction);
  if (queue_id.empty() || (!connections && !transactions && lists.references().empty())) {
    return;
  }
  Request& request = Touch(queue_id);
  held_ -= request.held();
  if (connections || transactions) {
    Declare(connections ? request.connections : request.transactions, lists, whole);
  }
  for (const Reference& reference : lists.references()) {
    if (request.known(reference.target).idents.count(reference.ident) == 0) {
      request.waiting.push_back({reference, subject});
    }
  }
  held_ += request.held();
  while (requests_.size() > kMost || held_ > kMostHeld) {
    ForgetOldest();
  }
}

void SqlReferenceCheck::Finish() {
  std::vector<std::pair<Waiting, const Request*>> dangling;
  for (Request& request : requests_) {
    Judge(request);
    for (const Waiting& waiting : request.waiting) {
      dangling.emplace_back(waiting, &request);
    }
  }
  std::sort(dangling.begin(), dangling.end(), [](const auto& one, const auto& other) {
    return std::make_tuple(one.first.subject.message, one.first.reference.begin) <
           std::make_tuple(other.first.subject.message, other.first.reference.begin);
  });
  for (const auto& [waiting, request] : dangling) {
    tell_(waiting.subject, Dangling(waiting.reference, request->queue_id));
  }
  by_queue_id_.clear();
  requests_.clear();
  held_ = 0;
}

SqlReferenceCheck::Request& SqlReferenceCheck::Touch(std::string_view queue_id) {
  const auto found = by_queue_id_.find(queue_id);
  if (found != by_queue_id_.end()) {
    requests_.splice(requests_.begin(), requests_, found->second);
    return requests_.front();
  }
  requests_.emplace_front();
  Request& request = requests_.front();
  request.queue_id = std::string(queue_id);
  held_ += request.held();
  by_queue_id_.emplace(request.queue_id, requests_.begin());
  return request;
}

void SqlReferenceCheck::Declare(Known& known, const SqlLists& lists, bool whole) {
  known.captured = true;
  known.whole = known.whole && whole;
  for (const Declared& element : lists.declared()) {
    known.idents.insert(element.ident);
  }
}

void SqlReferenceCheck::Judge(Request& request) {
  std::vector<Waiting>& waiting = request.waiting;
  waiting.erase(std::remove_if(waiting.begin(), waiting.end(),
                               [&request](const Waiting& one) {
                                 const Known& known = request.known(one.reference.target);
                                 return !known.captured || !known.whole ||
                                        known.idents.count(one.reference.ident) > 0;
                               }),
                waiting.end());
}

void SqlReferenceCheck::ForgetOldest() {
  Request& request = requests_.back();
  held_ -= request.held();
  Judge(request);
  for (const Waiting& waiting : request.waiting) {
    tell_(waiting.subject, Dangling(waiting.reference, request.queue_id));
  }
  by_queue_id_.erase(request.queue_id);
  requests_.pop_back();
}

}  // namespace qmsg
