#include "check/findings.h"

#include <algorithm>

#include "io/json.h"

namespace qmsg {
namespace {

constexpr std::size_t kMostWaiting = 4096;
constexpr std::size_t kShownCharacters = 60;

const char* Name(Severity severity) { return severity == Severity::kError ? "error" : "warning"; }

std::string Coloured(Severity severity) {
  return (severity == Severity::kError ? "\033[1;31m" : "\033[1;33m") +
         std::string(Name(severity)) + "\033[0m";
}

std::string Json(const Subject& subject, const Finding& finding) {
  JsonWriter json(JsonWriter::Style::kCompact);
  json.BeginObject();
  json.Key("file").String(*subject.file);
  json.Key("message").Number(subject.message);
  json.Key("offset").Number(subject.offset + finding.offset);
  json.Key("severity").String(Name(finding.rule->severity));
  json.Key("code").String(finding.rule->code);
  json.Key("path").String(finding.path);
  json.Key("reason").String(finding.reason);
  json.Key("type");
  subject.type == nullptr ? json.Null() : json.String(subject.type->full_name());
  json.EndObject();
  return json.text();
}

}  // namespace

void Findings::Add(Finding finding) {
  waiting_.push_back(std::move(finding));
  if (waiting_.size() == kMostWaiting) {
    Flush();
  }
}

void Findings::Flush() {
  std::stable_sort(waiting_.begin(), waiting_.end(), [](const Finding& one, const Finding& other) {
    return one.offset < other.offset;
  });
  for (const Finding& finding : waiting_) {
    tell_(finding);
  }
  waiting_.clear();
}

std::string Quoted(std::string_view text) {
  JsonWriter json(JsonWriter::Style::kCompact);
  if (text.size() <= kShownCharacters) {
    return json.String(text).text();
  }
  std::size_t size = kShownCharacters;
  while (size > kShownCharacters - 4 && (static_cast<unsigned char>(text[size]) & 0xc0U) == 0x80) {
    --size;
  }
  return json.String(text.substr(0, size)).text() + "...";
}

Report::Report(Output& output, Form form, std::uint64_t most)
    : output_(output), form_(form), colour_(WantsColour(output)), most_(most) {}

void Report::Tell(const Subject& subject, const Finding& finding) {
  ++(finding.rule->severity == Severity::kError ? errors_ : warnings_);
  if (++found_[finding.rule] > most_) {
    return;
  }
  output_.Write((form_ == Form::kJson ? Json(subject, finding) : Text(subject, finding)) + '\n');
}

void Report::Finish(const std::string& file) {
  for (const Rule* rule : kRules) {
    if (found_[rule] > most_) {
      output_.Write(file + ": and " + std::to_string(found_[rule] - most_) + " more [" +
                    rule->code + "]; --all prints them\n");
    }
  }
  found_.clear();
}

std::string Report::Text(const Subject& subject, const Finding& finding) const {
  const Severity severity = finding.rule->severity;
  std::string text = *subject.file + ": ";
  if (form_ == Form::kNumbered) {
    text += "message " + std::to_string(subject.message) + ": ";
  }
  text += "offset " + std::to_string(subject.offset + finding.offset) + ": ";
  text += (colour_ ? Coloured(severity) : Name(severity)) + ": ";
  text += finding.path.empty() ? "" : finding.path + ": ";
  return text + finding.reason + " [" + finding.rule->code + ']';
}

}  // namespace qmsg
