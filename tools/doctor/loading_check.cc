#include <algorithm>
#include <sstream>

#include "doctor/checks.h"
#include "doctor/child.h"
#include "doctor/process.h"

namespace qmsg::doctor {
namespace {

constexpr std::size_t kQuotedLines = 2;
constexpr std::size_t kQuotedBytes = 600;
constexpr std::size_t kMostLoaded = 1000;  // of the objects that the probe names

// The runtime prints this before a name when it refuses a schema file.
constexpr char kFileExists[] = "File already exists in database: ";
constexpr char kSymbolExists[] = "Symbol name \"";

// The first lines of its standard error.
std::string Quoted(const std::string& errors) {
  std::istringstream lines(errors);
  std::string quoted;
  std::string line;
  for (std::size_t i = 0; i < kQuotedLines && std::getline(lines, line); ++i) {
    quoted += (i == 0 ? "" : " | ") + line;
  }
  if (quoted.size() > kQuotedBytes) {
    quoted = quoted.substr(0, kQuotedBytes) + "...";
  }
  return quoted.empty() ? "" : "; it said: " + quoted;
}

std::string Explain(const std::string& errors) {
  const std::size_t file = errors.find(kFileExists);
  if (file != std::string::npos) {
    const std::size_t name = file + sizeof(kFileExists) - 1;
    return "a process can have one schema file of each name, and two objects have " +
           errors.substr(name, errors.find_first_of(" \n", name) - name) +
           ": 'names' lists them; keep one of them, or generate the other's classes from a "
           "folder of its own";
  }
  if (errors.find(kSymbolExists) != std::string::npos) {
    return "two objects have the same messages: 'names' lists them; link with libqmsg instead "
           "of generating classes from its schema files";
  }
  return "remove it, reinstall it or report it to its vendor: a process that loads it ends this "
         "way";
}

constexpr char kOtherVersion[] =
    "it was built against another version of libqmsg or protobuf: rebuild it, or install that "
    "version";

// Whether the symbol belongs to the messages or to the runtime, rather than to a host program.
bool IsOurs(const std::string& reason) {
  return reason.find("4quor8protobuf") != std::string::npos ||
         reason.find("6google8protobuf") != std::string::npos ||
         reason.find("descriptor_table_") != std::string::npos;
}

std::string ExplainRefusal(const std::string& reason) {
  if (reason.find("cannot open shared object file") != std::string::npos) {
    return "install the missing library, or add its folder to LD_LIBRARY_PATH or, permanently, to "
           "/etc/ld.so.conf.d and run ldconfig";
  }
  if (reason.find("undefined symbol") != std::string::npos) {
    return IsOurs(reason) ? kOtherVersion
                          : "load it in its host program, which may define the symbol";
  }
  if (reason.find("version `") != std::string::npos) {
    return "it was built on a newer system: rebuild it on this one";
  }
  return "reinstall it, or build it for this system";
}

std::string Unhex(const std::string& text) {
  std::string bytes;
  for (std::size_t i = 0; i + 2 <= text.size(); i += 2) {
    const auto digit = [&text](std::size_t at) {
      const auto character = static_cast<unsigned char>(text[at]);
      return character <= '9' ? character - '0' : character - 'a' + 10;
    };
    bytes.push_back(static_cast<char>(digit(i) * 16 + digit(i + 1)));
  }
  return bytes;
}

// Reads the report of the probe, which the objects in its process may have garbled.
class Report {
 public:
  Report(const std::vector<const Object*>& objects, Findings& findings)
      : objects_(objects), findings_(findings) {}

  void Read(const std::string& report) {
    std::istringstream lines(report);
    std::string line;
    while (std::getline(lines, line)) {
      std::istringstream words(line);
      std::string kind;
      words >> kind;
      std::string rest;
      std::getline(words >> std::ws, rest);
      ReadLine(kind, rest);
    }
  }

