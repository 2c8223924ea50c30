#include "report.h"

#include <google/protobuf/util/time_util.h>

#include <algorithm>
#include <cmath>

#include "text.h"
#include "transaction_tree.h"

namespace {

using quor::protobuf::QuorPHP::RInitData;
using quor::protobuf::QuorPHP::RShutdownData;
using quor::protobuf::QuorPHP::StackTraceFrame;
using quor::protobuf::Tarq::Function;
using quor::protobuf::Tarq::SqlConnection;
using quor::protobuf::Tarq::SqlQuery;

constexpr std::size_t kSlowest = 5;
constexpr std::size_t kShort = 70;   // characters of a statement in a table
constexpr std::size_t kLong = 1000;  // of one shown in full
constexpr std::size_t kName = 200;

void PrintEntry(std::ostream& out, const std::string& name, const std::string& value) {
  out << "  " << AlignLeft(name, 12) << value << '\n';
}

void PrintBegin(const RInitData& begin, std::ostream& out) {
  const auto& php = begin.php_version();
  // A script on the command line has no method.
  const std::string method = begin.method().empty() ? "" : LineText(begin.method(), kName) + " ";
  PrintEntry(out, "asked for", method + LineText(begin.target(), kName));
  PrintEntry(out, "begun",
             google::protobuf::util::TimeUtil::ToString(begin.timestamp()) + " on " +
                 LineText(begin.node_name(), kName) + ", pid " + std::to_string(begin.pid()));
  PrintEntry(out, "PHP",
             std::to_string(php.major_version()) + "." + std::to_string(php.minor_version()) + "." +
                 std::to_string(php.release()));
}

void PrintEnd(const RShutdownData& end, std::ostream& out) {
  PrintEntry(out, "status", std::to_string(end.http_response_code()));
  PrintEntry(out, "took", TimeText(Seconds(end.total_time())));
  PrintEntry(
      out, "memory",
      MemoryText(end.memory_usage()) + " at the end, " + MemoryText(end.memory_peak_usage()) +
          " at most, " +
          (end.memory_limit() == 0 ? "no limit" : MemoryText(end.memory_limit()) + " limit"));
}

void PrintTotals(const Request& request, std::ostream& out) {
  std::int64_t failed = 0;
  std::int64_t rows = 0;
  double seconds = 0;
  for (const SqlQuery& query : request.queries.queries()) {
    failed += query.has_error() ? 1 : 0;
    rows += query.rows();
    seconds += Seconds(query.duration());
  }
  PrintEntry(out, "statements",
             std::to_string(request.queries.queries_size()) + ", " + std::to_string(failed) +
                 " failed, " + CountText(rows, "row", "rows"));
  std::string share;
  if (request.end && Seconds(request.end->total_time()) > 0) {
    const double percent = 100 * seconds / Seconds(request.end->total_time());
    share = ", " + std::to_string(std::lround(percent)) + " % of the request";
  }
  PrintEntry(out, "SQL time", TimeText(seconds) + share);
}

void PrintSlowest(const Request& request, const TransactionTree& tree, std::ostream& out) {
  std::vector<const SqlQuery*> queries;
  for (const SqlQuery& query : request.queries.queries()) {
    queries.push_back(&query);
  }
  std::stable_sort(queries.begin(), queries.end(), [](const SqlQuery* a, const SqlQuery* b) {
    return Seconds(a->duration()) > Seconds(b->duration());
  });
  queries.resize(std::min(queries.size(), kSlowest));

  out << "\nSlowest statements\n        time    rows  transaction  statement\n";
  for (const SqlQuery* query : queries) {
    out << AlignRight(TimeText(Seconds(query->duration())), 12)
        << AlignRight(std::to_string(query->rows()), 8) << "  "
        << AlignLeft(query->has_transaction_id() ? tree.Path(query->transaction_id()) : "-", 11)
        << "  " << LineText(query->query(), kShort) << '\n';
  }
}

// Code outside of functions has the path of its file for a name.
std::string ShortName(const std::string& name) { return name.substr(name.rfind('/') + 1); }

void PrintFunctions(const Request& request, std::ostream& out) {
  std::vector<const Function*> functions;
  for (const Function& function : request.functions.functions()) {
    functions.push_back(&function);
  }
  std::stable_sort(functions.begin(), functions.end(), [](const Function* a, const Function* b) {
    return Seconds(a->duration_exclusive()) > Seconds(b->duration_exclusive());
  });
  functions.resize(std::min(functions.size(), kSlowest));

  out << "\nFunctions that took longest themselves\n        time   with calls  function\n";
  for (const Function* function : functions) {
    out << AlignRight(TimeText(Seconds(function->duration_exclusive())), 12)
        << AlignRight(TimeText(Seconds(function->duration_inclusive())), 13) << "  "
        << LineText(ShortName(function->function_name()), kShort) << '\n';
  }
}

void PrintFrame(const StackTraceFrame& frame, std::ostream& out) {
  out << AlignRight("#" + std::to_string(frame.frame_id()), 8) << "  "
      << LineText(frame.function_name(), kName) << '(';
  std::string separator;
  for (const auto& argument : frame.function_args().values()) {
    out << separator;
    if (argument.has_string_key()) {
      out << LineText(argument.string_key(), kName) << ": ";
    }
    out << ValueText(argument.value(), kShort);
    separator = ", ";
  }
  out << ")\n            ";
  if (frame.file_name().empty()) {
    out << "called by PHP itself\n";
  } else {
    out << "at " << LineText(frame.file_name(), kName) << ':' << frame.line_no() << '\n';
  }
}

void PrintFailed(const Request& request, const TransactionTree& tree, std::ostream& out) {
  for (int i = 0; i < request.queries.queries_size(); ++i) {
    const SqlQuery& query = request.queries.queries(i);
    if (!query.has_error()) {
      continue;
    }
    out << "\nFailed: statement " << i + 1 << " of " << request.queries.queries_size() << '\n'
        << "  " << LineText(query.query(), kLong) << '\n'
        << "  error " << query.status() << ": " << LineText(query.error().message(), kLong) << '\n'
        << "  after " << TimeText(Seconds(query.duration()));
    if (query.has_transaction_id()) {
      out << ", in transaction " << tree.Path(query.transaction_id());
    }
    out << '\n';
    for (const StackTraceFrame& frame : query.stack_trace().frames()) {
      PrintFrame(frame, out);
    }
  }
}

void PrintTransactions(const Request& request, const TransactionTree& tree, std::ostream& out) {
  std::map<std::uint32_t, std::int64_t> statements;
  for (const SqlQuery& query : request.queries.queries()) {
    if (query.has_transaction_id()) {
      ++statements[query.transaction_id()];
    }
  }
  out << "\nTransactions, with those inside them\n        time    rows  statements  transaction\n";
  for (const auto& [transaction, depth] : tree.DepthFirst()) {
    out << AlignRight(TimeText(Seconds(transaction->duration())), 12)
        << AlignRight(std::to_string(transaction->rows()), 8)
        << AlignRight(std::to_string(statements[transaction->ident()]), 12) << "  ";
    // If the tree is deeper than the screen is wide, print the number alone.
    out << std::string(2 * std::min<std::size_t>(depth, 20), ' ') << (depth > 0 ? "└ " : "")
        << transaction->ident();
    if (transaction->has_parent_id()) {
      out << " in " << transaction->parent_id();
    }
    out << '\n';
  }
}

void PrintRequest(const Request& request, std::ostream& out) {
  const TransactionTree tree(request.transactions);
  out << "Request " << LineText(request.queue_id, kName) << '\n';
  if (request.begin) {
    PrintBegin(*request.begin, out);
  }
  if (request.end) {
    PrintEnd(*request.end, out);
  } else {
    PrintEntry(out, "took", "unknown: the record of its end is missing");
  }
  for (const SqlConnection& connection : request.connections.connections()) {
    PrintEntry(out, "database",
               std::to_string(connection.ident()) + ": " + LineText(connection.dsn(), kName));
  }
  PrintTotals(request, out);
  if (request.queries.queries_size() > 0) {
    PrintSlowest(request, tree, out);
  }
  if (request.functions.functions_size() > 0) {
    PrintFunctions(request, out);
  }
  PrintFailed(request, tree, out);
  if (request.transactions.transactions_size() > 0) {
    PrintTransactions(request, tree, out);
  }
  out << '\n';
}

void PrintContent(const std::string& type, const Content& content, std::ostream& out) {
  out << AlignRight(std::to_string(content.records), 9)
      << AlignRight(std::to_string(content.bytes), 9)
      << AlignRight(std::to_string(content.messages), 10)
      << AlignRight(std::to_string(content.fields), 8) << "  " << type << '\n';
}

}  // namespace

void PrintReport(const Recording& recording, std::ostream& out) {
  for (const Request& request : recording.requests) {
    PrintRequest(request, out);
  }
  out << "Read by reflection\n  records    bytes  messages  fields  type\n";
  Content total;
  for (const auto& [type, content] : recording.content) {
    PrintContent(type, content, out);
    total += content;
  }
  PrintContent("in all", total, out);
}
