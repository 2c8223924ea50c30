// The messages of the workloads as plain structs, for code without generated classes. `Text` is
// std::string for a copy or std::string_view for a view of the bytes.

#ifndef QMSG_IMPLEMENTATIONS_STRUCTS_H_
#define QMSG_IMPLEMENTATIONS_STRUCTS_H_

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace structs {

// A Timestamp or a Duration.
struct Time {
  std::int64_t seconds = 0;
  std::int32_t nanos = 0;
};

template <typename Text>
struct Json {
  Text text;
};

template <typename Text>
struct Value {
  std::int32_t type = 0;
  std::variant<std::monostate, bool, Text, std::int64_t, double, Json<Text>, Time> value;
};

template <typename Text>
struct ArrayElement {
  std::variant<std::monostate, Text, std::int64_t> key;
  std::optional<Value<Text>> value;
};

template <typename Text>
struct Array {
  std::vector<ArrayElement<Text>> elements;
};

template <typename Text>
struct Frame {
  std::uint32_t id = 0;
  Text function_name;
  Text file_name;
  std::uint32_t line = 0;
  std::optional<Array<Text>> arguments;
};

template <typename Text>
struct StackTrace {
  std::vector<Frame<Text>> frames;
};

template <typename Text>
struct SqlError {
  Text message;
};

template <typename Text>
struct SqlQuery {
  std::int32_t statement_type = 0;
  std::optional<std::uint32_t> connection;
  std::optional<std::int32_t> driver;
  std::optional<std::uint32_t> transaction;
  Text query;
  std::int32_t status = 0;
  std::uint64_t flags = 0;
  std::optional<SqlError<Text>> error;
  std::optional<Time> duration;
  std::int32_t rows = 0;
  std::optional<StackTrace<Text>> stack_trace;
};

template <typename Text>
struct SqlQueries {
  Text queue_id;
  std::vector<SqlQuery<Text>> queries;
};

template <typename Text>
struct Function {
  std::int32_t type = 0;
  Text name;
  std::uint32_t times_called = 0;
  std::optional<Time> inclusive;
  std::optional<Time> exclusive;
  Text file_name;
  std::uint32_t line_start = 0;
  std::uint32_t line_end = 0;
};

template <typename Text>
struct Functions {
  Text queue_id;
  std::vector<Function<Text>> functions;
};

template <typename Text>
struct Attributes {
  std::map<std::int32_t, Value<Text>> values;
};

template <typename Text>
struct Job {
  std::int64_t id = 0;
  std::int32_t type = 0;
  std::optional<Attributes<Text>> attributes;
  std::optional<Time> created;
  std::int64_t queue_id = 0;
  Text queue_name;
  Text environment;
  Text arguments;
  Text body;
  std::optional<Time> scheduled;
  std::int32_t status = 0;
  std::int32_t retry_count = 0;
  Text output;
  std::optional<Time> completed;
};

template <typename Text>
struct JobList {
  std::vector<Job<Text>> jobs;
};

template <typename Text>
struct FunctionData {
  Text function_name;
  std::optional<Array<Text>> arguments;
  Text file_name;
  std::uint32_t line = 0;
};

template <typename Text>
struct PhpError {
  std::int32_t type = 0;
  Text type_name;
  Text file_name;
  std::uint32_t line = 0;
  Text message;
};

template <typename Text>
struct CustomEvent {
  Text type;
  Text text;
  std::optional<Value<Text>> user_data;
  std::int32_t severity = 0;
};

template <typename Text>
struct Event {
  std::int32_t type = 0;
  Text rule_name;
  std::optional<Time> time;
  std::optional<FunctionData<Text>> function;
  std::vector<Frame<Text>> stack_trace;
  std::variant<std::monostate, Time, std::uint64_t, PhpError<Text>, CustomEvent<Text>> data;
  bool code_trace = false;
};

template <typename Text>
struct StorageData {
  Text key;
  std::vector<Text> data;
};

template <typename Text>
struct Storage {
  Text queue_id;
  Text name_space;
  std::vector<StorageData<Text>> entries;
};

}  // namespace structs

#endif
