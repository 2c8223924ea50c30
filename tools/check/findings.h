// Findings, and how they are printed.
#pragma once

#include <google/protobuf/descriptor.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "check/rules.h"
#include "io/output.h"

namespace qmsg {

struct Finding {
  const Rule* rule;
  std::uint64_t offset;  // from the first byte of the message
  std::string path;      // empty: the message as a whole
  std::string reason;
};

// Collects the findings of one message and reports them in the order of the bytes. Very many
// findings are reported in parts, each in order, so that memory stays bounded.
class Findings {
 public:
  using Tell = std::function<void(const Finding& finding)>;

  explicit Findings(Tell tell) : tell_(std::move(tell)) {}

  void Add(Finding finding);
  // Reports the findings collected so far.
  void Flush();

 private:
  Tell tell_;
  std::vector<Finding> waiting_;
};

// The message in which something was found.
struct Subject {
  const std::string* file;
  std::uint64_t message;                     // in the file, from 0
  std::uint64_t offset;                      // of its first byte in the file
  const google::protobuf::Descriptor* type;  // null: not known
};

// Text of a message, quoted and truncated.
std::string Quoted(std::string_view text);

// Writes findings, one a line, and counts them.
class Report {
 public:
  enum class Form {
    kText,      // file: offset 137: warning: path: reason [code]
    kNumbered,  // file: message 3: offset 137: ...
    kJson,      // an object with file, message, offset, severity, code, path, reason, type
  };

  // At most `most` findings of each rule are printed of a file.
  Report(Output& output, Form form, std::uint64_t most);

  // Prints the offset from the beginning of the file.
  void Tell(const Subject& subject, const Finding& finding);

  // Says how many findings were not printed. Call at the end of each file.
  void Finish(const std::string& file);

  std::uint64_t errors() const { return errors_; }
  std::uint64_t warnings() const { return warnings_; }

 private:
  std::string Text(const Subject& subject, const Finding& finding) const;

  Output& output_;
  Form form_;
  bool colour_;
  std::uint64_t most_;
  std::map<const Rule*, std::uint64_t> found_;  // in this file
  std::uint64_t errors_ = 0;
  std::uint64_t warnings_ = 0;
};

}  // namespace qmsg
