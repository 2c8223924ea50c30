#include "doctor/finding.h"

#include <algorithm>
#include <string_view>

#include "io/escape.h"
#include "io/json.h"

namespace qmsg::doctor {
namespace {

struct Look {
  const char* name;
  const char* colour;
};

Look LookOf(Level level) {
  switch (level) {
    case Level::kOk:
      return {"ok", "\x1b[32m"};
    case Level::kNote:
      return {"note", "\x1b[36m"};
    case Level::kWarning:
      return {"warning", "\x1b[33m"};
    case Level::kError:
      break;
  }
  return {"error", "\x1b[31m"};
}

std::string Padded(std::string text, std::size_t width) {
  text.resize(std::max(width, text.size()), ' ');
  return text;
}

// Paths and the output of foreign code may hold escape sequences; a terminal must not interpret
// them.
std::string OneLine(std::string_view text) {
  std::string line;
  while (!text.empty()) {
    const char first = text.front();
    const Shown one = ShowCharacter(text);
    if (first == '\n' || first == '\t') {
      line += ' ';
    } else if (first == '"' || first == '\\') {
      line += first;  // the text is not in quotation marks
    } else {
      line += one.text;
    }
    text.remove_prefix(one.size);
  }
  return line;
}

}  // namespace

bool IsSound(const Findings& findings) {
  return std::all_of(findings.begin(), findings.end(),
                     [](const Finding& finding) { return finding.level < Level::kWarning; });
}

void PrintText(const Findings& findings, Output& output) {
  const bool colour = WantsColour(output);
  for (const Finding& finding : findings) {
    const Look look = LookOf(finding.level);
    output.Write((colour ? look.colour : "") + Padded(look.name, 9) + (colour ? "\x1b[0m" : "") +
                 Padded(finding.subject, 9) + OneLine(finding.text) + '\n');
    if (!finding.advice.empty()) {
      output.Write(std::string(18, ' ') + "-> " + OneLine(finding.advice) + '\n');
    }
  }
}

void PrintJson(const Findings& findings, Output& output) {
  JsonWriter json(JsonWriter::Style::kPretty);
  json.BeginObject().Key("version").String(QMSG_VERSION).Key("sound").Bool(IsSound(findings));
  json.Key("findings").BeginArray();
  for (const Finding& finding : findings) {
    json.BeginObject().Key("level").String(LookOf(finding.level).name);
    json.Key("subject").String(finding.subject).Key("object").String(finding.object);
    json.Key("text").String(finding.text).Key("advice").String(finding.advice).EndObject();
  }
  json.EndArray().EndObject();
  output.Write(json.text() + '\n');
}

}  // namespace qmsg::doctor
