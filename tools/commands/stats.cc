#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <memory>

#include "commands/commands.h"
#include "commands/message_input.h"
#include "io/json.h"
#include "io/output.h"
#include "stats/field_bytes.h"
#include "stats/sizes.h"

namespace qmsg {
namespace {

struct StatsOptions {
  MessageOptions messages;
  std::size_t largest = 5;
  bool json = false;
};

struct OfType {
  Sizes sizes;
  FieldBytes fields;
};

struct Large {
  std::uint64_t size;
  std::string type;
  std::string file;
  std::uint64_t index;
  std::uint64_t offset;
};

class Statistics {
 public:
  explicit Statistics(std::size_t largest) : largest_(largest) {}

  void Add(const Received& received) {
    OfType& of_type = types_[received.type->full_name()];
    if (!of_type.fields.Add(received.bytes, received.type)) {
      throw InvalidMessage(received);
    }
    of_type.sizes.Add(received.bytes.size());
    Remember(received);
  }

  std::string Text() const;
  std::string Json() const;

 private:
  static constexpr std::array<std::pair<const char*, double>, 4> kQuantiles{
      {{"min", 0}, {"median", 0.5}, {"p99", 0.99}, {"max", 1}}};

  // Keeps the largest messages; of messages with the same size, the first.
  void Remember(const Received& received) {
    const std::uint64_t size = received.bytes.size();
    const auto place =
        std::upper_bound(large_.begin(), large_.end(), size,
                         [](std::uint64_t wanted, const Large& one) { return wanted > one.size; });
    if (place == large_.end() && large_.size() >= largest_) {
      return;
    }
    large_.insert(place, {size, received.type->full_name(), *received.input, received.index,
                          received.offset});
    if (large_.size() > largest_) {
      large_.pop_back();
    }
  }

  std::size_t largest_;
  std::map<std::string, OfType> types_;
  std::vector<Large> large_;
};

template <typename... Values>
std::string Format(const char* format, Values... values) {
  std::array<char, 256> text{};
  std::snprintf(text.data(), text.size(), format, values...);
  return text.data();
}

std::string Number(std::uint64_t number) { return std::to_string(number); }

std::string Statistics::Text() const {
  std::string text = Format("%10s %13s %9s %9s %9s %9s  %s\n", "messages", "bytes", "min", "median",
                            "99%", "max", "type");
  for (const auto& [name, of_type] : types_) {
    if (of_type.sizes.count() == 0) {
      continue;
    }
    text += Format("%10s %13s", Number(of_type.sizes.count()).c_str(),
                   Number(of_type.sizes.sum()).c_str());
    for (const auto& quantile : kQuantiles) {
      text += Format(" %9s", Number(of_type.sizes.Quantile(quantile.second)).c_str());
    }
    text += "  " + name + '\n';
  }
  for (const auto& [name, of_type] : types_) {
    const std::vector<FieldBytes::Row> rows = of_type.fields.Rows();
    if (rows.empty()) {
      continue;
    }
    text += "\n" + name + "\n" + Format("%13s %6s %12s  %s\n", "bytes", "%", "fields", "path");
    for (const FieldBytes::Row& row : rows) {
      const double share =
          100 * static_cast<double>(row.bytes) / static_cast<double>(of_type.sizes.sum());
      text += Format("%13s %6.1f %12s  ", Number(row.bytes).c_str(), share,
                     Number(row.occurrences).c_str()) +
              row.path + '\n';
    }
  }
  if (!large_.empty()) {
    text += "\nlargest messages\n" +
            Format("%13s %10s %13s  %s\n", "bytes", "message", "offset", "type, file");
  }
  for (const Large& one : large_) {
    text += Format("%13s %10s %13s  ", Number(one.size).c_str(), Number(one.index).c_str(),
                   Number(one.offset).c_str()) +
            one.type + ", " + one.file + '\n';
  }
  return text;
}

std::string Statistics::Json() const {
  JsonWriter json(JsonWriter::Style::kPretty);
  json.BeginObject().Key("types").BeginArray();
  for (const auto& [name, of_type] : types_) {
    if (of_type.sizes.count() == 0) {
      continue;
    }
    json.BeginObject().Key("type").String(name);
    json.Key("messages").Number(of_type.sizes.count()).Key("bytes").Number(of_type.sizes.sum());
    for (const auto& quantile : kQuantiles) {
      json.Key(quantile.first).Number(of_type.sizes.Quantile(quantile.second));
    }
    json.Key("fields").BeginArray();
    for (const FieldBytes::Row& row : of_type.fields.Rows()) {
      json.BeginObject().Key("path").String(row.path).Key("bytes").Number(row.bytes);
      json.Key("occurrences").Number(row.occurrences).EndObject();
    }
    json.EndArray().EndObject();
  }
  json.EndArray().Key("largest").BeginArray();
  for (const Large& one : large_) {
    json.BeginObject().Key("bytes").Number(one.size).Key("type").String(one.type);
    json.Key("file").String(one.file).Key("message").Number(one.index);
    json.Key("offset").Number(one.offset).EndObject();
  }
  json.EndArray().EndObject();
  return json.text() + '\n';
}

ExitCode PrintStats(const StatsOptions& options) {
  Statistics statistics(options.largest);
  const ExitCode code = ForEachMessage(options.messages, true,
                                       [&](const Received& received) { statistics.Add(received); });
  Output::Standard().Write(options.json ? statistics.Json() : statistics.Text());
  return code;
}

}  // namespace

Command StatsCommand() {
  auto options = std::make_shared<StatsOptions>();
  options->messages.prints_at_end = true;
  Command command{"stats", "Count messages, their sizes and the bytes of each field",
                  MessageInputOptions(options->messages)};
  command.options.push_back(
      {{"--largest"}, "Number of large messages to list; default: 5", &options->largest, "COUNT"});
  command.options.push_back({{"--json"}, "Print JSON", &options->json});
  AddSelection(options->messages.selection, command);
  command.notes = std::string(kFramingHelp) +
                  "\n\nThe bytes of a field include its tag, its length and everything inside it.";
  command.examples = {"qmsg stats --framing any stream.bin"};
  command.run = [options] { return PrintStats(*options); };
  return command;
}

}  // namespace qmsg
