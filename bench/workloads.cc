#include "workloads.h"

#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>

#include <array>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace bench {
namespace {

namespace QuorPHP = quor::protobuf::QuorPHP;
using Strings = std::vector<std::string>;

constexpr std::int64_t kStart = 1700000000;
constexpr int kNanosPerSecond = 1000000000;

// Hashes consecutive numbers, so that neighbours differ.
std::uint32_t Spread(std::uint32_t number) {
  number = (number ^ (number >> 16U)) * 0x7feb352dU;
  number = (number ^ (number >> 15U)) * 0x846ca68bU;
  return number ^ (number >> 16U);
}

std::uint32_t Below(std::uint32_t limit, std::uint32_t number) { return Spread(number) % limit; }

int IntBelow(std::uint32_t limit, std::uint32_t number) {
  return static_cast<int>(Below(limit, number));
}

const std::string& Pick(const Strings& strings, std::uint32_t number) {
  return strings[Below(static_cast<std::uint32_t>(strings.size()), number)];
}

std::string Join(std::initializer_list<std::string_view> parts) {
  std::string all;
  for (const std::string_view part : parts) {
    all += part;
  }
  return all;
}

Strings MakeClasses() {
  const Strings areas = {"Catalog", "Checkout", "Customer", "Shipping", "Search", "Billing"};
  const Strings kinds = {"Repository", "Controller", "Service", "EventSubscriber", "Factory"};
  const Strings things = {"Product", "Order", "Address", "Invoice", "Cart", "PriceRule", "Stock"};
  Strings classes;
  for (const std::string& area : areas) {
    for (const std::string& thing : things) {
      for (const std::string& kind : kinds) {
        classes.push_back(Join({"Shop\\", area, "\\", thing, kind}));
      }
    }
  }
  return classes;
}

const Strings& Classes() {
  static const auto& classes = *new Strings(MakeClasses());
  return classes;
}

Strings MakeFunctions() {
  const Strings methods = {"findByCriteria", "__construct", "handle",      "loadFromCache",
                           "save",           "toArray",     "dispatch",    "getTotalWithTax",
                           "validate",       "hydrate",     "onPostFlush", "applyDiscounts"};
  Strings functions = {"array_map", "preg_match_all", "PDOStatement::execute", "json_decode"};
  for (const std::string& class_name : Classes()) {
    for (const std::string& method : methods) {
      functions.push_back(Join({class_name, "::", method}));
    }
  }
  return functions;
}

const Strings& Functions() {
  static const auto& functions = *new Strings(MakeFunctions());
  return functions;
}

// The file of a class: "Shop\Cart\X" is in "/srv/www/shop/src/Cart/X.php".
Strings MakeFiles() {
  Strings files;
  for (const std::string& class_name : Classes()) {
    std::string file = "/srv/www/shop/src" + class_name.substr(class_name.find('\\')) + ".php";
    for (char& c : file) {
      c = c == '\\' ? '/' : c;
    }
    files.push_back(file);
  }
  return files;
}

const Strings& Files() {
  static const auto& files = *new Strings(MakeFiles());
  return files;
}

Strings MakeStatements() {
  const Strings heads = {
      "SELECT p.id, p.name, p.price FROM product p JOIN stock s USING (id) WHERE p.category_id = ",
      "SELECT o.id, o.total FROM customer_order o WHERE o.status = 'open' AND o.customer_id = ",
      "UPDATE cart_item SET quantity = quantity + 1, changed_at = NOW() WHERE cart_id = ",
      "INSERT INTO page_view SET session_id = ?, path = ?, referrer = ?, product_id = ",
      "DELETE FROM session WHERE expires_at < NOW() - INTERVAL 30 MINUTE AND shard = ",
  };
  const Strings tails = {"", " /* shop:read */", " /* route:checkout_confirm */"};
  Strings statements;
  for (std::uint32_t i = 0; i < 300; ++i) {
    statements.push_back(heads[i % heads.size()] + std::to_string(Below(1000000, i)) +
                         Pick(tails, i));
  }
  return statements;
}

const Strings& Statements() {
  static const auto& statements = *new Strings(MakeStatements());
  return statements;
}

Strings MakeArguments() {
  Strings arguments;
  for (std::uint32_t i = 0; i < 100; ++i) {
    arguments.push_back(R"({"order":)" + std::to_string(Below(1000000, i)) +
                        R"(,"notify":true,"retries":3,"channel":"mail","template":"receipt.de"})");
  }
  return arguments;
}

const Strings& Arguments() {
  static const auto& arguments = *new Strings(MakeArguments());
  return arguments;
}

// Passages of 20 to 1,500 bytes, alternately in the three scripts.
Strings MakePassages() {
  const std::array<Strings, 3> words = {
      Strings{"commande ", "garçon ", "the order ", "was shipped ", "über Nacht ",
              "to the address ", "años ", "with care, ", "naïve ", "and paid in full. "},
      Strings{"заказ ", "был ", "отправлен ", "в город ", "вчера, ", "товар ", "на складе ",
              "получен. ", "клиент ", "доволен "},
      Strings{"订单", "已经", "发货，", "客户", "在北京", "收到了", "商品。", "价格", "很便宜",
              "谢谢"}};
  Strings passages;
  for (std::uint32_t i = 0; i < 300; ++i) {
    const std::size_t size = 20 + Below(1100, i);
    std::string passage;
    for (std::uint32_t word = 0; passage.size() < size; ++word) {
      passage += Pick(words[i % words.size()], i * 1000 + word);
    }
    passages.push_back(passage);
  }
  return passages;
}

const Strings& Passages() {
  static const auto& passages = *new Strings(MakePassages());
  return passages;
}

void FillArguments(std::uint32_t number, QuorPHP::QuorArray& arguments) {
  QuorPHP::QuorArrayValue* const first = arguments.add_values();
  first->set_int_key(0);
  first->mutable_value()->set_value_type(QuorPHP::QVal::INTEGER);
  first->mutable_value()->set_int_value(Below(1000000, number));
  if (number % 2 == 0) {
    QuorPHP::QuorArrayValue* const second = arguments.add_values();
    second->set_int_key(1);
    second->mutable_value()->set_value_type(QuorPHP::QVal::STRING);
    second->mutable_value()->set_string_value(Pick(Classes(), number));
  }
}

void FillFrame(std::uint32_t id, std::uint32_t number, QuorPHP::StackTraceFrame& frame) {
  frame.set_frame_id(id);
  frame.set_function_name(Pick(Functions(), number));
  frame.set_file_name(Pick(Files(), number));
  frame.set_line_no(1 + Below(900, number));
  if (number % 4 == 0) {
    FillArguments(number, *frame.mutable_function_args());
  }
}

void FillQuery(std::uint32_t number, Tarq::SqlQuery& query) {
  query.set_statement_type(1 + IntBelow(4, number));
  query.set_connection_id(number % 8 == 7 ? 1 : 0);
  query.set_driver_type(2);
  if (number % 3 != 0) {
    query.set_transaction_id(number / 10);
  }
  query.set_query(Pick(Statements(), number));
  query.set_flags(5);
  if (number % 50 == 49) {
    query.set_status(1);
    query.mutable_error()->set_message(
        "SQLSTATE[40001]: Serialization failure: 1213 Deadlock found");
  }
  query.mutable_duration()->set_nanos(IntBelow(20000000, number));
  query.set_rows(IntBelow(200, number));
  constexpr std::uint32_t kFrames = 10;
  for (std::uint32_t i = 0; i < kFrames; ++i) {
    FillFrame(i, number * kFrames + i, *query.mutable_stack_trace()->add_frames());
  }
}

void FillTime(std::uint32_t number, google::protobuf::Timestamp& time) {
  time.set_seconds(kStart + number);
  time.set_nanos(IntBelow(kNanosPerSecond, number));
}

void FillAttributes(std::uint32_t number, JQ::AttrList& attributes) {
  auto& list = *attributes.mutable_attr_list();
  QuorPHP::QVal& priority = list[1];
  priority.set_value_type(QuorPHP::QVal::INTEGER);
  priority.set_int_value(Below(10, number));
  QuorPHP::QVal& owner = list[2];
  owner.set_value_type(QuorPHP::QVal::STRING);
  owner.set_string_value(Pick(Classes(), number));
  QuorPHP::QVal& persistent = list[3];
  persistent.set_value_type(QuorPHP::QVal::BOOL);
  persistent.set_bool_value(number % 2 == 0);
  QuorPHP::QVal& timeout = list[100];
  timeout.set_value_type(QuorPHP::QVal::DOUBLE);
  timeout.set_double_value(0.25 * Below(400, number));
}

void FillJob(std::uint32_t number, JQ::Job& job) {
  job.set_job_id(100000 + number);
  job.set_type(1 + IntBelow(3, number));
  FillAttributes(number, *job.mutable_attr_list());
  FillTime(number, *job.mutable_created());
  job.set_queue_id(1 + Below(8, number));
  job.set_queue_name(number % 2 == 0 ? "default" : "mail-notifications-low");
  job.set_env("APP_ENV=production\nAPP_LOCALE=de_DE\nAPP_SHARD=4");
  job.set_args(Pick(Arguments(), number));
  job.set_body(Pick(Files(), number));
  FillTime(number + 60, *job.mutable_scheduled_time());
  job.set_status(IntBelow(6, number));
  job.set_retry_count(IntBelow(3, number));
  if (number % 2 == 0) {
    job.set_output("sent 1 message to 1 recipient, 0 failed\n");
    FillTime(number + 62, *job.mutable_completion_time());
  }
}

}  // namespace

