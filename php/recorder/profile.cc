#include "recorder/profile.h"

#include <qmsg/tarq.pb.h>

#include "recorder/stack.h"
#include "recorder/text.h"

using quor::protobuf::Tarq::Function;
using quor::protobuf::Tarq::Functions;

FunctionTime* Profile::Find(const zend_function* function) {
  constexpr std::size_t kMostFunctions = 10000;
  const bool is_user = ZEND_USER_CODE(function->type);
  key_.clear();
  if (function->common.scope != nullptr) {
    key_ += View(function->common.scope->name);
  }
  key_ += '\n';
  key_ += View(function->common.function_name);
  if (is_user) {
    key_ += '\n';
    key_ += View(function->op_array.filename);
    key_ += std::to_string(function->op_array.line_start);
  }
  const auto found = functions_.find(key_);
  if (found != functions_.end()) {
    return &found->second;
  }
  if (functions_.size() == kMostFunctions) {
    recording.Count(Loss::kFunctions);
    return nullptr;
  }
  FunctionTime time;
  time.name = FunctionName(function);
  time.is_user = is_user;
  if (is_user) {
    time.file = Utf8(View(function->op_array.filename));
    time.first_line = function->op_array.line_start;
    time.last_line = function->op_array.line_end;
  }
  return &functions_.emplace(key_, std::move(time)).first->second;
}

void Profile::Record() const {
  Functions record;
  record.set_queue_id(recording.queue_id());
  for (const auto& [key, time] : functions_) {
    Function& function = *record.add_functions();
    function.set_function_type(time.is_user ? Function::USER : Function::INTERNAL);
    function.set_function_name(time.name);
    function.set_times_called(time.calls);
    *function.mutable_duration_inclusive() = ToDuration(time.inclusive);
    *function.mutable_duration_exclusive() = ToDuration(time.exclusive);
    function.set_file_name(time.file);
    function.set_line_start(time.first_line);
    function.set_line_end(time.last_line);
  }
  recording.Append(record, Loss::kRecords);
}
