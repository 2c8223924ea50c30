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

// A PHP function as the engine knows it. The texts may hold any bytes.
struct FunctionId {
  std::string_view class_name;  // empty unless it is a method
  std::string_view name;
  std::string_view file;
  std::uint32_t first_line = 0;
  std::uint32_t last_line = 0;
};

// Records one request after the other. All messages of a request lie on one arena, which is emptied
// when the request ends. Every function may throw what the standard library and the runtime throw.
class Recorder {
 public:
  using Clock = std::chrono::steady_clock;

  // What was measured of one function.
  struct Timing {
    quor::protobuf::Tarq::Function* message = nullptr;
    std::uint32_t calls = 0;
    int running = 0;  // calls that have not ended
    Clock::duration inclusive{};
    Clock::duration exclusive{};
  };

  // Text fields have to be UTF-8.
  void Begin(const quor::protobuf::QuorPHP::RInitData& request);

  // Looks the function up by its names. Ask once and keep the pointer: it is valid until End() or
  // Forget().
  Timing* Find(const FunctionId& id);

  // `call` identifies a call while it runs. A generator enters and leaves many times in one call.
  void Enter(const void* call, Timing* timing, bool is_new_call);
  void Leave(const void* call);

  // Adds the queue_id and the time to `end`. Returns the bytes of three records, each a
  // google.protobuf.Any behind its length: RInitData, Functions, RShutdownData.
  std::string End(quor::protobuf::QuorPHP::RShutdownData& end);

  // Drops what was recorded of this request, and its memory.
  void Forget();

  bool is_recording() const { return begin_ != nullptr; }

 private:
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
