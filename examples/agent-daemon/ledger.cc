#include "ledger.h"

#include <google/protobuf/stubs/strutil.h>
#include <qmsg/login.pb.h>
#include <qmsg/monitor.pb.h>
#include <qmsg/tarq.pb.h>

#include <algorithm>
#include <functional>
#include <iomanip>

namespace {

using quor::protobuf::Monitor::Event;
using quor::protobuf::Tarq::Functions;
namespace Login = quor::protobuf::Login;

Frames Refuse(const std::string& reason) { return {kRefused, reason}; }

template <class M>
bool Is(const std::string& type) {
  return type == M::descriptor()->full_name();
}

void Sum(const Event& event, Account& account) {
  ++account.events;
  // The oneof says what was measured; the type beside it does not have to agree.
  if (event.has_exec_time()) {
    account.seconds +=
        static_cast<double>(event.exec_time().seconds()) + 1e-9 * event.exec_time().nanos();
  } else if (event.has_memory_usage_bytes()) {
    account.memory += event.memory_usage_bytes();
  }
}

void Sum(const Functions& profile, Account& account) {
  ++account.profiles;
  for (const auto& function : profile.functions()) {
    account.calls += function.times_called();
  }
}

// Returns false if the bytes are not an M.
template <class M>
bool SumAs(const std::string& bytes, Account& account) {
  M message;
  if (!message.ParseFromString(bytes)) {
    return false;
  }
  Sum(message, account);
  return true;
}

bool SumAny(const std::string& type, const std::string& bytes, Account& account) {
  if (Is<Event>(type)) {
    return SumAs<Event>(bytes, account);
  }
  return Is<Functions>(type) && SumAs<Functions>(bytes, account);
}

}  // namespace

Frames Ledger::LogIn(const Frames& request) {
  // The bytes of a Login and a Config can be the same, so the type has to be right.
  Login::Login login;
  if (request.size() != 2 || !Is<Login::Login>(request[0]) || !login.ParseFromString(request[1]) ||
      login.hostname().empty()) {
    return Refuse("a login is a type and a quor.protobuf.Login.Login with a hostname");
  }
  Account& account = accounts_[login.hostname()];
  hosts_.erase(account.session);  // an agent that was killed, or a second one of this name
  account.session = ++sessions_;
  ++account.logins;
  hosts_[account.session] = login.hostname();
  Login::Config config;
  config.set_pub_uri(records_uri_);
  return {kOk, config.GetTypeName(), config.SerializeAsString(), std::to_string(account.session)};
}

Frames Ledger::Take(const Frames& record) {
  const auto session = record.size() == 4 ? Number(record[0]) : std::nullopt;
  const auto given = record.size() == 4 ? Number(record[1]) : std::nullopt;
  if (!session || !given) {
    return Refuse("a record is a session, a number, a type and the record");
  }
  const std::uint64_t number = *given;
  const auto host = hosts_.find(*session);
  if (host == hosts_.end()) {
    return Refuse("the session is over: another agent of this name has logged in");
  }
  Account& account = accounts_[host->second];
  const std::string& type = record[2];
  const std::string& bytes = record[3];
  const std::size_t hash = std::hash<std::string>()(type + '\n' + bytes);
  if (number < account.taken.size()) {
    if (account.taken[number] != hash) {
      return Refuse("record " + std::to_string(number) + " is not what it was before");
    }
    ++account.again;
  } else if (number == account.taken.size()) {
    account.taken.push_back(hash);
    account.left_out += SumAny(type, bytes, account) ? 0 : 1;
  }  // else an earlier record was lost: the agent sends it and this one again
  return {kOk, std::to_string(std::min<std::uint64_t>(number + 1, account.taken.size()))};
}

void Ledger::Print(std::ostream& out) const {
  out << std::fixed << std::setprecision(3);
  for (const auto& [host, account] : accounts_) {
    // Escaped: the name is not trusted, and the output may be a terminal.
    out << google::protobuf::CEscape(host) << ": logins " << account.logins << ", records "
        << account.taken.size() << ", again " << account.again << ", left out " << account.left_out
        << ", events " << account.events << ", seconds " << account.seconds << ", memory "
        << account.memory << ", profiles " << account.profiles << ", calls " << account.calls
        << '\n';
  }
}
