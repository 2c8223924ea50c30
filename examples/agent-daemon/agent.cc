// Sends the records of a file to the daemon until the daemon has them all.

#include <fcntl.h>
#include <google/protobuf/any.pb.h>
#include <google/protobuf/io/zero_copy_stream_impl.h>
#include <google/protobuf/util/delimited_message_util.h>
#include <qmsg/login.pb.h>
#include <unistd.h>

#include <cerrno>
#include <deque>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <system_error>

#include "peer.h"

namespace {

using google::protobuf::Any;
namespace Login = quor::protobuf::Login;

constexpr const char* kUsage =
    "usage: agent LOGIN_URI HOSTNAME FILE\n"
    "Sends the records of FILE, a row of google.protobuf.Any, each after its length; - is the\n"
    "standard input.\n";

constexpr int kLoginTimeout = 30000;  // milliseconds
constexpr int kAnswerTimeout = 1000;
constexpr int kAttempts = 30;
constexpr std::size_t kWindow = 32;  // records without an answer

struct Session {
  std::string number;
  std::string records_uri;
};

// The frames after "ok".
Frames Accepted(Frames answer) {
  if (answer.empty()) {
    throw std::runtime_error("the daemon does not answer: check that it runs at this address");
  }
  if (answer.size() == 2 && answer[0] == kRefused) {
    throw std::runtime_error("refused: " + answer[1]);
  }
  if (answer[0] != kOk) {
    throw std::runtime_error("the answer is not from this daemon: check the address");
  }
  answer.erase(answer.begin());
  return answer;
}

Session LogIn(zmq::context_t& context, const std::string& uri, const std::string& hostname) {
  Login::Login login;
  login.set_hostname(hostname);
  zmq::socket_t socket = MakeSocket(context, zmq::socket_type::req);
  socket.connect(uri);
  Send(socket, {login.GetTypeName(), login.SerializeAsString()});
  const Frames answer = Accepted(Receive(socket, kLoginTimeout));
  Login::Config config;
  if (answer.size() != 3 || answer[0] != config.GetTypeName() ||
      !config.ParseFromString(answer[1])) {
    throw std::runtime_error("the answer to the login is not a quor.protobuf.Login.Config");
  }
  return {answer[2], config.pub_uri()};
}

// The rest of the file cannot be read.
struct SpoolError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

class Spool {
 public:
  explicit Spool(const std::string& name) : stream_(Open(name)) {}

  // False at the end.
  bool Next(Any& record) {
    bool clean_end = false;
    record.Clear();
    if (google::protobuf::util::ParseDelimitedFromZeroCopyStream(&record, &stream_, &clean_end)) {
      return true;
    }
    if (stream_.GetErrno() != 0) {
      throw SpoolError(std::generic_category().message(stream_.GetErrno()));
    }
    if (!clean_end) {
      throw SpoolError("the records are cut off or damaged: those before were sent");
    }
    return false;
  }

 private:
  static int Open(const std::string& name) {
    const int file = name == "-" ? STDIN_FILENO : open(name.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
      throw SpoolError(name + ": " + std::generic_category().message(errno));
    }
    return file;
  }

  google::protobuf::io::FileInputStream stream_;
};

// Sends records in order and keeps each until the daemon has it.
class Sender {
 public:
  Sender(zmq::context_t& context, const Session& session)
      : socket_(MakeSocket(context, zmq::socket_type::dealer)), session_(session.number) {
    socket_.connect(session.records_uri);
  }

  void Put(const Any& record) {
    const std::string& url = record.type_url();
    waiting_.push_back({session_, std::to_string(first_ + waiting_.size()),
                        url.substr(url.rfind('/') + 1), record.value()});
    Send(socket_, waiting_.back());
    AwaitFewerThan(kWindow);
  }

  // Returns how many records the daemon has.
  std::uint64_t Finish() {
    AwaitFewerThan(1);
    return first_;
  }

 private:
  // A record or an answer may be lost, so it sends again: the daemon tells by the number which
  // records it has.
  void AwaitFewerThan(std::size_t most) {
    int attempts = 0;
    while (waiting_.size() >= most) {
      const Frames answer = Receive(socket_, kAnswerTimeout);
      if (answer.empty() && ++attempts < kAttempts) {
        for (const Frames& record : waiting_) {
          Send(socket_, record);
        }
        continue;
      }
      const Frames accepted = Accepted(answer);
      const auto has = accepted.size() == 1 ? Number(accepted[0]) : std::nullopt;
      if (!has) {
        throw std::runtime_error("the answer to a record is not a number");
      }
      for (; first_ < *has && !waiting_.empty(); ++first_) {
        waiting_.pop_front();
        attempts = 0;
      }
    }
  }

  zmq::socket_t socket_;
  std::string session_;
  std::uint64_t first_ = 0;  // number of the first record that waits
  std::deque<Frames> waiting_;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::cerr << kUsage;
    return 2;
  }
  try {
    zmq::context_t context;
    Spool spool(argv[3]);
    Sender sender(context, LogIn(context, argv[1], argv[2]));
    // Reports damage after all records before it have arrived.
    std::exception_ptr damage;
    try {
      for (Any record; spool.Next(record);) {
        sender.Put(record);
      }
    } catch (const SpoolError&) {
      damage = std::current_exception();
    }
    const std::uint64_t arrived = sender.Finish();
    if (damage) {
      std::rethrow_exception(damage);
    }
    std::cout << argv[2] << ": the daemon has " << arrived << " records" << std::endl;
  } catch (const std::exception& error) {
    std::cerr << "agent: " << argv[2] << ": " << error.what() << '\n';
    return 1;
  }
}