  bool at_end() const { return at_end_; }
  bool all_opened() const { return all_opened_; }
  // The object that was opened last; null before the first.
  const Object* last() const { return last_; }
  Loading& loading() { return loading_; }

 private:
  void ReadLine(const std::string& kind, const std::string& rest) {
    const std::size_t space = rest.find(' ');
    const std::string first = rest.substr(0, space);
    const std::string second = space == std::string::npos ? "" : rest.substr(space + 1);
    if (kind == "opening" && opened_ < objects_.size()) {
      last_ = objects_[opened_++];
    } else if (kind == "undefined" && last_ != nullptr) {
      AddUndefined(second);
    } else if (kind == "refused" && last_ != nullptr) {
      all_opened_ = false;
      findings_.push_back({Level::kError, "load", last_->path,
                           last_->path + " cannot be loaded: " + second, ExplainRefusal(second)});
    } else if (kind == "loaded" && loading_.loaded.size() < kMostLoaded) {
      loading_.loaded.push_back(rest);
    } else if (kind == "file") {
      loading_.schema_files.push_back({first, "", Unhex(second)});
    }
    at_end_ = kind == "end";
  }

  void AddUndefined(const std::string& reason) {
    if (IsOurs(reason)) {
      all_opened_ = false;
      findings_.push_back({Level::kError, "load", last_->path,
                           last_->path + " lacks a symbol: " + reason, kOtherVersion});
    } else {
      findings_.push_back({Level::kNote, "load", last_->path,
                           last_->path + " lacks a symbol: " + reason,
                           "nothing to do if its host program defines the symbol"});
    }
  }

  const std::vector<const Object*>& objects_;
  Findings& findings_;
  Loading loading_;
  const Object* last_ = nullptr;
  std::size_t opened_ = 0;
  bool at_end_ = false;
  bool all_opened_ = true;
};

}  // namespace

std::optional<Loading> CheckLoading(const std::vector<Object>& objects,
                                    std::chrono::milliseconds limit, Findings& findings) {
  std::vector<const Object*> usable;
  std::vector<std::string> command{ProbePath()};
  if (command.front().empty()) {
    findings.push_back({Level::kWarning, "load", "",
                        "nothing was loaded: the program qmsg-probe is missing",
                        "reinstall this tool, or give --no-load"});
    return std::nullopt;
  }
  for (const SchemaFile& file : KnownSchemaFiles()) {
    command.push_back(file.name);
  }
  command.emplace_back("--");
  for (const Object& object : objects) {
    if (object.IsUsable()) {
      usable.push_back(&object);
      command.push_back(object.path);
    }
  }
  if (usable.empty()) {
    return std::nullopt;
  }
  const ChildResult result = RunChild(command, limit);
  Report report(usable, findings);
  report.Read(result.report);
  const bool well =
      result.start_error == 0 && !result.timed_out && result.signal == 0 && result.status == 0;
  if (well && report.at_end()) {
    if (report.all_opened()) {
      findings.push_back({Level::kOk, "load", "",
                          usable.size() == 1
                              ? "it loads in a process of its own"
                              : "all " + std::to_string(usable.size()) + " load in one process",
                          ""});
    }
    return std::move(report.loading());
  }
  const std::string how = HowItEnded(result, limit) + Quoted(result.errors);
  const std::string path = report.last() == nullptr ? "" : report.last()->path;
  if (report.last() == nullptr) {
    findings.push_back({Level::kError, "load", "", "the process that loads libraries " + how,
                        "reinstall this tool and protobuf"});
  } else if (report.at_end()) {
    findings.push_back({Level::kError, "load", path,
                        "the process that had loaded " + path + " " + how, Explain("")});
    return std::move(report.loading());
  } else {
    findings.push_back({Level::kError, "load", path, "the process that loaded " + path + " " + how,
                        Explain(result.errors)});
  }
  return std::nullopt;
}

}  // namespace qmsg::doctor
