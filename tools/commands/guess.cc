#include <iostream>
#include <memory>

#include "commands/commands.h"
#include "commands/message_input.h"
#include "guess/hint.h"
#include "guess/ranking.h"
#include "io/json.h"
#include "io/output.h"
#include "io/units.h"
#include "schema/schema.h"

namespace qmsg {
namespace {

namespace pb = google::protobuf;

constexpr std::size_t kWidth = 80;
constexpr std::size_t kColumn = 13;          // of the types
constexpr std::size_t kShownCandidates = 3;  // candidates, unless all are asked for

struct GuessOptions {
  std::string file = "-";
  Form form = Form::kBinary;
  Framing framing = Framing::kNone;
  Selection selection;
  bool all = false;
  bool json = false;
};

// "a; b; c" in lines that begin with `indent`.
std::string Wrapped(const std::vector<std::string>& parts, const std::string& indent) {
  std::string text;
  std::string line = indent;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const std::string part = parts[i] + (i + 1 < parts.size() ? ";" : "");
    if (line.size() > indent.size() && line.size() + 1 + part.size() > kWidth) {
      text += line + '\n';
      line = indent;
    }
    line += (line.size() > indent.size() ? " " : "") + part;
  }
  return text + line + '\n';
}

class Guesser {
 public:
  explicit Guesser(const GuessOptions& options)
      : options_(options),
        ranking_(options.framing == Framing::kAny ? std::vector<const pb::Descriptor*>()
                                                  : SchemaMessages()) {}

  ExitCode Run() {
    MessageOptions messages;
    messages.files = {options_.file};
    messages.form = options_.form;
    messages.framing = options_.framing;
    messages.selection = options_.selection;
    messages.keep_going = true;
    ForEachMessage(messages, false, [this](const Received& received) { Judge(received); });
    const std::vector<Candidate> candidates = ranking_.Candidates();
    const std::vector<Refused> out = ranking_.Out();
    options_.json ? WriteJson(candidates, out) : WriteText(candidates);
    Output::Standard().Flush();
    if (!options_.json) {
      Tell(candidates, out);
    }
    return candidates.empty() ? ExitCode::kBadData : ExitCode::kFine;
  }

 private:
  void Judge(const Received& received) {
    const bool stream = options_.framing != Framing::kNone;
    const std::string where =
        stream ? "message " + std::to_string(received.index) + ", " : std::string();
    bytes_ += received.bytes.size();
    ++messages_;
    if (options_.framing == Framing::kAny) {
      ranking_.JudgeAs(received.type, received.bytes, received.offset, where);
    } else {
      ranking_.Judge(received.bytes, received.offset, where);
    }
    if (!stream && !ranking_.FitsWell()) {
      hint_ = Hint(received.bytes);
    }
  }

  void WriteText(const std::vector<Candidate>& candidates) {
    if (candidates.empty()) {
      return;
    }
    Output& output = Output::Standard();
    if (bytes_ == 0) {
      output.Write("Every type is possible: an empty input is a message without fields.\n");
      if (!options_.all) {
        return;
      }
    }
    output.Write("rank  score  type\n");
    const std::size_t shown = Shown(candidates);
    for (std::size_t i = 0; i < shown; ++i) {
      WriteCandidate(candidates[i]);
      const bool tied = i > 0 && candidates[i - 1].rank == candidates[i].rank;
      if (tied && (i + 1 == shown || candidates[i + 1].rank != candidates[i].rank)) {
        output.Write(std::string(kColumn, ' ') + "these of rank " +
                     std::to_string(candidates[i].rank) + " are equally likely\n");
      }
    }
  }

  static void WriteCandidate(const Candidate& candidate) {
    static const std::string kIndent(kColumn, ' ');
    const std::string head = AlignRight(std::to_string(candidate.rank), 4) +
                             AlignRight(std::to_string(candidate.evidence.Score()), 7) + "  ";
    std::string text;
    for (const pb::Descriptor* type : candidate.types) {
      text += (text.empty() ? head : kIndent) + type->full_name() + '\n';
    }
    if (candidate.types.size() > 1) {
      text += kIndent + "  these types have the same wire format\n";
    }
    Output::Standard().Write(text + Wrapped(candidate.evidence.Reasons(), kIndent + "  "));
  }

