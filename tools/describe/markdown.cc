#include <cstring>

#include "describe/render.h"

namespace qmsg {
namespace {

// Escapes Markdown markup outside of code between backquotes.
std::string EscapeMarkdown(const std::string& text, bool in_cell) {
  std::string escaped;
  bool in_code = false;
  for (const char character : text) {
    in_code = in_code != (character == '`');
    if (character == '\n' && in_cell) {
      escaped += ' ';
      continue;
    }
    if ((character == '|' && in_cell) ||
        (!in_code && std::strchr("\\*_<>[]|", character) != nullptr)) {
      escaped += '\\';
    }
    escaped += character;
  }
  return escaped;
}

std::string Cell(const std::string& text) { return EscapeMarkdown(text, true); }

std::string Code(const std::string& text) { return "`" + text + "`"; }

std::string Codes(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) {
    text += (text.empty() ? "" : ", ") + Code(name);
  }
  return text;
}

class Markdown {
 public:
  std::string Render(const Description& description) {
    text_ = "### " + Code(description.name) + "\n\n";
    text_ += "A" +
             std::string(std::strchr("eo", description.kind.front()) != nullptr ? "n " : " ") +
             description.kind + " of " +
             Code(description.inside.empty()
                      ? (description.kind == "file" ? description.package : description.file)
                      : description.inside) +
             ".\n";
    if (!description.comment.empty()) {
      text_ += "\n" + EscapeMarkdown(description.comment, false) + "\n";
    }
    Messages(description.messages);
    Fields(description.fields);
    Oneofs(description.oneofs);
    Enums(description);
    if (!description.unused_numbers.empty()) {
      text_ += "\nUnused numbers:";
      const char* separator = " ";
      for (const int number : description.unused_numbers) {
        text_ += separator + std::to_string(number);
        separator = ", ";
      }
      text_ += ".\n";
    }
    if (!description.used_by.empty()) {
      text_ += "\nUsed by " + Codes(description.used_by) + ".\n";
    }
    return std::move(text_);
  }

 private:
  void Row(const std::vector<std::string>& cells) {
    for (const std::string& cell : cells) {
      text_ += "| " + cell + (cell.empty() ? "" : " ");
    }
    text_ += "|\n";
  }

  void Messages(const std::vector<MessageFacts>& messages) {
    if (messages.empty()) {
      return;
    }
    text_ += "\n| message | fields | meaning |\n|---|---:|---|\n";
    for (const MessageFacts& message : messages) {
      Row({Code(message.full_name), std::to_string(message.field_count), Cell(message.comment)});
    }
  }

  void Fields(const std::vector<FieldFacts>& fields) {
    if (fields.empty()) {
      return;
    }
    text_ += "\n| number | field | type | tag | wire type | presence | meaning |\n";
    text_ += "|---:|---|---|---|---|---|---|\n";
    for (const FieldFacts& field : fields) {
      Row({std::to_string(field.number), Code(field.name),
           Code((field.cardinality == std::string("repeated") ? "repeated " : "") + field.type),
           Code(field.tag), field.wire_type, Cell(field.presence), Cell(field.comment)});
    }
  }

  void Oneofs(const std::vector<OneofFacts>& oneofs) {
    if (oneofs.empty()) {
      return;
    }
    text_ += "\n| oneof | members | meaning |\n|---|---|---|\n";
    for (const OneofFacts& oneof : oneofs) {
      Row({Code(oneof.name), Codes(oneof.members), Cell(oneof.comment)});
    }
  }

  void Enums(const Description& description) {
    for (const EnumFacts& type : description.enums) {
      text_ +=
          type.full_name == description.name ? "" : "\nValues of " + Code(type.full_name) + ":\n";
      text_ += "\n| number | value | meaning |\n|---:|---|---|\n";
      for (const ValueFacts& value : type.values) {
        Row({std::to_string(value.number), Code(value.name), Cell(value.comment)});
      }
    }
  }

  std::string text_;
};

}  // namespace

std::string AsMarkdown(const Description& description) { return Markdown().Render(description); }

}  // namespace qmsg
