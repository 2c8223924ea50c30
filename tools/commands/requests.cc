#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <iostream>
#include <memory>
#include <vector>

#include "commands/commands.h"
#include "commands/message_input.h"
#include "io/escape.h"
#include "io/json.h"
#include "io/output.h"
#include "io/units.h"
#include "requests/summaries.h"

namespace qmsg {
namespace {

enum class Order { kBegin, kTotal, kSql, kStatements, kErrors, kMemory };

struct RequestsOptions {
  MessageOptions messages;
  Order order = Order::kBegin;
  double limit = 20;
  bool json = false;
};

// What requests are sorted by, the largest first.
double Key(const RequestSummary& request, Order order) {
  switch (order) {
    case Order::kTotal:
      return request.end ? static_cast<double>(request.end->total.count()) : 0;
    case Order::kSql:
      return static_cast<double>(request.sql.count());
    case Order::kStatements:
      return static_cast<double>(request.statements);
    case Order::kErrors:
      return static_cast<double>(request.errors + request.failed);
    case Order::kMemory:
      return request.end ? static_cast<double>(request.end->peak_memory) : 0;
    case Order::kBegin:
      break;
  }
  return 0;
}

// "2026-11-22 21:53:09.134"; empty if the year has not four digits.
std::string TimeOfDay(const RequestSummary::Begin& begin) {
  constexpr std::int64_t kYear1 = -62135596800;
  constexpr std::int64_t kYear10000 = 253402300800;
  if (begin.seconds < kYear1 || begin.seconds >= kYear10000 || begin.nanos < 0 ||
      begin.nanos > 999999999) {
    return "";
  }
  const auto seconds = static_cast<std::time_t>(begin.seconds);
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d:%02d.%03d",
                parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min,
                parts.tm_sec, begin.nanos / 1000000);
  return text.data();
}

std::string Percent(const RequestSummary& request) {
  if (!request.end || request.end->total.count() <= 0) {
    return "-";
  }
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.0f",
                100 * static_cast<double>(request.sql.count()) /
                    static_cast<double>(request.end->total.count()));
  return text.data();
}

constexpr const char* kHead =
    "begin, UTC                status       total         SQL     %  statements  errors        peak"
    "  request\n";

std::string Line(const RequestSummary& request) {
  std::string text = request.begin ? TimeOfDay(*request.begin) : "";
  text.resize(23, ' ');
  text += AlignRight(request.end ? std::to_string(request.end->status) : "-", 9);
  text += ' ' + AlignRight(request.end ? TimeText(request.end->total) : "no end", 11);
  text += ' ' + AlignRight(TimeText(request.sql), 11);
  text += AlignRight(Percent(request), 6);
  text += ' ' + AlignRight(CountText(request.statements), 11);
  text += AlignRight(CountText(request.errors + request.failed), 8);
  text += ' ' + AlignRight(request.end ? SizeText(request.end->peak_memory) : "-", 11);
  text += "  " + EscapeUnquoted(request.queue_id);
  if (request.begin) {
    text += "  " +
            (request.begin->method.empty() ? "" : EscapeUnquoted(request.begin->method) + ' ') +
            EscapeUnquoted(request.begin->target);
  }
  return text + '\n';
}

std::string JsonLine(const RequestSummary& request) {
  JsonWriter json(JsonWriter::Style::kCompact);
  const auto seconds = [](std::chrono::nanoseconds time) {
    return static_cast<double>(time.count()) / 1e9;
  };
  json.BeginObject().Key("queue_id").String(request.queue_id);
  if (request.begin) {
    json.Key("begin").String(TimeOfDay(*request.begin));
    json.Key("method").String(request.begin->method);
    json.Key("target").String(request.begin->target);
  }
  json.Key("ended").Bool(request.end.has_value());
  if (request.end) {
    json.Key("status").Number(request.end->status);
    json.Key("total_seconds").Number(seconds(request.end->total));
    json.Key("peak_memory").Number(request.end->peak_memory);
  }
  json.Key("sql_seconds").Number(seconds(request.sql));
  json.Key("statements").Number(request.statements);
  json.Key("failed_statements").Number(request.failed);
  json.Key("errors").Number(request.errors);
  return json.EndObject().text() + '\n';
}

