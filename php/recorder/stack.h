#pragma once

#include <qmsg/quorphp.pb.h>

#include "recorder/engine.h"
#include "recorder/values.h"

// PHP's call stack.

struct StackOptions {
  std::size_t depth = 0;  // frames
  bool arguments = false;
  bool innermost_arguments = true;
};

// Name of a function as Class::method; a file's own code is named by its file.
std::string FunctionName(const zend_function* function);

// The line that a function of PHP code has reached.
std::uint32_t CurrentLine(const zend_execute_data* frame);

// Appends the frames from `innermost` on; frame 0 is that one. file_name and line_no say where the
// function was called. `Frames` is a repeated field of StackTraceFrame.
void AppendStack(
    zend_execute_data* innermost, StackOptions options, const ValueWriter& values,
    google::protobuf::RepeatedPtrField<quor::protobuf::QuorPHP::StackTraceFrame>& frames);

// Appends the arguments of a call.
void AppendArguments(zend_execute_data* call, const ValueWriter& values,
                     quor::protobuf::QuorPHP::QuorArray& arguments);
