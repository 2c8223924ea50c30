#include "commands/message_input.h"

#include <google/protobuf/any.pb.h>

#include <charconv>
#include <iostream>
#include <system_error>
#include <utility>

#include "io/escape.h"
#include "io/output.h"
#include "io/progress.h"
#include "schema/schema.h"
#include "wire/faults.h"
#include "wire/walk.h"

namespace qmsg {
namespace {

using google::protobuf::Any;
using google::protobuf::Descriptor;

// The fields of an Any; if one occurs twice the last one counts, as for the parser.
class AnyFields : public Visitor {
 public:
  void Value(const Occurrence& at, const Path& path) override {
    if (path.depth() == 1 && at.known) {
      (at.number == Any::kTypeUrlFieldNumber ? url : value) = at;
    }
  }

  Occurrence url;
  Occurrence value;
};

// Replaces an Any by the message in it. The type is null if the schema does not have it.
void Unpack(Received& message) {
  message.type = Any::descriptor();
  AnyFields fields;
  if (!Walk(message.bytes, message.type, fields)) {
    throw InvalidMessage(message);
  }
  message.type_url = message.bytes.substr(fields.url.value, fields.url.size());
  message.type = TypeOf(message.type_url);
  if (message.type == nullptr && !IsTypeUrl(message.type_url)) {
    throw Error(ExitCode::kBadData,
                message.Where() +
                    (message.type_url.empty()
                         ? ": the google.protobuf.Any does not name its type; is the framing right?"
                         : ": the schema has no type '" + Escape(message.type_url) + "'"));
  }
  message.bytes = message.bytes.substr(fields.value.value, fields.value.size());
  message.offset += fields.value.value;
}

// A number of an option; `whole` is the text that it is in.
std::uint64_t Number(const std::string& text, const std::string& option, const std::string& whole) {
  std::uint64_t number = 0;
  const char* end = text.data() + text.size();
  const auto [last, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || last != end) {
    throw Error(ExitCode::kWrongUse, option + " " + Escape(whole) + ": a number is expected");
  }
  return number;
}

std::uint64_t AtLeastOne(const std::string& text, const std::string& option) {
  const std::uint64_t number = Number(text, option, text);
  if (number == 0) {
    throw Error(ExitCode::kWrongUse, option + " 0 selects nothing");
  }
  return number;
}

// Returns whether all messages were good. Stops at the first bad one unless told to keep going.
bool VisitFile(const MessageOptions& options, const Descriptor* type, const std::string& path,
               const std::function<void(const Received&)>& visit) {
  MessageReader reader(path, options.form, options.framing, options.selection, type);
  Progress progress(reader.input(), options.prints_at_end || !Output::Standard().IsTerminal());
  bool good = true;
  for (Received message; good || (options.keep_going && !reader.broken());) {
    try {
      if (!reader.Next(message)) {
        break;
      }
      visit(message);
      progress.Update();
    } catch (const Error& error) {
      if (error.code() != ExitCode::kBadData) {
        throw;
      }
      progress.Hide();
      std::cerr << "qmsg: " << error.what() << '\n';
      good = false;
    }
  }
  progress.Hide();
  reader.TellUnknownTypes();
  WarnIfEmpty(reader.input(), options.framing);
  return good;
}

}  // namespace

Option TypeOption(std::string& type) {
  return {{"--type"}, "Type of the messages; the end of its name is enough", &type, "TYPE"};
}

Option FormOption(const std::string& name, const std::string& help, Form& form) {
  return Choice<Form>(name, help, form,
                      {{"binary", Form::kBinary}, {"hex", Form::kHex}, {"base64", Form::kBase64}});
}

Option TextFormOption(const std::string& name, const std::string& help, TextForm& form) {
  return Choice<TextForm>(name, help, form, {{"json", TextForm::kJson}, {"text", TextForm::kText}});
}

Option FramingOption(Framing& framing) {
  return Choice<Framing>(
      "--framing", "How messages are separated; default: none", framing,
      {{"none", Framing::kNone}, {"delimited", Framing::kDelimited}, {"any", Framing::kAny}});
}

void AddSelection(Selection& selection, Command& command) {
  const auto add = [&](const char* name, const char* help, const char* value,
                       const std::function<void(const std::string&)>& set) {
    const auto set_once = [&selection, set](const std::string& text) {
      if (selection.range || selection.offset || selection.tail) {
        throw Error(ExitCode::kWrongUse,
                    "--message, --offset, --head and --tail exclude each other");
      }
      set(text);
    };
    command.options.push_back({{name}, help, set_once, value});
  };
  add("--message", "Only the message with this index, or those from N to M", "N[-M]",
      [&selection](const std::string& text) {
        const std::size_t dash = text.find('-');
        const std::uint64_t first = Number(text.substr(0, dash), "--message", text);
        const std::uint64_t last =
            dash == std::string::npos ? first : Number(text.substr(dash + 1), "--message", text);
        if (last < first) {
          throw Error(ExitCode::kWrongUse, "--message " + text + ": the last is before the first");
        }
        selection.range = {first, last};
      });
  add("--offset", "Only the message that holds the byte at this offset", "OFFSET",
      [&selection](const std::string& text) { selection.offset = Number(text, "--offset", text); });
  add("--head", "Only the first messages of each file", "COUNT",
      [&selection](const std::string& text) {
        selection.range = {0, AtLeastOne(text, "--head") - 1};
      });
  add("--tail", "Only the last messages of each file", "COUNT",
      [&selection](const std::string& text) { selection.tail = AtLeastOne(text, "--tail"); });
}

std::vector<Option> InputOptions(MessageOptions& options) {
  return {{{"FILE"}, "Input file; default, or -: standard input", &options.files, "FILE"},
          TypeOption(options.type),
          FormOption("--in", "Encoding of the input; default: binary", options.form),
          FramingOption(options.framing)};
}

std::vector<Option> MessageInputOptions(MessageOptions& options) {
  std::vector<Option> added = InputOptions(options);
  added.push_back({{"--keep-going"}, "Continue after a bad message", &options.keep_going});
  return added;
}

std::string Received::Where() const {
  return framing == Framing::kNone ? *input
                                   : *input + ": message " + std::to_string(index) + " at offset " +
                                         std::to_string(offset);
}

MessageReader::MessageReader(const std::string& path, Form form, Framing framing,
                             Selection selection, const Descriptor* type)
    : input_(path, form), frames_(input_, framing, selection), framing_(framing), type_(type) {}

bool MessageReader::Next(Received& message) {
  for (;;) {
    Frame frame;
    broken_ = true;
    if (!frames_.Next(frame)) {
      return false;
    }
    broken_ = false;
    message = {&input_.name(), framing_, frame.index, frame.offset, type_, frame.bytes, {}};
    if (framing_ != Framing::kAny) {
      return true;
    }
    Unpack(message);
    if (message.type != nullptr) {
      return true;
    }
    constexpr std::size_t kMostTypes = 1000;
    std::string type(message.type_url);
    if (unknown_types_.size() >= kMostTypes && unknown_types_.count(type) == 0) {
      type = "other types";
    }
    ++unknown_types_[type];
  }
}

void MessageReader::TellUnknownTypes() const {
  for (const auto& [type, count] : unknown_types_) {
    std::cerr << "qmsg: '" << input_.name() << "': left out " << count
              << (count == 1 ? " message" : " messages") << ": the schema has no type '"
              << Escape(type) << "'\n";
  }
}

const Descriptor* FindType(const std::string& name, Framing framing, bool needed) {
  if (framing == Framing::kAny) {
    if (!name.empty()) {
      throw Error(ExitCode::kWrongUse,
                  "with --framing any each message names its type: omit --type");
    }
    return nullptr;
  }
  if (name.empty() && needed) {
    throw Error(ExitCode::kWrongUse,
                "which type? Give --type NAME; qmsg types lists the names, and "
                "qmsg guess says what the bytes can be");
  }
  return name.empty() ? nullptr : FindMessage(name);
}

std::unique_ptr<google::protobuf::Message> Parse(const Received& received) {
  std::unique_ptr<google::protobuf::Message> message = NewMessage(received.type);
  if (!message->ParseFromArray(received.bytes.data(), static_cast<int>(received.bytes.size()))) {
    throw InvalidMessage(received);
  }
  return message;
}

Error InvalidMessage(const Received& received) {
  return {ExitCode::kBadData, received.Where() + ": not a valid " + received.type->full_name() +
                                  ": " +
                                  FirstFault(received.bytes, received.type, received.offset)};
}

void WarnIfEmpty(const Input& input, Framing framing) {
  if (input.position() == 0) {
    std::cerr << "qmsg: '" << input.name() << "' is empty: "
              << (framing == Framing::kNone ? "a message without fields" : "no messages") << '\n';
  }
}

ExitCode ForEachMessage(const MessageOptions& options, bool type_needed,
                        const std::function<void(const Received&)>& visit) {
  const Descriptor* type = FindType(options.type, options.framing, type_needed);
  const std::vector<std::string> standard_input{"-"};
  bool good = true;
  for (const std::string& path : options.files.empty() ? standard_input : options.files) {
    good = VisitFile(options, type, path, visit) && good;
    if (!good && !options.keep_going) {
      break;
    }
  }
  return good ? ExitCode::kFine : ExitCode::kBadData;
}

}  // namespace qmsg
