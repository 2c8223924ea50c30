// The lower bound of reading and writing one message, by code for this message alone.

#include "sql_query.h"

#include <qmsg/tarq.pb.h>

#include <string>
#include <string_view>

#include "../../implementations/measure.h"

namespace {

using structs::SqlQuery;

// Every field set, with the longest numbers, besides the content of the workload.
std::string BytesOfFullQuery() {
  using namespace quor::protobuf;
  Tarq::SqlQuery query;
  query.set_statement_type(-1);
  query.set_connection_id(0);
  query.set_driver_type(-2);
  query.set_transaction_id(UINT32_MAX);
  query.set_query("SELECT 'ü€😀'");
  query.set_status(INT32_MIN);
  query.set_flags(UINT64_MAX);
  query.mutable_error();
  query.mutable_duration()->set_seconds(-1);
  query.mutable_duration()->set_nanos(-1);
  query.set_rows(INT32_MAX);
  QuorPHP::StackTraceFrame& frame = *query.mutable_stack_trace()->add_frames();
  frame.set_frame_id(UINT32_MAX);
  frame.set_function_name(std::string(200, 'f'));
  frame.set_file_name(std::string(20000, '/'));
  frame.set_line_no(128);
  QuorPHP::QuorArray& arguments = *frame.mutable_function_args();
  const auto add = [&arguments](QuorPHP::QVal::Type type) -> QuorPHP::QVal& {
    QuorPHP::QuorArrayValue& element = *arguments.add_values();
    element.set_int_key(-type);
    element.mutable_value()->set_value_type(type);
    return *element.mutable_value();
  };
  add(QuorPHP::QVal::UNDEF);
  add(QuorPHP::QVal::NUL);
  add(QuorPHP::QVal::BOOL).set_bool_value(false);
  add(QuorPHP::QVal::STRING).set_string_value("");
  add(QuorPHP::QVal::INTEGER).set_int_value(INT64_MIN);
  add(QuorPHP::QVal::DOUBLE).set_double_value(-0.0);
  add(QuorPHP::QVal::JSON).set_json_value("[]");
  QuorPHP::QVal& time = add(QuorPHP::QVal::TIMESTAMP);
  time.mutable_tm_value()->set_seconds(-62135596800);
  time.mutable_tm_value()->set_nanos(999999999);
  arguments.add_values()->set_string_key("");
  query.mutable_stack_trace()->add_frames();
  return query.SerializeAsString();
}

void CheckBothWays(const std::string& bytes) {
  SqlQuery<std::string> copy;
  Check(ReadSqlQuery(bytes, copy), "SqlQuery: refused");
  std::string buffer;
  CheckBytes("SqlQuery", std::string(WriteSqlQuery(copy, buffer)), bytes);
  SqlQuery<std::string_view> views;
  Check(ReadSqlQuery(bytes, views) && views.query == copy.query, "SqlQuery: refused as views");
}

// The reader has to refuse the same truncated bytes as the library.
void CheckCuts(const std::string& bytes) {
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    const std::string part = bytes.substr(0, size);
    SqlQuery<std::string> copy;
    quor::protobuf::Tarq::SqlQuery message;
    Check(ReadSqlQuery(part, copy) == message.ParseFromString(part),
          "SqlQuery: disagrees with the library on the first " + std::to_string(size) + " bytes");
  }
}

void MeasureAll(const Measurer& measurer) {
  const std::string bytes = measurer.Bytes("SqlQuery");
  CheckBothWays(bytes);
  CheckBothWays(BytesOfFullQuery());
  CheckCuts(bytes);
  SqlQuery<std::string> message;
  Check(!ReadSqlQuery("\x2A\x01\xFF", message), "SqlQuery: takes text that is not UTF-8");

  measurer.Time("SqlQuery", "parse", [&bytes] {
    SqlQuery<std::string> query;
    Keep(ReadSqlQuery(bytes, query));
    Keep(query);
  });
  measurer.Time("SqlQuery", "parse_views", [&bytes] {
    SqlQuery<std::string_view> query;
    Keep(ReadSqlQuery(bytes, query));
    Keep(query);
  });
  SqlQuery<std::string> query;
  ReadSqlQuery(bytes, query);
  std::string buffer;
  measurer.Time("SqlQuery", "serialise",
                [&query, &buffer] { Keep(*WriteSqlQuery(query, buffer).data()); });
}

}  // namespace

int main(int argc, char** argv) { return RunBenchmark(argc, argv, MeasureAll); }
