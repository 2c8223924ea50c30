// What the commands that read messages have in common: their options, and the loop over messages.
#pragma once

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <CLI/CLI.hpp>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

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
  bool keep_going = false;
  // Nothing is printed before the end of the input, so that progress may be shown on the terminal.
  bool prints_at_end = false;
};

// Options that other commands have too; `name` with its dashes.
void AddTypeOption(CLI::App& command, std::string& type);
void AddFormOption(CLI::App& command, const std::string& name, const std::string& help, Form& form);
void AddTextFormOption(CLI::App& command, const std::string& name, const std::string& help,
                       TextForm& form);
void AddFramingOption(CLI::App& command, Framing& framing);

// --type, FILE..., --in and --framing.
void AddInputOptions(CLI::App& command, MessageOptions& options);
// These and --keep-going.
void AddMessageOptions(CLI::App& command, MessageOptions& options);

// What AddFramingOption's words mean, for the help of its command.
inline constexpr char kFramingHelp[] =
    "Framing: none, one message is all of the input; delimited, each message stands\n"
    "behind its length, a varint; any, the same with each in a google.protobuf.Any,\n"
    "which names its type.";

// A message as it was found.
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
  MessageReader(const std::string& path, Form form, Framing framing,
                const google::protobuf::Descriptor* type);

  // Returns false at the end. Throws Error when this message is bad, or when nothing behind it can
  // be read either: only then `broken`. Both say where.
  bool Next(Received& message);

  bool broken() const { return broken_; }
  const Input& input() const { return input_; }

 private:
  Input input_;
  FrameReader frames_;
  Framing framing_;
  const google::protobuf::Descriptor* type_;
  bool broken_ = false;
};

// What --type and --framing say about the messages' type; null if the framing names it, or if it is
// not `needed` and not given. Throws Error if they do not go together.
const google::protobuf::Descriptor* FindType(const std::string& name, Framing framing, bool needed);

// The message itself. Throws Error that says where the bytes are none.
std::unique_ptr<google::protobuf::Message> Parse(const Received& received);

// That these bytes are no message of their type, and why.
Error NoMessage(const Received& received);

// Says on standard error if there was nothing to read.
void TellIfEmpty(const Input& input, Framing framing);

// Calls `visit` with every message of the files, and shows progress on a terminal. What is bad is
// told on standard error; then the rest is left, unless options say to keep going. Returns kBadData
// if any message was bad, or kFine.
ExitCode ForEachMessage(const MessageOptions& options, bool type_needed,
                        const std::function<void(const Received&)>& visit);

}  // namespace qmsg
