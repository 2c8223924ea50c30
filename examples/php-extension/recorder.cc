#include "recorder.h"

#include <google/protobuf/any.pb.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/util/delimited_message_util.h>
#include <google/protobuf/util/time_util.h>

#include <algorithm>

#include "text.h"

namespace {

using google::protobuf::Arena;
using google::protobuf::util::TimeUtil;
using quor::protobuf::QuorPHP::RInitData;
using quor::protobuf::QuorPHP::RShutdownData;
using quor::protobuf::Tarq::Function;
using quor::protobuf::Tarq::Functions;

google::protobuf::Duration ToDuration(std::chrono::nanoseconds time) {
  return TimeUtil::NanosecondsToDuration(time.count());
}

void AppendRecord(const google::protobuf::Message& message, std::string& records) {
  google::protobuf::Any any;
  any.PackFrom(message);
  google::protobuf::io::StringOutputStream stream(&records);
  google::protobuf::util::SerializeDelimitedToZeroCopyStream(any, &stream);
}

}  // namespace

void Recorder::Begin(const RInitData& request) {
  Forget();
  functions_ = Arena::CreateMessage<Functions>(&arena_);
  functions_->set_queue_id(request.queue_id());
  auto* begin = Arena::CreateMessage<RInitData>(&arena_);
  begin->CopyFrom(request);
  started_ = Clock::now();
  begin_ = begin;
}

Recorder::Timing* Recorder::Find(const FunctionId& id) {
  Timing& timing = timings_[{std::string(id.class_name), std::string(id.name), std::string(id.file),
                             id.first_line}];
  if (timing.message == nullptr) {
    std::string name = id.class_name.empty() ? "" : Utf8(id.class_name) + "::";
    name += Utf8(id.name);
    timing.message = functions_->add_functions();
    timing.message->set_function_type(Function::USER);
    timing.message->set_function_name(name);
    timing.message->set_file_name(Utf8(id.file));
    timing.message->set_line_start(id.first_line);
    timing.message->set_line_end(id.last_line);
  }
  return &timing;
}

void Recorder::Enter(const void* call, Timing* timing, bool is_new_call) {
  calls_.push_back({call, timing, Clock::now(), {}});
  ++timing->running;
  timing->calls += is_new_call ? 1 : 0;
}

void Recorder::Leave(const void* call) {
  // Usually the innermost call. Fibers take turns.
  const auto found = std::find_if(calls_.rbegin(), calls_.rend(),
                                  [call](const Call& other) { return other.call == call; });
  if (found != calls_.rend()) {
    Finish(std::prev(found.base()));
  }
}

void Recorder::Finish(std::vector<Call>::iterator call) {
  const Clock::duration time = Clock::now() - call->start;
  Timing& timing = *call->timing;
  timing.exclusive += std::max(time - call->inside, Clock::duration::zero());
  if (--timing.running == 0) {  // else the time is part of an outer call of the same function
    timing.inclusive += time;
  }
  if (call != calls_.begin()) {
    std::prev(call)->inside += time;
  }
  calls_.erase(call);
}

std::string Recorder::End(RShutdownData& end) {
  while (!calls_.empty()) {
    Finish(std::prev(calls_.end()));
  }
  for (auto& [id, timing] : timings_) {
    timing.message->set_times_called(timing.calls);
    *timing.message->mutable_duration_inclusive() = ToDuration(timing.inclusive);
    *timing.message->mutable_duration_exclusive() = ToDuration(timing.exclusive);
  }
  end.set_queue_id(begin_->queue_id());
  *end.mutable_total_time() = ToDuration(Clock::now() - started_);

  std::string records;
  AppendRecord(*begin_, records);
  AppendRecord(*functions_, records);
  AppendRecord(end, records);
  Forget();
  return records;
}

void Recorder::Forget() {
  begin_ = nullptr;
  functions_ = nullptr;
  timings_.clear();
  calls_.clear();
  arena_.Reset();
}
