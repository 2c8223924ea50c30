#include "check_tool.h"

#include <google/protobuf/any.pb.h>
#include <google/protobuf/empty.pb.h>
#include <google/protobuf/struct.pb.h>
#include <google/protobuf/stubs/common.h>
#include <google/protobuf/stubs/logging.h>
#include <google/protobuf/util/json_util.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <new>
#include <ostream>
#include <sstream>
#include <vector>

#include "check/message_check.h"
#include "guess/hint.h"
#include "guess/ranking.h"
#include "schema/schema.h"
#include "wire/faults.h"
#include "wire/hex_lines.h"
#include "wire/view.h"
#include "wire/walk.h"

namespace fuzz {
namespace {

using google::protobuf::Any;
using google::protobuf::Descriptor;
using google::protobuf::Empty;
using google::protobuf::LogSilencer;
using google::protobuf::MessageFactory;

// What a message says of a field.
std::ostream& operator<<(std::ostream& out, const qmsg::Occurrence& at) {
  return out << "field " << at.number << " at " << at.begin;
}

std::ostream& operator<<(std::ostream& out, const qmsg::Finding& finding) {
  return out << finding.rule->code << " at " << finding.offset << ", " << finding.path << ": "
             << finding.reason;
}

// Puts `otherwise` together only if it is needed: most of the time would go into that.
template <class... Parts>
void Expect(bool holds, const Parts&... otherwise) {
  if (!holds) {
    std::ostringstream text;
    (text << ... << otherwise);
    throw Disagreement(text.str());
  }
}

// What is written there can be read here.
class MemoryOutput {
 public:
  MemoryOutput() : file_(open_memstream(&data_, &size_)), output_(file_) {
    if (file_ == nullptr) {
      throw std::bad_alloc();
    }
  }
  ~MemoryOutput() {
    std::fclose(file_);
    std::free(data_);  // NOLINT(cppcoreguidelines-no-malloc): as open_memstream asks for
  }
  MemoryOutput(const MemoryOutput&) = delete;
  MemoryOutput& operator=(const MemoryOutput&) = delete;

  qmsg::Output& output() { return output_; }
  std::string_view text() {
    output_.Flush();
    return {data_, size_};
  }

 private:
  char* data_ = nullptr;
  std::size_t size_ = 0;
  std::FILE* file_;
  qmsg::Output output_;
};

// Bytes, and what they are read as.
struct Reading {
  std::string name;
  std::string_view bytes;
  const Descriptor* type;  // null: not known
  bool accepted;           // by the runtime
};

bool Parses(const Descriptor* type, std::string_view bytes) {
  const std::unique_ptr<Message> message(
      MessageFactory::generated_factory()->GetPrototype(type)->New());
  return message->ParseFromArray(bytes.data(), static_cast<int>(bytes.size()));
}

void ExpectVerdict(const std::string& reader, bool verdict, const Reading& reading) {
  Expect(verdict == reading.accepted, reader, verdict ? " accepts" : " refuses",
         " what the runtime ", verdict ? "refuses" : "accepts", " as ", reading.name);
}

// Holds the walk to the order of the bytes.
class Steps : public qmsg::Visitor {
 public:
  explicit Steps(std::size_t size) : size_(size) {}

  void Value(const qmsg::Occurrence& at, const qmsg::Path& path) override {
    Begin(at, path);
    Expect(at.value <= at.end && at.end <= size_, "A value ends outside the bytes, ", at);
    at_ = at.end;
  }

  void Enter(const qmsg::Occurrence& at, const Descriptor* /*type*/,
             const qmsg::Path& path) override {
    Begin(at, path);
    ++open_;
    at_ = at.value;
  }

  void Leave(const qmsg::Occurrence& at, const qmsg::Path& path) override {
    Expect(open_ == path.depth(), "What was not entered is left, ", at);
    Expect(at_ <= at.end && at.end <= size_, "A message ends outside the bytes, ", at);
    // Only the end of a group has bytes of its own.
    whole_ = whole_ && (at_ == at.end) == (at.wire_type != qmsg::WireType::WIRETYPE_START_GROUP);
    --open_;
    at_ = at.end;
  }

