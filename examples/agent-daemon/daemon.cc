// Takes the records of many agents and counts each once. Prints the counts on SIGUSR1, and when
// SIGTERM or SIGINT ends it.

#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <iostream>
#include <stdexcept>
#include <string>

#include "ledger.h"
#include "peer.h"

namespace {

constexpr const char* kUsage =
    "usage: daemon LOGIN_URI RECORDS_URI\n"
    "Takes logins and records on two addresses, such as tcp://127.0.0.1:*, and prints the first.\n"
    "SIGUSR1 prints a report; so do SIGTERM and SIGINT, which end the daemon.\n";

// A descriptor that becomes readable on the signals. Call it before ZeroMQ starts threads: they
// would take the signals.
int OpenSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGUSR1, SIGTERM, SIGINT}) {
    sigaddset(&signals, signal);
  }
  const int file =
      pthread_sigmask(SIG_BLOCK, &signals, nullptr) == 0 ? signalfd(-1, &signals, SFD_CLOEXEC) : -1;
  if (file < 0) {
    throw std::runtime_error("no descriptor for signals");
  }
  return file;
}

class Daemon {
 public:
  Daemon(zmq::context_t& context, const std::string& login_uri, const std::string& records_uri)
      : logins_(MakeSocket(context, zmq::socket_type::rep)),
        records_(MakeSocket(context, zmq::socket_type::router)),
        ledger_(Bind(records_, records_uri)) {
    std::cout << "login at " << Bind(logins_, login_uri) << std::endl;
  }

  // Runs until a signal ends it.
  void Run(int signals) {
    while (true) {
      std::array<zmq::pollitem_t, 3> items = {{{nullptr, signals, ZMQ_POLLIN, 0},
                                               {logins_.handle(), 0, ZMQ_POLLIN, 0},
                                               {records_.handle(), 0, ZMQ_POLLIN, 0}}};
      Wait(items.data(), items.size(), -1);
      if ((items[0].revents & ZMQ_POLLIN) != 0) {
        signalfd_siginfo signal;
        const bool ends =
            read(signals, &signal, sizeof signal) != sizeof signal || signal.ssi_signo != SIGUSR1;
        ledger_.Print(std::cout);
        std::cout << "end of report" << std::endl;
        if (ends) {
          return;
        }
      }
      if ((items[1].revents & ZMQ_POLLIN) != 0) {
        AnswerLogin();
      }
      if ((items[2].revents & ZMQ_POLLIN) != 0) {
        TakeRecord();
      }
    }
  }

 private:
  // Returns the address on which it listens, with the port filled in.
  static std::string Bind(zmq::socket_t& socket, const std::string& uri) {
    socket.bind(uri);
    return socket.get(zmq::sockopt::last_endpoint);
  }

  void AnswerLogin() {
    const Frames request = Receive(logins_, 0);
    if (!request.empty()) {
      Send(logins_, ledger_.LogIn(request));
    }
  }

  void TakeRecord() {
    Frames record = Receive(records_, 0);
    if (record.empty()) {
      return;
    }
    // The first frame names the connection that gets the answer. If the agent has ended, the answer
    // is dropped.
    Frames answer = {record.front()};
    record.erase(record.begin());
    for (std::string& frame : ledger_.Take(record)) {
      answer.push_back(std::move(frame));
    }
    Send(records_, answer);
  }

  zmq::socket_t logins_;
  zmq::socket_t records_;
  Ledger ledger_;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << kUsage;
    return 2;
  }
  try {
    const int signals = OpenSignals();
    zmq::context_t context;
    Daemon(context, argv[1], argv[2]).Run(signals);
  } catch (const std::exception& error) {
    std::cerr << "daemon: " << argv[1] << ", " << argv[2] << ": " << error.what() << '\n';
    return 1;
  }
}
