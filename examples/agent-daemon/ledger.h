#ifndef QMSG_EXAMPLES_AGENT_DAEMON_LEDGER_H_
#define QMSG_EXAMPLES_AGENT_DAEMON_LEDGER_H_

#include <cstddef>
#include <cstdint>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "peer.h"

// What the daemon received from the agents of one host.
struct Account {
  std::uint64_t session = 0;  // that of the last login
  std::int64_t logins = 0;
  // The hash of each record that was taken, by its number. It tells a repeated record from another
  // one with the same number.
  std::vector<std::size_t> taken;
  std::int64_t again = 0;     // came once more
  std::int64_t left_out = 0;  // taken, but damaged or of a type that has no column
  std::int64_t events = 0;
  std::int64_t profiles = 0;
  std::uint64_t memory = 0;  // the sum over all events that measured it, in bytes
  double seconds = 0;        // the sum over all events that measured a time
  std::uint64_t calls = 0;   // the sum over all functions of all profiles
};

// The hosts that have logged in and what they sent. Throws nothing for any frames.
class Ledger {
 public:
  // `records_uri` is where the agents are told to send records.
  explicit Ledger(std::string records_uri) : records_uri_(std::move(records_uri)) {}

  // The answers to a message on each of the two sockets.
  Frames LogIn(const Frames& request);
  Frames Take(const Frames& record);

  void Print(std::ostream& out) const;

 private:
  std::string records_uri_;
  std::uint64_t sessions_ = 0;
  std::map<std::uint64_t, std::string> hosts_;  // by session, the last one of each host
  std::map<std::string, Account> accounts_;     // by host
};

#endif