  void Meet(const qmsg::Fault& fault, const qmsg::Path& /*path*/) override {
    Expect(fault.offset <= size_, "A fault lies outside the bytes, at ", fault.offset, ": ",
           fault.reason);
    CheckLine(fault.reason);
    ++faults_;
  }

  std::size_t faults() const { return faults_; }
  // Whether there was no byte that it was not told of.
  bool whole() const { return whole_ && open_ == 0 && at_ == size_; }

 private:
  void Begin(const qmsg::Occurrence& at, const qmsg::Path& path) {
    Expect(path.depth() == open_ + 1, "A path is not as deep as the walk, ", at);
    Expect(at_ <= at.begin && at.begin < at.value, "The walk goes back, ", at);
    whole_ = whole_ && at_ == at.begin;
  }

  std::size_t size_;
  std::size_t at_ = 0;
  std::size_t open_ = 0;
  std::size_t faults_ = 0;
  bool whole_ = true;
};

void CheckWalk(const Reading& reading) {
  Steps steps(reading.bytes.size());
  ExpectVerdict("The walk", qmsg::Walk(reading.bytes, reading.type, steps), reading);
  Expect((steps.faults() == 0) == reading.accepted, "The walk meets ", steps.faults(),
         " faults as ", reading.name);
  Expect(!reading.accepted || steps.whole(), "The walk leaves out bytes as ", reading.name);
  const std::string fault = qmsg::FirstFault(reading.bytes, reading.type, 0);
  CheckLine(fault);
  ExpectVerdict("The first fault", fault.empty(), reading);
}

struct Checked {
  bool good;
  std::vector<qmsg::Finding> findings;
};

Checked MessageChecked(const Reading& reading, qmsg::ParsedMessagePool& pool) {
  Checked checked{};
  qmsg::Findings findings(
      [&checked](const qmsg::Finding& finding) { checked.findings.push_back(finding); });
  checked.good = qmsg::MessageCheck(reading.bytes, reading.type, pool, findings).good();
  return checked;
}

bool IsError(const qmsg::Finding& finding) {
  return finding.rule->severity == qmsg::Severity::kError;
}

std::string Reported(const Reading& reading, const qmsg::Finding& finding,
                     qmsg::Report::Form form) {
  MemoryOutput memory;
  const std::string file = "-";
  qmsg::Report(memory.output(), form, 1).Tell({&file, 0, 0, reading.type}, finding);
  std::string line(memory.text());
  Expect(!line.empty() && line.back() == '\n', "A finding is not a line: ", line);
  line.pop_back();
  CheckLine(line);
  return line;
}

void CheckReport(const Reading& reading, const qmsg::Finding& finding) {
  Reported(reading, finding, qmsg::Report::Form::kText);
  const std::string json = Reported(reading, finding, qmsg::Report::Form::kJson);
  google::protobuf::Struct object;
  Expect(google::protobuf::util::JsonStringToMessage(json, &object).ok() &&
             object.fields().at("path").string_value() == finding.path &&
             object.fields().at("reason").string_value() == finding.reason,
         "A finding is not what its JSON says: ", json);
}

// What is more than that is told in parts.
constexpr std::size_t kToldInOrder = 4095;
// One is told like another.
constexpr std::size_t kReports = 4;

void CheckMessageCheck(const Reading& reading, qmsg::ParsedMessagePool& pool) {
  const Checked checked = MessageChecked(reading, pool);
  const std::vector<qmsg::Finding>& findings = checked.findings;
  ExpectVerdict("The check", checked.good, reading);
  ExpectVerdict("The check by its errors", std::none_of(findings.begin(), findings.end(), IsError),
                reading);
  std::uint64_t before = 0;
  for (const qmsg::Finding& finding : findings) {
    const std::size_t size = reading.bytes.size();
    // A message without any bytes can be wrong as a whole; what is cut off lacks bytes at its end.
    Expect(finding.offset < size || (finding.offset == size && (size == 0 || IsError(finding))),
           "Outside the bytes as ", reading.name, ", ", finding);
    Expect(finding.offset >= before || findings.size() > kToldInOrder, "Out of order as ",
           reading.name, ", ", finding);
    before = finding.offset;
  }
  for (std::size_t i = 0; i < std::min(findings.size(), kReports); ++i) {
    CheckReport(reading, findings[i]);
  }
  // The pool has been used by now.
  const std::vector<qmsg::Finding> again = MessageChecked(reading, pool).findings;
  Expect(std::equal(findings.begin(), findings.end(), again.begin(), again.end(),
                    [](const qmsg::Finding& one, const qmsg::Finding& other) {
                      return one.rule == other.rule && one.offset == other.offset &&
                             one.path == other.path && one.reason == other.reason;
                    }),
         "Checked again, other findings as ", reading.name);
}

// Returns the number of faults.
std::size_t CheckViewOf(const Reading& reading, std::uint64_t base, Shown shown) {
  MemoryOutput memory;
  qmsg::HexLines lines(memory.output(), false, shown == Shown::kAll);
  const std::size_t faults = qmsg::ViewMessage(reading.bytes, reading.type, base, 0, lines);
  CheckView(memory.text(), reading.bytes, base, shown);
  // Of an Any, faults of what it holds count too.
  const bool others_count = reading.type == Any::descriptor();
  Expect(faults == 0 ? reading.accepted : others_count || !reading.accepted, "The view has ",
         faults, " faults as ", reading.name);
  return faults;
}

void CheckViews(const Reading& reading) {
  CheckViewOf(reading, 0, Shown::kAll);
  constexpr std::uint64_t kBeforeMoreDigits = 0xfffff0;
  CheckViewOf(reading, kBeforeMoreDigits, Shown::kBeginnings);
}

void CheckAnyOf(const Reading& reading) {
  Any any;
  any.set_type_url("/" + reading.type->full_name());
  any.set_value(std::string(reading.bytes));
  const std::string bytes = any.SerializeAsString();
  const Reading inside{"an Any of " + reading.name, bytes, Any::descriptor(), true};
  ExpectVerdict("The view of an Any", CheckViewOf(inside, 0, Shown::kAll) == 0, reading);
}

void CheckGuess(const Reading& reading) {
  // Those of one file; of all types it would take most of the time.
  std::vector<const Descriptor*> types = qmsg::SchemaMessages();
  types.erase(std::remove_if(types.begin(), types.end(),
                             [&reading](const Descriptor* type) {
                               return type->file() != reading.type->file();
                             }),
              types.end());
  qmsg::Ranking ranking(types);
  ranking.Judge(reading.bytes, 0, "");
  const std::vector<qmsg::Candidate> candidates = ranking.Candidates();
  std::vector<const Descriptor*> listed;
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    const qmsg::Candidate& candidate = candidates[i];
    const bool first = i == 0 || candidates[i - 1].evidence.Score() != candidate.evidence.Score();
    Expect(first ? candidate.rank == listed.size() + 1 : candidate.rank == candidates[i - 1].rank,
           "Candidate ", i, " has rank ", candidate.rank);
    Expect(i == 0 || candidates[i - 1].evidence.Score() >= candidate.evidence.Score(), "Candidate ",
           i, " is likelier than the one before it");
    for (const std::string& reason : candidate.evidence.Reasons()) {
      CheckLine(reason);
    }
    listed.insert(listed.end(), candidate.types.begin(), candidate.types.end());
  }
  ExpectVerdict("The guess", std::find(listed.begin(), listed.end(), reading.type) != listed.end(),
                reading);
  for (const qmsg::Refused& refused : ranking.Out()) {
    Expect(!refused.reason.empty(), refused.type->full_name(), " is out for no reason");
    CheckLine(refused.reason);
    listed.push_back(refused.type);
  }
  Expect(std::is_permutation(listed.begin(), listed.end(), types.begin(), types.end()),
         "The guess does not have each type once");
  CheckLine(qmsg::Hint(reading.bytes));
}

void CheckAll(const Descriptor* type, const std::string& bytes) {
  const Reading of_type{type->full_name(), bytes, type, Parses(type, bytes)};
  const Reading of_none{"an unknown type", bytes, nullptr, Parses(Empty::descriptor(), bytes)};
  const Reading of_any{"an Any", bytes, Any::descriptor(), Parses(Any::descriptor(), bytes)};
  qmsg::ParsedMessagePool pool;
  for (const Reading* reading : {&of_type, &of_none, &of_any}) {
    CheckWalk(*reading);
    CheckMessageCheck(*reading, pool);
    CheckViews(*reading);
  }
  CheckAnyOf(of_type);
  CheckGuess(of_type);
}

constexpr char kHexDigits[] = "0123456789abcdef";

std::string Digits(std::uint64_t number, std::size_t width) {
  const std::string digits = std::to_string(number);
  return std::string(width - std::min(width, digits.size()), ' ') + digits;
}

std::string HexOf(char byte) {
  const auto value = static_cast<unsigned char>(byte);
  return {kHexDigits[value / 16], kHexDigits[value % 16]};
}

// Takes away the beginning, if it is there.
bool Take(std::string_view& line, std::string_view beginning) {
  if (line.substr(0, beginning.size()) != beginning) {
    return false;
  }
  line.remove_prefix(beginning.size());
  return true;
}

}  // namespace

