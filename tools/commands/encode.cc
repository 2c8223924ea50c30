#include <google/protobuf/any.pb.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/tokenizer.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/text_format.h>
#include <google/protobuf/util/json_util.h>

#include <array>
#include <memory>

#include "commands/commands.h"
#include "commands/message_input.h"
#include "io/documents.h"
#include "io/encoded_output.h"
#include "schema/schema.h"

namespace qmsg {
namespace {

namespace pb = google::protobuf;

struct EncodeOptions {
  std::string file = "-";
  std::string type;
  TextForm from = TextForm::kJson;
  Form out = Form::kBinary;
  Framing framing = Framing::kNone;
};

// Keeps the first error of a text.
class FirstError : public pb::io::ErrorCollector {
 public:
  explicit FirstError(std::uint64_t first_line) : first_line_(first_line) {}

  void AddError(int line, int column, const std::string& message) override {
    if (text_.empty()) {
      text_ = "line " + std::to_string(first_line_ + static_cast<std::uint64_t>(line)) +
              ", column " + std::to_string(column + 1) + ": " + message;
    }
  }

  const std::string& text() const { return text_; }

 private:
  std::uint64_t first_line_;
  std::string text_;
};

void ParseJson(const Document& document, pb::Message& message) {
  const pb::util::Status status = pb::util::JsonStringToMessage(document.text, &message);
  if (!status.ok()) {
    throw Error(ExitCode::kBadData, "the JSON value at line " + std::to_string(document.line) +
                                        " is not a valid " + message.GetTypeName() + ": " +
                                        status.message().ToString());
  }
}

void ParseText(const Document& document, pb::Message& message) {
  FirstError error(document.line);
  pb::TextFormat::Parser parser;
  parser.RecordErrorsTo(&error);
  if (!parser.ParseFromString(document.text, &message)) {
    throw Error(ExitCode::kBadData, "not a valid " + message.GetTypeName() + ": " + error.text());
  }
}

// Writes the same bytes for the same message: maps in the order of their keys.
std::string Serialize(const pb::Message& message) {
  std::string bytes;
  pb::io::StringOutputStream stream(&bytes);
  pb::io::CodedOutputStream coded(&stream);
  coded.SetSerializationDeterministic(true);
  message.SerializeToCodedStream(&coded);
  coded.Trim();
  return bytes;
}

// Parsing JSON, the runtime writes fields with the value 0 into the Any, which no serializer
// writes.
void Normalise(pb::Any& any) {
  const pb::Descriptor* type = TypeOf(any.type_url());
  const std::unique_ptr<pb::Message> content = type == nullptr ? nullptr : NewMessage(type);
  if (content != nullptr && content->ParseFromString(any.value())) {
    any.set_value(Serialize(*content));
  }
}

void WriteFrame(const std::string& bytes, Framing framing, EncodedOutput& output) {
  if (framing != Framing::kNone) {
    std::array<std::uint8_t, 5> length{};
    const std::uint8_t* end = pb::io::CodedOutputStream::WriteVarint32ToArray(
        static_cast<std::uint32_t>(bytes.size()), length.data());
    output.Write({reinterpret_cast<const char*>(length.data()),
                  static_cast<std::size_t>(end - length.data())});
  }
  output.Write(bytes);
}

class Encoder {
 public:
  explicit Encoder(const EncodeOptions& options)
      : options_(options),
        input_(options.file, Form::kBinary),
        output_(Output::Standard(), options.out),
        type_(FindType(options.type, options.framing, true)) {
    if (type_ == nullptr) {
      type_ = pb::Any::descriptor();
    }
  }

  ExitCode Run() {
    Document document;
    if (options_.framing == Framing::kNone) {
      document.text = ReadAll(input_);
      Encode(document);
    } else {
      DocumentReader documents(input_, options_.from);
      while (documents.Next(document)) {
        Encode(document);
      }
    }
    output_.Finish();
    return ExitCode::kFine;
  }

 private:
  void Encode(const Document& document) {
    const std::unique_ptr<pb::Message> message = NewMessage(type_);
    try {
      options_.from == TextForm::kJson ? ParseJson(document, *message)
                                       : ParseText(document, *message);
    } catch (const Error& error) {
      Output::Standard().Flush();
      const std::string number = options_.framing == Framing::kNone
                                     ? ""
                                     : "message " + std::to_string(document.index) + ": ";
      throw Error(error.code(), input_.name() + ": " + number + error.what());
    }
    if (options_.framing == Framing::kAny) {
      Normalise(static_cast<pb::Any&>(*message));
    }
    WriteFrame(Serialize(*message), options_.framing, output_);
  }

  const EncodeOptions& options_;
  Input input_;
  EncodedOutput output_;
  const pb::Descriptor* type_;
};

ExitCode Encode(const EncodeOptions& options) {
  if (options.out == Form::kBinary && Output::Standard().IsTerminal()) {
    throw Error(ExitCode::kWrongUse,
                "a terminal cannot show these bytes: give --out hex, or redirect them to a file");
  }
  return Encoder(options).Run();
}

}  // namespace

Command EncodeCommand() {
  auto options = std::make_shared<EncodeOptions>();
  return {"encode",
          "Encode JSON or text as messages",
          {{{"FILE"}, "Input file; default, or -: standard input", &options->file, "FILE"},
           TypeOption(options->type),
           TextFormOption("--from", "Format of the input; default: json", options->from),
           FormOption("--out", "Encoding of the output; default: binary", options->out),
           FramingOption(options->framing)},
          std::string(kFramingHelp) +
              "\n\nIn a stream, JSON values follow one another; a line \"---\" ends each message "
              "in text.\n"
              "With --framing any each names its type: "
              "{\"@type\": \"type.googleapis.com/NAME\", ...}.",
          {R"(echo '{"query": "SELECT 1"}' | qmsg encode --type SqlQuery --out hex)"},
          [options] { return Encode(*options); }};
}

}  // namespace qmsg
