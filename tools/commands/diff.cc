#include <google/protobuf/util/field_comparator.h>
#include <google/protobuf/util/message_differencer.h>

#include <memory>

#include "commands/commands.h"
#include "commands/message_input.h"
#include "io/escape.h"
#include "io/output.h"

namespace qmsg {
namespace {

namespace pb = google::protobuf;

struct DiffOptions {
  std::string a;
  std::string b;
  std::string type;
  Form form = Form::kBinary;
  Framing framing = Framing::kNone;
  Selection selection;
};

// The bytes beyond ASCII that are written as consecutive octal escapes from `at` on.
std::string OctalBytes(const std::string& text, std::size_t at) {
  const auto digit = [&text](std::size_t i, char most) {
    return i < text.size() && text[i] >= '0' && text[i] <= most;
  };
  std::string bytes;
  for (; at < text.size() && text[at] == '\\' && digit(at + 1, '3') && text[at + 1] >= '2' &&
         digit(at + 2, '7') && digit(at + 3, '7');
       at += 4) {
    bytes += static_cast<char>((text[at + 1] - '0') * 64 + (text[at + 2] - '0') * 8 +
                               (text[at + 3] - '0'));
  }
  return bytes;
}

// The differencer's report with characters beyond ASCII instead of their escapes.
std::string Readable(const std::string& report) {
  std::string text;
  for (std::size_t i = 0; i < report.size(); ++i) {
    const std::string bytes = OctalBytes(report, i);
    if (!bytes.empty()) {
      text += Escape(bytes);
      i += 4 * bytes.size() - 1;
    } else if (report[i] == '\\') {
      text += report.substr(i++, 2);
    } else {
      text += report[i];
    }
  }
  return text;
}

// One line for each field that differs; empty if the messages are equal.
std::string Differences(const Received& a, const Received& b) {
  if (a.type != b.type) {
    return "modified: type: " + a.type->full_name() + " -> " + b.type->full_name() + '\n';
  }
  pb::util::DefaultFieldComparator comparator;
  comparator.set_treat_nan_as_equal(true);
  pb::util::MessageDifferencer differencer;
  differencer.set_field_comparator(&comparator);
  std::string report;
  differencer.ReportDifferencesToString(&report);
  return differencer.Compare(*Parse(a), *Parse(b)) ? "" : Readable(report);
}

// Prints the differences between two readers' messages. Returns whether there are any.
bool Compare(MessageReader& a, MessageReader& b) {
  Output& output = Output::Standard();
  bool differ = false;
  for (;;) {
    Received of_a;
    Received of_b;
    const bool has_a = a.Next(of_a);
    const bool has_b = b.Next(of_b);
    if (!has_a && !has_b) {
      return differ;
    }
    const Received& there = has_a ? of_a : of_b;
    const std::string report = !has_a   ? "added: " + of_b.type->full_name() + '\n'
                               : !has_b ? "deleted: " + of_a.type->full_name() + '\n'
                                        : Differences(of_a, of_b);
    if (report.empty()) {
      continue;
    }
    differ = true;
    if (there.framing != Framing::kNone) {
      output.Write("message " + std::to_string(there.index) + ":\n");
    }
    output.Write(report);
  }
}

ExitCode Diff(const DiffOptions& options) {
  if (options.a == "-" && options.b == "-") {
    throw Error(ExitCode::kWrongUse, "only one of A and B can be standard input");
  }
  const auto* type = FindType(options.type, options.framing, true);
  MessageReader a(options.a, options.form, options.framing, options.selection, type);
  MessageReader b(options.b, options.form, options.framing, options.selection, type);
  const bool differ = Compare(a, b);
  a.TellUnknownTypes();
  b.TellUnknownTypes();
  return differ ? ExitCode::kBadData : ExitCode::kFine;
}

}  // namespace

Command DiffCommand() {
  auto options = std::make_shared<DiffOptions>();
  Command command{
      "diff",
      "Compare messages field by field",
      {{{"A"}, "A file; -: standard input", &options->a, "FILE", {}, Presence::kRequired},
       {{"B"}, "The file to compare it with", &options->b, "FILE", {}, Presence::kRequired},
       TypeOption(options->type),
       FormOption("--in", "Encoding of both; default: binary", options->form),
       FramingOption(options->framing)},
      std::string(kFramingHelp) +
          "\n\nPrints a line for each field that B adds, deletes or modifies. The n-th message of\n"
          "one stream is compared with the n-th of the other. Exit status 1 if anything\n"
          "differs.",
      {"qmsg diff --type SqlQueries before.bin after.bin || true"},
      [options] { return Diff(*options); }};
  AddSelection(options->selection, command);
  return command;
}

}  // namespace qmsg