// The first requests in an order. Those that are equal stay as they came.
class Sorted {
 public:
  Sorted(Order order, std::size_t limit) : order_(order), limit_(limit) {}

  void Add(const RequestSummary& request) {
    const double key = Key(request, order_);
    const auto place = std::upper_bound(
        requests_.begin(), requests_.end(), key,
        [this](double wanted, const RequestSummary& one) { return wanted > Key(one, order_); });
    if (place == requests_.end() && requests_.size() >= limit_) {
      return;
    }
    requests_.insert(place, request);
    if (requests_.size() > limit_) {
      requests_.pop_back();
    }
  }

  const std::vector<RequestSummary>& requests() const { return requests_; }

 private:
  Order order_;
  std::size_t limit_;
  std::vector<RequestSummary> requests_;
};

ExitCode PrintRequests(const RequestsOptions& options) {
  Output& output = Output::Standard();
  std::uint64_t count = 0;
  std::uint64_t unfinished = 0;
  const auto print = [&](const RequestSummary& request) {
    output.Write(options.json ? JsonLine(request) : Line(request));
  };
  Sorted sorted(options.order, static_cast<std::size_t>(options.limit));
  const bool is_sorted = options.order != Order::kBegin;
  Summaries summaries([&](const RequestSummary& request) {
    ++count;
    unfinished += request.end ? 0 : 1;
    is_sorted ? sorted.Add(request) : print(request);
  });
  if (!options.json) {
    output.Write(kHead);
  }
  const ExitCode code = ForEachMessage(options.messages, false, [&](const Received& received) {
    if (Summaries::Counts(received.type)) {
      summaries.Add(*Parse(received));
    }
  });
  summaries.Finish();
  std::for_each(sorted.requests().begin(), sorted.requests().end(), print);
  output.Flush();
  if (!options.json) {
    std::cerr << "qmsg: " << count << (count == 1 ? " request, " : " requests, ") << unfinished
              << " without an end";
    if (is_sorted && count > sorted.requests().size()) {
      std::cerr << "; " << sorted.requests().size() << " shown, --limit shows more";
    }
    std::cerr << '\n';
  }
  return code;
}

}  // namespace

Command RequestsCommand() {
  auto options = std::make_shared<RequestsOptions>();
  options->messages.framing = Framing::kAny;
  options->messages.keep_going = true;
  options->messages.prints_at_end = true;
  Command command{
      "requests",
      "List the requests of a capture, a line for each",
      {{{"FILE"}, "Input file; default, or -: standard input", &options->messages.files, "FILE"},
       FormOption("--in", "Encoding of the input; default: binary", options->messages.form),
       Choice<Order>("--sort",
                     "What to list the largest of first; default: in the order of the file",
                     options->order,
                     {{"total", Order::kTotal},
                      {"sql", Order::kSql},
                      {"statements", Order::kStatements},
                      {"errors", Order::kErrors},
                      {"memory", Order::kMemory}}),
       {{"--limit"},
        "Number of requests to list with --sort; default: 20",
        BoundedNumber{&options->limit, 1, 100000},
        "COUNT"},
       {{"--json"}, "Print each request as a JSON object on one line", &options->json}},
      "The capture is a stream of google.protobuf.Any, each behind its length, as the PHP\n"
      "extension writes it. A request is what has one queue_id. Its time in SQL and its\n"
      "statements are those of its SqlQueries; its errors are its Error messages and its\n"
      "statements that failed; its peak of memory is in bytes, as php-qmsg records it.",
      {"qmsg requests --sort total stream.bin"},
      [options] { return PrintRequests(*options); }};
  return command;
}

}  // namespace qmsg