void FillStatements(int count, Tarq::SqlQueries& queries) {
  queries.set_queue_id("7f3c9d52-1a4e-4b0e-9d26-0c5be1a8f410");
  for (int i = 0; i < count; ++i) {
    FillQuery(static_cast<std::uint32_t>(i), *queries.add_queries());
  }
}

void Fill(Tarq::SqlQuery& query) { FillQuery(1, query); }

void Fill(Tarq::SqlQueries& queries) { FillStatements(100, queries); }

void Fill(Tarq::Functions& functions) {
  functions.set_queue_id("7f3c9d52-1a4e-4b0e-9d26-0c5be1a8f410");
  for (std::uint32_t i = 0; i < 2000; ++i) {
    Tarq::Function& function = *functions.add_functions();
    const int exclusive = IntBelow(3000000, i);
    function.set_function_name(Pick(Functions(), i));
    function.set_times_called(1 + Below(500, i));
    function.mutable_duration_inclusive()->set_nanos(exclusive + IntBelow(9000000, i + 1));
    function.mutable_duration_exclusive()->set_nanos(exclusive);
    if (i % 4 != 0) {
      function.set_function_type(Tarq::Function::USER);
      function.set_file_name(Pick(Files(), i));
      function.set_line_start(1 + Below(900, i));
      function.set_line_end(function.line_start() + 20);
    }
  }
}

