#include <google/protobuf/any.pb.h>

#include <iostream>
#include <memory>

#include "commands/commands.h"
#include "commands/message_input.h"
#include "io/escape.h"
#include "io/output.h"
#include "wire/hex_lines.h"
#include "wire/view.h"

namespace qmsg {
namespace {

namespace pb = google::protobuf;

constexpr std::size_t kBlock = 8192 * HexLines::kBytes;

struct WireOptions {
  std::string file = "-";
  std::string type;
  Form form = Form::kBinary;
  Framing framing = Framing::kNone;
  Selection selection;
  bool full = false;
};

class Viewer {
 public:
  explicit Viewer(const WireOptions& options)
      : framing_(options.framing),
        input_(options.file, options.form),
        frames_(input_, options.framing, options.selection),
        type_(FindType(options.type, options.framing, false)),
        lines_(Output::Standard(), WantsColour(Output::Standard()), options.full) {}

  ExitCode Run() {
    if (framing_ == Framing::kAny) {
      type_ = pb::Any::descriptor();
    }
    framing_ == Framing::kNone ? Whole() : Stream();
    WarnIfEmpty(input_, framing_);
    if (faults_ > 0) {
      Output::Standard().Flush();
      std::cerr << "qmsg: " << input_.name() << ": " << faults_
                << (faults_ == 1 ? " fault, marked <-" : " faults, each marked <-") << '\n';
    }
    return faults_ == 0 ? ExitCode::kFine : ExitCode::kBadData;
  }

 private:
  std::string TypeText() const {
    return type_ == nullptr ? "a message of unknown type" : type_->full_name();
  }

  void Whole() {
    Frame frame;
    frames_.Next(frame);
    lines_.Title(TypeText() + ", " + ByteCount(frame.bytes.size()));
    faults_ += ViewMessage(frame.bytes, type_, 0, 0, lines_);
  }

  void Stream() {
    lines_.Title("a stream of " + (type_ == nullptr ? "messages of unknown type" : TypeText()));
    try {
      for (Frame frame; frames_.Next(frame);) {
        lines_.Field(frame.offset - frame.length.size(), frame.length, 0,
                     {{"message " + std::to_string(frame.index), Piece::Look::kName},
                      {": " + ByteCount(frame.bytes.size())}});
        faults_ += ViewMessage(frame.bytes, type_, frame.offset, 1, lines_);
      }
    } catch (const Error& error) {
      const std::string unfinished = frames_.Unfinished();
      if (unfinished.empty()) {
        throw;
      }
      ++faults_;
      Rest(unfinished, error.what());
    }
  }

  // Shows the rest of the input, in which no frame can be found, from `begun` on.
  void Rest(const std::string& begun, const std::string& reason) {
    std::uint64_t offset = input_.position() - begun.size();
    std::string block = begun.substr(0, HexLines::kBytes);
    lines_.Field(offset, block, 0, {{"<- " + Escape(reason), Piece::Look::kFault}});
    offset += block.size();
    block = begun.substr(block.size());
    std::uint64_t left_out = 0;
    do {
      if (lines_.full() && !block.empty()) {
        lines_.Content(offset, block, 1, HexLines::Beside::kNothing);
      }
      left_out += block.size();
      offset += block.size();
      block.resize(kBlock);
      block.resize(input_.Read(block.data(), block.size()));
    } while (!block.empty());
    if (!lines_.full() && left_out > 0) {
      lines_.Field(0, {}, 1, {{ByteCount(left_out) + " more"}});
    }
  }

  Framing framing_;
  Input input_;
  FrameReader frames_;
  const pb::Descriptor* type_;
  HexLines lines_;
  std::size_t faults_ = 0;
};

}  // namespace

Command WireCommand() {
  auto options = std::make_shared<WireOptions>();
  Command command{
      "wire",
      "Show bytes in hex, field by field",
      {{{"FILE"}, "Input file; default, or -: standard input", &options->file, "FILE"},
       TypeOption(options->type),
       FormOption("--in", "Encoding of the input; default: binary", options->form),
       FramingOption(options->framing),
       {{"--full"}, "Show long values in full", &options->full}},
      std::string(kFramingHelp) +
          "\n\nThe bytes of each field are followed by its name, number, type and value. Without\n"
          "--type, and for undeclared fields, the wire type is shown instead, and the content\n"
          "of a length-delimited value (len) is guessed. Bytes are hexadecimal, offsets\n"
          "decimal; .. marks omitted bytes, <- a fault that no parser accepts.",
      {"echo 2a0853454c4543542031 | qmsg wire --type SqlQuery --in hex"},
      [options] { return Viewer(*options).Run(); }};
  AddSelection(options->selection, command);
  return command;
}

}  // namespace qmsg
