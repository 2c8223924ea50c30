// Shared by the commands that read messages: their options, and the loop over messages.
#pragma once

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "commands/command.h"
#include "error.h"
#include "io/documents.h"
#include "io/frames.h"
#include "io/input.h"

namespace qmsg {

struct MessageOptions {
  std::vector<std::string> files;  // none: standard input
  std::string type;                // empty: not given
  Form form = Form::kBinary;
  Framing framing = Framing::kNone;
  Selection selection;
  bool keep_going = false;
  // Nothing is printed before the end of the input, so progress may be shown on the terminal.
  bool prints_at_end = false;
};

// Options of several commands; `name` with its dashes.
Option TypeOption(std::string& type);
Option FormOption(const std::string& name, const std::string& help, Form& form);
Option TextFormOption(const std::string& name, const std::string& help, TextForm& form);
Option FramingOption(Framing& framing);
// Adds --message, --offset, --head and --tail.
void AddSelection(Selection& selection, Command& command);

// FILE..., --type, --in and --framing.
std::vector<Option> InputOptions(MessageOptions& options);
// These and --keep-going.
std::vector<Option> MessageInputOptions(MessageOptions& options);

// Explains the values of --framing in the help of each command that has it.
inline constexpr char kFramingHelp[] =
    "Framing: none, the input is one message; delimited, a varint with its length\n"
    "precedes each message; any, the same with each message in a google.protobuf.Any,\n"
    "which names its type.";

// A message as it was read.
struct Received {
  const std::string* input = nullptr;                  // name of the file
  Framing framing = Framing::kNone;                    // of the file
  std::uint64_t index = 0;                             // in the file, from 0
  std::uint64_t offset = 0;                            // of `bytes` in the file
  const google::protobuf::Descriptor* type = nullptr;  // null if none was given
  std::string_view bytes;                              // until the next one is read
  std::string_view type_url;                           // of the Any around it; otherwise empty

  // "capture.bin: message 3 at offset 120"; without framing "capture.bin".
  std::string Where() const;
};

// Reads the messages of a file one by one.
class MessageReader {
 public:
  // `type` as FindType returns it.
  MessageReader(const std::string& path, Form form, Framing framing, Selection selection,
                const google::protobuf::Descriptor* type);

  // Returns false at the end. Leaves out messages in an Any whose type the schema does not have.
  // Throws Error with the place when this message is bad. After that, `broken` says whether the
  // rest of the file is unreadable too.
  bool Next(Received& message);

  // Says on standard error which types were left out, and how many messages of each.
  void TellUnknownTypes() const;

  bool broken() const { return broken_; }
  const Input& input() const { return input_; }

 private:
  Input input_;
  FrameReader frames_;
  Framing framing_;
  const google::protobuf::Descriptor* type_;
  std::map<std::string, std::uint64_t> unknown_types_;  // how many messages of each
  bool broken_ = false;
};

// The type that --type and --framing select; null if each message names its own, or if the type is
// neither `needed` nor given. Throws Error if the two options contradict each other.
const google::protobuf::Descriptor* FindType(const std::string& name, Framing framing, bool needed);

// Parses the message. Throws InvalidMessage.
std::unique_ptr<google::protobuf::Message> Parse(const Received& received);

// Says where and why these bytes are not a valid message of their type.
Error InvalidMessage(const Received& received);

// Warns on standard error if the input was empty.
void WarnIfEmpty(const Input& input, Framing framing);

// Calls `visit` with every message of the files, and shows progress on a terminal. Reports a bad
// message on standard error, and stops there unless the options say to keep going. Returns kBadData
// if any message was bad, otherwise kFine.
ExitCode ForEachMessage(const MessageOptions& options, bool type_needed,
                        const std::function<void(const Received&)>& visit);

}  // namespace qmsg