void Fill(JQ::JobList& list) {
  for (std::uint32_t i = 0; i < 500; ++i) {
    FillJob(i, *list.add_jobs());
  }
}

void Fill(Monitor::Event& event) {
  event.set_event_type(Monitor::Event::PhpError);
  event.set_rule_name("PHP errors in the checkout");
  FillTime(0, *event.mutable_timestamp());
  event.mutable_function()->set_function_name(Pick(Functions(), 0));
  FillArguments(0, *event.mutable_function()->mutable_function_args());
  event.mutable_function()->set_file_name(Pick(Files(), 0));
  event.mutable_function()->set_line_no(118);
  event.mutable_php_error()->set_error_type(2);
  event.mutable_php_error()->set_error_type_str("E_WARNING");
  event.mutable_php_error()->set_file_name(Pick(Files(), 0));
  event.mutable_php_error()->set_line_no(118);
  event.mutable_php_error()->set_message("Undefined array key \"price\"");
  for (std::uint32_t i = 0; i < 16; ++i) {
    FillFrame(i, i, *event.add_stack_trace());
  }
  event.set_codetrace(true);
}

void Fill(Tarq::Storage& storage) {
  storage.set_queue_id("7f3c9d52-1a4e-4b0e-9d26-0c5be1a8f410");
  storage.set_name_space("reviews");
  constexpr std::uint32_t kPassagesPerEntry = 10;
  const Strings& passages = Passages();
  for (std::uint32_t i = 0; i < passages.size(); i += kPassagesPerEntry) {
    Tarq::StorageData& entry = *storage.add_storage();
    entry.set_key(Pick(Classes(), i));
    for (std::uint32_t j = 0; j < kPassagesPerEntry; ++j) {
      entry.add_data(passages[i + j]);
    }
  }
}

std::string BytesOf(const google::protobuf::MessageLite& message) {
  std::string bytes;
  {
    google::protobuf::io::StringOutputStream stream(&bytes);
    google::protobuf::io::CodedOutputStream output(&stream);
    output.SetSerializationDeterministic(true);
    message.SerializeToCodedStream(&output);
  }
  return bytes;
}

}  // namespace bench
