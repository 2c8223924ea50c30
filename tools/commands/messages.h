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
};

// Options that other commands have too; `name` with its dashes.
void AddTypeOption(CLI::App& command, std::string& type);
void AddFormOption(CLI::App& command, const std::string& name, const std::string& help, Form& form);
void AddTextFormOption(CLI::App& command, const std::string& name, const std::string& help,
                       TextForm& form);
void AddFramingOption(CLI::App& command, Framing& framing);

// --type, FILE..., --in, --framing and --keep-going.
void AddMessageOptions(CLI::App& command, MessageOptions& options);

// What AddFramingOption's words mean, for the help of its command.
inline constexpr char kFramingHelp[] =
    "Framing: none, one message is all of the input; delimited, each message stands behind its\n"
    "length, a varint; any, the same with each in a google.protobuf.Any, which names its type.";

// A message as it was found. `bytes` last until the next one is read.
struct Received {
  const std::string* input;                  // name of the file
  std::uint64_t index;                       // in the file, from 0
  std::uint64_t offset;                      // of `bytes` in the file
  const google::protobuf::Descriptor* type;  // null if none was given
  std::string_view bytes;
  std::string_view type_url;  // of the Any around it; otherwise empty

  // "capture.bin: message 3 at offset 120"; without framing "capture.bin".
  std::string Where(Framing framing) const;
};

// Calls `visit` with every message of the files. What it throws as bad data is told on standard
// error, with the place of the message; then the rest is left, unless options say to keep going.
// Returns kBadData if any message was bad, or kFine. `type_needed`: --type must be there unless
// the framing names types.
ExitCode ForEachMessage(const MessageOptions& options, bool type_needed,
                        const std::function<void(const Received&)>& visit);

// The message itself. Throws Error that says where the bytes are none.
std::unique_ptr<google::protobuf::Message> Parse(const Received& received);

}  // namespace qmsg
