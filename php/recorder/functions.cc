#include "recorder/functions.h"

#include <php.h>
#include <zend_extensions.h>
#include <zend_generators.h>
#include <zend_observer.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "recorder/engine.h"
#include "recorder/profile.h"
#include "recorder/recording.h"
#include "recorder/sampling.h"

namespace {

Profile profile;

// Samples.

constexpr int kDeepestSample = 256;
std::uint64_t sample_number = 0;
Clock::time_point last_sample;

// The time since the last sample goes to what runs now. A call that waits, for a database or in
// sleep(), ends before the engine looks at the flag: its time is that of its caller.
void TakeSample(void* execute_data) {
  if (recording.settings().functions != FunctionTimes::kSample) {
    return;
  }
  Guarded([execute_data] {
    const auto now = Clock::now();
    const Clock::duration time = now - std::exchange(last_sample, now);
    ++sample_number;
    bool is_innermost = true;
    int depth = 0;
    for (auto* frame = static_cast<zend_execute_data*>(execute_data); frame != nullptr;
         frame = frame->prev_execute_data) {
      frame = zend_generator_check_placeholder_frame(frame);
      if (frame->func == nullptr) {
        continue;
      }
      if (++depth > kDeepestSample) {
        recording.Count(Loss::kFunctions);
        break;
      }
      FunctionTime* function = profile.Find(frame->func);
      if (function == nullptr) {
        continue;
      }
      if (std::exchange(is_innermost, false)) {
        function->exclusive += time;
      }
      if (std::exchange(function->last_sample, sample_number) != sample_number) {
        function->inclusive += time;  // once, however often it is on the stack
      }
    }
  });
}

// Exact times.

struct RunningCall {
  const zend_execute_data* call;
  FunctionTime* function;
  Clock::time_point start;
  Clock::duration inside;  // time of the calls that it made
};

constexpr std::size_t kDeepestCall = 100000;
std::vector<RunningCall> calls;
std::uint64_t calls_beyond = 0;
int slot_handle = -1;

// The engine keeps a slot for each function in its run-time cache. It clears the caches for each
// request, and does not keep them in the memory that opcache shares between workers.
void*& Slot(zend_execute_data* call) {
  return ZEND_OP_ARRAY_EXTENSION(&call->func->op_array, slot_handle);
}

// The engine observes each resume of a generator, and not its creation. The first resume starts
// after the instruction that created the generator.
bool IsNewCall(const zend_execute_data* call) {
  return (call->func->common.fn_flags & ZEND_ACC_GENERATOR) == 0 ||
         (call->opline->opcode != ZEND_HANDLE_EXCEPTION &&
          call->opline[-1].opcode == ZEND_GENERATOR_CREATE);
}

void Finish(std::vector<RunningCall>::iterator call) {
  const Clock::duration time = Clock::now() - call->start;
  FunctionTime& function = *call->function;
  function.exclusive += std::max(time - call->inside, Clock::duration::zero());
  if (--function.running == 0) {  // else it is part of an outer call of the same function
    function.inclusive += time;
  }
  if (call != calls.begin()) {
    std::prev(call)->inside += time;
  }
  calls.erase(call);
}

void OnEnter(zend_execute_data* call) {
  auto* function = static_cast<FunctionTime*>(Slot(call));
  if (function == nullptr || recording.settings().functions != FunctionTimes::kExact) {
    return;
  }
  Guarded([&] {
    function->calls += IsNewCall(call) ? 1 : 0;
    if (calls.size() == kDeepestCall) {
      ++calls_beyond;
      recording.Count(Loss::kFunctions);
      return;
    }
    ++function->running;
    calls.push_back({call, function, Clock::now(), {}});
  });
}

void OnLeave(zend_execute_data* call, zval* /*result*/) {
  if (recording.settings().functions != FunctionTimes::kExact || calls.empty()) {
    return;
  }
  if (calls.back().call != call && calls_beyond > 0) {
    --calls_beyond;
    return;
  }
  // Usually the innermost call. Fibers take turns.
  constexpr std::ptrdiff_t kFarthest = 1000;
  const auto end = calls.rbegin() +
                   std::min<std::ptrdiff_t>(static_cast<std::ptrdiff_t>(calls.size()), kFarthest);
  const auto found = std::find_if(calls.rbegin(), end,
                                  [call](const RunningCall& other) { return other.call == call; });
  if (found != end) {
    Finish(std::prev(found.base()));
  }
}

// The engine calls this once for each run-time cache. Functions of PHP itself are not observed: it
// crashes the engine for some of them.
zend_observer_fcall_handlers Observe(zend_execute_data* call) {
  if (recording.settings().functions != FunctionTimes::kExact ||
      call->func->type != ZEND_USER_FUNCTION || call->func->common.function_name == nullptr) {
    return {nullptr, nullptr};
  }
  Guarded([call] { Slot(call) = profile.Find(call->func); });
  return {OnEnter, OnLeave};
}

}  // namespace

void RegisterFunctionTimes() {
  InstallSampler(TakeSample);
  if (CurrentSettings().functions == FunctionTimes::kExact) {
    slot_handle = zend_get_op_array_extension_handle("qmsg");
    zend_observer_fcall_register(Observe);
  }
}

void BeginFunctions() {
  profile.Clear();
  calls.clear();
  calls_beyond = 0;
  if (recording.settings().functions == FunctionTimes::kSample) {
    last_sample = Clock::now();
    StartSampling(std::chrono::microseconds(recording.settings().sample_interval));
  }
}

void EndFunctions() {
  StopSampling();
  while (!calls.empty()) {
    Finish(std::prev(calls.end()));
  }
  if (!profile.is_empty()) {
    profile.Record();
  }
  profile.Clear();
}

void FunctionsAfterFork() {
  SamplingAfterFork();
  if (recording.is_on()) {
    BeginFunctions();
  }
}
