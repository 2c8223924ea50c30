#include "describe/render.h"
#include "io/wrap.h"

namespace qmsg {
namespace {

constexpr std::size_t kIndent = 2;
constexpr std::size_t kColumn = 7;  // behind a number

class Text {
 public:
  explicit Text(bool colour) : colour_(colour) {}

  std::string Render(const Description& description) {
    text_ += description.kind + " " + Bold(description.name) + "\n";
    text_ +=
        Wrap((description.inside.empty() ? "" : "in " + description.inside + ", ") +
                 (description.kind == "file" ? "package " + description.package : description.file),
             kIndent);
    if (!description.comment.empty()) {
      text_ += "\n" + Wrap(description.comment, kIndent);
    }
    Messages(description.messages);
    Fields(description);
    Oneofs(description);
    Enums(description);
    if (!description.unused_numbers.empty()) {
      Heading("Unused numbers");
      std::string numbers;
      for (const int number : description.unused_numbers) {
        numbers += (numbers.empty() ? "" : ", ") + std::to_string(number);
      }
      text_ += Wrap(numbers, kIndent);
    }
    if (!description.used_by.empty()) {
      Heading("Used by");
      for (const std::string& name : description.used_by) {
        text_ += Wrap(name, kIndent);
      }
    }
    return std::move(text_);
  }

 private:
  std::string Bold(const std::string& name) const {
    return colour_ ? "\x1b[1m" + name + "\x1b[0m" : name;
  }

  void Heading(const char* heading) { text_ += std::string("\n") + heading + "\n"; }

  void Numbered(int number, const std::string& name) {
    const std::string digits = std::to_string(number);
    text_.append(kColumn - 2 - std::min(kColumn - 2, digits.size()), ' ');
    text_ += digits + "  " + Bold(name);
  }

  void Messages(const std::vector<MessageFacts>& messages) {
    if (messages.empty()) {
      return;
    }
    Heading("Messages");
    for (const MessageFacts& message : messages) {
      text_ += "  " + Bold(message.full_name) + ", " + std::to_string(message.field_count) +
               (message.field_count == 1 ? " field\n" : " fields\n");
      text_ += Wrap(message.comment, kColumn);
    }
  }

  void Fields(const Description& description) {
    if (description.fields.empty()) {
      return;
    }
    const bool is_itself = description.kind == "field";
    Heading(is_itself ? "Field" : "Fields");
    for (const FieldFacts& field : description.fields) {
      Numbered(field.number, field.name);
      text_ += std::string("  ") +
               (field.cardinality == std::string("repeated") ? "repeated " : "") + field.type +
               "\n";
      text_ += Wrap("tag " + field.tag + ", " + field.wire_type + "; presence " + field.presence,
                    kColumn);
      text_ += is_itself ? "" : Wrap(field.comment, kColumn);
    }
  }

  void Oneofs(const Description& description) {
    if (description.oneofs.empty()) {
      return;
    }
    const bool is_itself = description.kind == "oneof";
    Heading(is_itself ? "Oneof" : "Oneofs");
    for (const OneofFacts& oneof : description.oneofs) {
      text_ += "  " + Bold(oneof.name) + "\n";
      std::string members;
      for (const std::string& member : oneof.members) {
        members += (members.empty() ? "one of: " : ", ") + member;
      }
      text_ += Wrap(oneof.members.size() == 1 ? "set or not: " + oneof.members.front() : members,
                    kColumn);
      text_ += is_itself ? "" : Wrap(oneof.comment, kColumn);
    }
  }

  void Enums(const Description& description) {
    for (const EnumFacts& type : description.enums) {
      const bool is_itself = type.full_name == description.name;
      Heading(is_itself ? "Values" : ("Values of " + type.full_name).c_str());
      for (const ValueFacts& value : type.values) {
        Numbered(value.number, value.name);
        text_ += "\n";
        text_ += value.full_name == description.name ? "" : Wrap(value.comment, kColumn);
      }
    }
  }

  bool colour_;
  std::string text_;
};

}  // namespace

std::string AsText(const Description& description, bool colour) {
  return Text(colour).Render(description);
}

}  // namespace qmsg
