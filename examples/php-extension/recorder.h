#ifndef QMSG_EXAMPLES_PHP_EXTENSION_RECORDER_H_
#define QMSG_EXAMPLES_PHP_EXTENSION_RECORDER_H_

#include <google/protobuf/arena.h>
#include <qmsg/quorphp.pb.h>
#include <qmsg/tarq.pb.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

// A PHP function as the engine knows it. The texts are any bytes.
struct FunctionId {
  std::string_view class_name;  // empty if it is no method
  std::string_view name;
  std::string_view file;
  std::uint32_t first_line = 0;
  std::uint32_t last_line = 0;
};

// Records one request after the other. All messages of a request lie on one arena, which is emptied
// when the request ends. Every function may throw what the standard library and the runtime throw.
class Recorder {
 public:
  // Text fields have to be UTF-8.
  void Begin(const quor::protobuf::QuorPHP::RInitData& request);

  // `call` tells the calls apart that go on at one time.
  void Enter(const void* call, const FunctionId& id);
  void Leave(const void* call);

  // Adds the queue_id and the time to `end`. Gives back the bytes of three records, each a
  // google.protobuf.Any behind its length: RInitData, Functions, RShutdownData.
  std::string End(quor::protobuf::QuorPHP::RShutdownData& end);

  // Drops what was recorded of this request, and its memory.
  void Forget();

  bool is_recording() const { return begin_ != nullptr; }

 private:
  using Clock = std::chrono::steady_clock;

  struct Timing {
    quor::protobuf::Tarq::Function* message = nullptr;
    Clock::duration inclusive{};
    Clock::duration exclusive{};
    int depth = 0;  // of the calls that go on
  };
  struct Call {
    const void* call;
    Timing* timing;
    Clock::time_point start;
    Clock::duration inside;  // spent in functions that it called
  };

  void Finish(std::vector<Call>::iterator call);

  google::protobuf::Arena arena_;
  quor::protobuf::QuorPHP::RInitData* begin_ = nullptr;
  quor::protobuf::Tarq::Functions* functions_ = nullptr;
  Clock::time_point started_;
  std::map<std::tuple<std::string, std::string, std::string, std::uint32_t>, Timing> timings_;
  std::vector<Call> calls_;  // innermost last
};

#endif
