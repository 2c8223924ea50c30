#include "commands/messages.h"

#include <google/protobuf/any.pb.h>

#include <iostream>

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

// What an Any holds; where a field stands twice the last one counts, as for the parser.
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

// Replaces an Any by what it holds.
void Unpack(Received& message) {
  message.type = Any::descriptor();
  AnyFields fields;
  if (!Walk(message.bytes, message.type, fields)) {
    throw NoMessage(message);
  }
  message.type_url = message.bytes.substr(fields.url.value, fields.url.size());
  message.type = TypeOf(message.type_url);
  if (message.type == nullptr) {
    throw Error(
        ExitCode::kBadData,
        message.Where() +
            (message.type_url.empty()
                 ? ": the google.protobuf.Any names no type; is the framing right?"
                 : ": the type '" + Escape(message.type_url) + "' is none of the schema's"));
  }
  message.bytes = message.bytes.substr(fields.value.value, fields.value.size());
  message.offset += fields.value.value;
}

// Returns whether all messages were good; stops at the first that was not, unless to keep going.
bool VisitFile(const MessageOptions& options, const Descriptor* type, const std::string& path,
               const std::function<void(const Received&)>& visit) {
  MessageReader reader(path, options.form, options.framing, type);
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
  TellIfEmpty(reader.input(), options.framing);
  return good;
}

// An option that takes one of these words.
template <typename Value>
void AddChoice(CLI::App& command, const std::string& name, const std::string& help, Value& value,
               const std::vector<std::pair<std::string, Value>>& choices) {
  std::vector<std::string> words;
  std::string shown;
  for (const auto& choice : choices) {
    words.push_back(choice.first);
    shown += (shown.empty() ? "" : ",") + choice.first;
  }
  command
      .add_option_function<std::string>(
          name,
          [&value, choices](const std::string& word) {
            for (const auto& choice : choices) {
              value = choice.first == word ? choice.second : value;
            }
          },
          help)
      ->type_name('{' + shown + '}')
      ->check(CLI::IsMember(words).description(""));
}

}  // namespace

void AddTypeOption(CLI::App& command, std::string& type) {
  command.add_option("--type", type, "What the messages are; the end of a name will do")
      ->type_name("TYPE");
}

void AddFormOption(CLI::App& command, const std::string& name, const std::string& help,
                   Form& form) {
  AddChoice<Form>(command, name, help, form,
                  {{"binary", Form::kBinary}, {"hex", Form::kHex}, {"base64", Form::kBase64}});
}

void AddTextFormOption(CLI::App& command, const std::string& name, const std::string& help,
                       TextForm& form) {
  AddChoice<TextForm>(command, name, help, form,
                      {{"json", TextForm::kJson}, {"text", TextForm::kText}});
}

void AddFramingOption(CLI::App& command, Framing& framing) {
  AddChoice<Framing>(
      command, "--framing", "How messages follow one another; default: none", framing,
      {{"none", Framing::kNone}, {"delimited", Framing::kDelimited}, {"any", Framing::kAny}});
}

void AddInputOptions(CLI::App& command, MessageOptions& options) {
  command.add_option("FILE", options.files, "What to read; -, or none: standard input")
      ->type_name("FILE");
  AddTypeOption(command, options.type);
  AddFormOption(command, "--in", "What the input is written as; default: binary", options.form);
  AddFramingOption(command, options.framing);
}

void AddMessageOptions(CLI::App& command, MessageOptions& options) {
  AddInputOptions(command, options);
  command.add_flag("--keep-going", options.keep_going, "Go on after a message that is bad");
}

std::string Received::Where() const {
  return framing == Framing::kNone ? *input
                                   : *input + ": message " + std::to_string(index) + " at offset " +
                                         std::to_string(offset);
}

MessageReader::MessageReader(const std::string& path, Form form, Framing framing,
                             const Descriptor* type)
    : input_(path, form), frames_(input_, framing), framing_(framing), type_(type) {}

bool MessageReader::Next(Received& message) {
  Frame frame;
  broken_ = true;
  if (!frames_.Next(frame)) {
    return false;
  }
  broken_ = false;
  message = {&input_.name(), framing_, frame.index, frame.offset, type_, frame.bytes, {}};
  if (framing_ == Framing::kAny) {
    Unpack(message);
  }
  return true;
}

const Descriptor* FindType(const std::string& name, Framing framing, bool needed) {
  if (framing == Framing::kAny) {
    if (!name.empty()) {
      throw Error(ExitCode::kWrongUse,
                  "with --framing any each message names its type: leave --type out");
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
    throw NoMessage(received);
  }
  return message;
}

Error NoMessage(const Received& received) {
  return {ExitCode::kBadData, received.Where() + ": no " + received.type->full_name() + ": " +
                                  FirstFault(received.bytes, received.type, received.offset)};
}

void TellIfEmpty(const Input& input, Framing framing) {
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
