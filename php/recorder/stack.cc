#include "recorder/stack.h"

#include <php.h>
#include <zend_attributes.h>
#include <zend_generators.h>

#include <string>

#include "recorder/text.h"

using quor::protobuf::QuorPHP::QuorArray;
using quor::protobuf::QuorPHP::StackTraceFrame;

namespace {

std::string_view ParameterName(const zend_function* function, std::uint32_t index) {
  const std::uint32_t count = function->common.num_args;
  const bool is_variadic = (function->common.fn_flags & ZEND_ACC_VARIADIC) != 0;
  if (function->common.arg_info == nullptr || (index >= count && !is_variadic)) {
    return {};
  }
  const std::uint32_t at = index < count ? index : count;
  return function->type == ZEND_USER_FUNCTION ? View(function->common.arg_info[at].name)
                                              : View(function->internal_function.arg_info[at].name);
}

bool IsSensitive(const zend_function* function, std::uint32_t index) {
  constexpr std::string_view kAttribute = "sensitiveparameter";
  HashTable* attributes = function->common.attributes;
  if (attributes == nullptr) {
    return false;
  }
  const std::uint32_t count = function->common.num_args;
  const std::uint32_t at =
      index < count ? index : count;  // a variadic one stands behind the others
  return zend_get_parameter_attribute_str(attributes, kAttribute.data(), kAttribute.size(), at) !=
         nullptr;
}

zval* Argument(zend_execute_data* call, std::uint32_t index) {
  const zend_function* function = call->func;
  if (function->type == ZEND_USER_FUNCTION && index >= function->op_array.num_args) {
    // What is passed beyond the parameters lies behind the variables.
    const auto behind = static_cast<std::uint32_t>(function->op_array.last_var) +
                        function->op_array.T + index - function->op_array.num_args;
    return ZEND_CALL_VAR_NUM(call, behind);
  }
  return ZEND_CALL_ARG(call, index + 1);
}

bool IsCode(const zend_execute_data* frame) {
  return frame->func != nullptr && ZEND_USER_CODE(frame->func->common.type);
}

}  // namespace

std::string FunctionName(const zend_function* function) {
  const zend_string* name = function->common.function_name;
  if (name == nullptr) {
    return function->type == ZEND_INTERNAL_FUNCTION ? "" : Utf8(View(function->op_array.filename));
  }
  std::string text;
  if (function->common.scope != nullptr) {
    AppendUtf8(text, ClassName(function->common.scope));
    text += "::";
  }
  AppendUtf8(text, View(name));
  return text;
}

std::uint32_t CurrentLine(const zend_execute_data* frame) {
  const zend_op* opline = frame->opline;
  if (opline == nullptr) {
    return 0;
  }
  if (opline->opcode == ZEND_HANDLE_EXCEPTION && EG(opline_before_exception) != nullptr) {
    opline = EG(opline_before_exception);
  }
  return opline->lineno;
}

void AppendArguments(zend_execute_data* call, const ValueWriter& values, QuorArray& arguments) {
  constexpr std::uint32_t kMost = 32;
  const std::uint32_t count = std::min(ZEND_CALL_NUM_ARGS(call), kMost);
  bool follows_secret_name = false;  // as in define('DB_PASSWORD', '...')
  for (std::uint32_t i = 0; i < count; ++i) {
    const zval* argument = Argument(call, i);
    auto* element = arguments.add_values();
    const std::string_view name = ParameterName(call->func, i);
    const bool shares_name = i > call->func->common.num_args;  // the second of a variadic parameter
    if (name.empty() || shares_name) {
      element->set_int_key(i);
    } else {
      element->set_string_key(Utf8(name));
    }
    ZVAL_DEREF(argument);
    if (IsSensitive(call->func, i) || (follows_secret_name && Z_TYPE_P(argument) > IS_TRUE)) {
      values.Remember(argument);
      ValueWriter::WriteRedacted(*element->mutable_value());
      continue;
    }
    values.Write(argument, name, *element->mutable_value());
    follows_secret_name = follows_secret_name || (Z_TYPE_P(argument) == IS_STRING &&
                                                  values.IsSecretName(View(Z_STR_P(argument))));
  }
}

void AppendStack(zend_execute_data* innermost, StackOptions options, const ValueWriter& values,
                 google::protobuf::RepeatedPtrField<StackTraceFrame>& frames) {
  std::uint32_t number = 0;
  for (zend_execute_data* frame = innermost; frame != nullptr && number < options.depth;
       frame = frame->prev_execute_data) {
    frame = zend_generator_check_placeholder_frame(frame);
    if (frame->func == nullptr) {
      continue;
    }
    StackTraceFrame* entry = frames.Add();
    entry->set_frame_id(number++);
    entry->set_function_name(FunctionName(frame->func));
    const zend_execute_data* caller = frame->prev_execute_data;
    while (caller != nullptr && !IsCode(caller)) {
      caller = caller->prev_execute_data;
    }
    if (caller != nullptr) {
      entry->set_file_name(Utf8(View(caller->func->op_array.filename)));
      entry->set_line_no(CurrentLine(caller));
    } else if (IsCode(frame)) {  // the file that PHP was started with
      entry->set_file_name(Utf8(View(frame->func->op_array.filename)));
      entry->set_line_no(CurrentLine(frame));
    }
    const bool has_arguments = options.arguments && (options.innermost_arguments || number > 1);
    if (has_arguments && ZEND_CALL_NUM_ARGS(frame) > 0 &&
        frame->func->common.function_name != nullptr) {
      AppendArguments(frame, values, *entry->mutable_function_args());
    }
  }
}