  // How many candidates are shown: whole ranks, and no bad fit after a good one.
  std::size_t Shown(const std::vector<Candidate>& candidates) const {
    if (options_.all || candidates.empty()) {
      return candidates.size();
    }
    const bool well = candidates.front().evidence.FitsWell();
    std::size_t shown = 1;
    while (shown < candidates.size() &&
           (candidates[shown].rank == candidates[shown - 1].rank ||
            (shown < kShownCandidates && (!well || candidates[shown].evidence.FitsWell())))) {
      ++shown;
    }
    return shown;
  }

  void WriteJson(const std::vector<Candidate>& candidates, const std::vector<Refused>& out) {
    JsonWriter json(JsonWriter::Style::kPretty);
    json.BeginObject().Key("messages").Number(messages_).Key("bytes").Number(bytes_);
    json.Key("candidates").BeginArray();
    for (const Candidate& candidate : candidates) {
      json.BeginObject().Key("rank").Number(candidate.rank);
      json.Key("score").Number(candidate.evidence.Score());
      json.Key("fits_well").Bool(candidate.evidence.FitsWell());
      json.Key("types").BeginArray();
      for (const pb::Descriptor* type : candidate.types) {
        json.String(type->full_name());
      }
      json.EndArray().Key("messages").Number(candidate.evidence.messages());
      json.Key("reasons").BeginArray();
      for (const std::string& reason : candidate.evidence.Reasons()) {
        json.String(reason);
      }
      json.EndArray().EndObject();
    }
    json.EndArray().Key("out").BeginArray();
    for (const Refused& refused : out) {
      json.BeginObject().Key("type").String(refused.type->full_name());
      json.Key("reason").String(refused.reason).EndObject();
    }
    json.EndArray();
    if (!hint_.empty()) {
      json.Key("hint").String(hint_);
    }
    json.EndObject();
    Output::Standard().Write(json.text() + '\n');
  }

  void Tell(const std::vector<Candidate>& candidates, const std::vector<Refused>& out) const {
    if (options_.all) {
      for (const Refused& refused : out) {
        std::cerr << "qmsg: not " << refused.type->full_name() << ": " << refused.reason << '\n';
      }
    }
    std::size_t hidden = 0;
    for (std::size_t i = Shown(candidates); bytes_ > 0 && i < candidates.size(); ++i) {
      hidden += candidates[i].types.size();
    }
    std::vector<std::string> parts;
    if (!out.empty()) {
      parts.push_back(Types(out.size()) + " impossible");
    }
    if (hidden > 0) {
      parts.push_back(Types(hidden) + " less likely");
    }
    if (!parts.empty()) {
      std::cerr << "qmsg: " << parts.front() << (parts.size() > 1 ? ", " + parts.back() : "")
                << (options_.all ? "\n" : "; --all shows them\n");
    }
    if (bytes_ > 0 && !candidates.empty() && !candidates.front().evidence.FitsWell()) {
      std::cerr << "qmsg: no type fits well\n";
    }
    if (!hint_.empty()) {
      std::cerr << "qmsg: the input " << hint_ << '\n';
    }
  }

  static std::string Types(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " type" : " types");
  }

  const GuessOptions& options_;
  Ranking ranking_;
  std::uint64_t messages_ = 0;
  std::uint64_t bytes_ = 0;
  std::string hint_;
};

}  // namespace

Command GuessCommand() {
  auto options = std::make_shared<GuessOptions>();
  Command command{
      "guess",
      "Guess the type of a message",
      {{{"FILE"}, "Input file; default, or -: standard input", &options->file, "FILE"},
       FormOption("--in", "Encoding of the input; default: binary", options->form),
       FramingOption(options->framing),
       {{"--all"}, "Show all possible types, and why the others are not", &options->all},
       {{"--json"}, "Print JSON, with all types", &options->json}},
      std::string(kFramingHelp) +
          "\n\nAll messages of a delimited stream are assumed to have one type. In a stream of\n"
          "Anys each message counts for the type that it names.\n"
          "A score adds up the evidence for a type and against it. Scores compare types for\n"
          "the same bytes only.",
      {"echo 0a03726571120c08012a0853454c4543542031 | qmsg guess --in hex --json"},
      [options] { return Guesser(*options).Run(); }};
  AddSelection(options->selection, command);
  return command;
}

}  // namespace qmsg
