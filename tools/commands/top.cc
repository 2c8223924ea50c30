#include <algorithm>
#include <chrono>
#include <iostream>
#include <memory>
#include <vector>

#include "commands/commands.h"
#include "commands/message_input.h"
#include "io/escape.h"
#include "io/json.h"
#include "io/output.h"
#include "io/units.h"
#include "requests/statements.h"

namespace qmsg {
namespace {

using google::protobuf::DynamicCastToGenerated;
using quor::protobuf::Tarq::SqlQueries;

// From this many executions on, a statement that one place repeats in one request is suspicious.
constexpr std::uint64_t kSuspicious = 5;
constexpr double kMedian = 0.5;
constexpr double kSlow = 0.95;

struct TopOptions {
  MessageOptions messages;
  double limit = 20;
  bool json = false;
};

std::string Sites(const StatementGroup& group) {
  return CountText(group.sites.size()) +
         (group.sites.size() == StatementGroup::kMostSites ? "+" : "");
}

std::string Name(const StatementGroup& group) {
  return group.fingerprint.empty() ? "(other statements)" : EscapeUnquoted(group.fingerprint);
}

std::string Line(const StatementGroup& group) {
  std::string text = AlignRight(CountText(group.count), 9);
  for (const std::chrono::nanoseconds time :
       {group.total, group.times.Quantile(kMedian), group.times.Quantile(kSlow)}) {
    text += ' ' + AlignRight(TimeText(time), 11);
  }
  text += AlignRight(CountText(group.failed), 8) + AlignRight(Sites(group), 7);
  text += "  " + Name(group) + '\n';
  if (group.most_repeated >= kSuspicious) {
    text += std::string(62, ' ') + "repeated " + CountText(group.most_repeated) +
            " times from one place in request " + EscapeUnquoted(group.repeated_in) + '\n';
  }
  return text;
}

std::string JsonLine(const StatementGroup& group) {
  JsonWriter json(JsonWriter::Style::kCompact);
  const auto seconds = [](std::chrono::nanoseconds time) {
    return static_cast<double>(time.count()) / 1e9;
  };
  json.BeginObject().Key("statement").String(group.fingerprint);
  json.Key("count").Number(group.count);
  json.Key("total_seconds").Number(seconds(group.total));
  json.Key("p50_seconds").Number(seconds(group.times.Quantile(kMedian)));
  json.Key("p95_seconds").Number(seconds(group.times.Quantile(kSlow)));
  json.Key("failed").Number(group.failed).Key("rows").Number(group.rows);
  json.Key("call_sites").Number(group.sites.size());
  json.Key("most_repeated").Number(group.most_repeated);
  if (group.most_repeated > 0) {
    json.Key("repeated_in").String(group.repeated_in);
  }
  return json.EndObject().text() + '\n';
}

ExitCode PrintTop(const TopOptions& options) {
  StatementGroups groups;
  const ExitCode code = ForEachMessage(options.messages, false, [&](const Received& received) {
    if (received.type == SqlQueries::descriptor()) {
      groups.Add(*DynamicCastToGenerated<SqlQueries>(Parse(received).get()));
    }
  });
  Output& output = Output::Standard();
  if (!options.json) {
    output.Write("    count       total         p50         p95  failed  sites  statement\n");
  }
  const std::vector<const StatementGroup*> sorted = groups.ByTotal();
  const std::size_t shown = std::min(sorted.size(), static_cast<std::size_t>(options.limit));
  for (std::size_t i = 0; i < shown; ++i) {
    output.Write(options.json ? JsonLine(*sorted[i]) : Line(*sorted[i]));
  }
  output.Flush();
  if (!options.json) {
    std::cerr << "qmsg: " << CountText(groups.count())
              << (groups.count() == 1 ? " statement, " : " statements, ")
              << CountText(sorted.size()) << " different, " << TimeText(groups.total());
    if (shown < sorted.size()) {
      std::cerr << "; " << shown << " shown, --limit shows more";
    }
    std::cerr << '\n';
  }
  return code;
}

}  // namespace

Command TopCommand() {
  auto options = std::make_shared<TopOptions>();
  options->messages.framing = Framing::kAny;
  options->messages.keep_going = true;
  options->messages.prints_at_end = true;
  return {
      "top",
      "List the SQL statements that took longest, those alike together",
      {{{"FILE"}, "Input file; default, or -: standard input", &options->messages.files, "FILE"},
       FormOption("--in", "Encoding of the input; default: binary", options->messages.form),
       {{"--limit"},
        "Number of statements to list; default: 20",
        BoundedNumber{&options->limit, 1, 100000},
        "COUNT"},
       {{"--json"}, "Print each as a JSON object on one line", &options->json}},
      "The capture is a stream of google.protobuf.Any, each behind its length, as the PHP\n"
      "extension writes it. Statements are alike if they differ only in literals, placeholders\n"
      "and the lengths of lists: each becomes ?, and a list (?+). The times of half of them and\n"
      "of 95 % are at most p50 and p95, which are exact to 3 %. A site is a call stack. One that\n"
      "executes a statement five times or more in one request is named: a query in a loop.",
      {"qmsg top --limit 5 stream.bin"},
      [options] { return PrintTop(*options); }};
}

}  // namespace qmsg