void CheckLine(std::string_view line) {
  Expect(google::protobuf::internal::IsStructurallyValidUTF8(line.data(),
                                                             static_cast<int>(line.size())),
         "A line is not UTF-8: ", line);
  for (std::size_t i = 0; i < line.size(); ++i) {
    const auto byte = static_cast<unsigned char>(line[i]);
    const bool c1 = byte == 0xc2 && static_cast<unsigned char>(line[i + 1]) < 0xa0;
    Expect(byte >= 0x20 && byte != 0x7f && !c1, "A line has a control character: ", line);
  }
}

void CheckView(std::string_view view, std::string_view bytes, std::uint64_t base, Shown shown) {
  constexpr std::size_t kWidth = 6;  // of an offset, at least
  std::size_t next = 0;
  bool gap = false;
  while (!view.empty()) {
    const std::size_t end = view.find('\n');
    Expect(end != std::string_view::npos, "The last line of a view has no end");
    std::string_view line = view.substr(0, end);
    view.remove_prefix(end + 1);
    CheckLine(line);
    const std::string_view whole = line;
    const std::size_t first = line.find_first_not_of(' ');
    if (first >= kWidth) {
      Expect(first != std::string_view::npos && line.back() != ' ',
             "A line without bytes is none: '", whole, "'");
      continue;
    }
    if (gap) {
      const std::string digits(line.substr(first));
      const std::uint64_t offset = std::strtoull(digits.c_str(), nullptr, 10);
      Expect(offset > base + next && offset < base + bytes.size(),
             "Not behind what was left out: '", whole, "'");
      next = static_cast<std::size_t>(offset - base);
    }
    Expect(Take(line, Digits(base + next, kWidth)), "Another offset than that of byte ", next,
           ": '", whole, "'");
    gap = false;
    std::size_t count = 0;
    // Bytes are one space apart, what stands beside them is further away.
    for (std::string space = "  ";
         !gap && (count == 0 || (!line.empty() && line.substr(0, 2) != "  ")); space = " ") {
      gap = count > 0 && shown == Shown::kBeginnings && Take(line, " ..");
      Expect(gap || (next < bytes.size() && Take(line, space + HexOf(bytes[next]))),
             "Another byte than byte ", next, ": '", whole, "'");
      next += gap ? 0 : 1;
      ++count;
    }
    Expect(count <= qmsg::HexLines::kBytes && (line.empty() || line.substr(0, 2) == "  "),
           "More than bytes: '", whole, "'");
  }
  Expect(gap || next == bytes.size(), "The view ends with byte ", next, " of ", bytes.size());
}

void CheckTool(const Descriptor* type, const std::string& bytes) {
  const LogSilencer silence;
  try {
    CheckAll(type, bytes);
  } catch (const Disagreement&) {
    throw;
  } catch (const std::exception& error) {
    throw Disagreement(std::string("An exception: ") + error.what());
  }
}

}  // namespace fuzz
