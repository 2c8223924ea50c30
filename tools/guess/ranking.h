// Ranks all types by the same messages.
#pragma once

#include <google/protobuf/descriptor.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "guess/evidence.h"

namespace qmsg {

// One type, or several with the same wire format and thus the same evidence.
struct Candidate {
  std::vector<const google::protobuf::Descriptor*> types;
  Evidence evidence;
  std::size_t rank = 1;  // from 1; candidates of the same score share it
};

struct Refused {
  const google::protobuf::Descriptor* type;
  std::string reason;
};

class Ranking {
 public:
  // Ranks these types. Empty: the types that JudgeAs is called with.
  explicit Ranking(const std::vector<const google::protobuf::Descriptor*>& types);

  // Adds the evidence of a message to all types. Types for which it is not valid are out; `where`
  // and its offset in the input become part of the reason.
  void Judge(std::string_view bytes, std::uint64_t offset, const std::string& where);

  // Adds the evidence of a message that names its type.
  void JudgeAs(const google::protobuf::Descriptor* type, std::string_view bytes,
               std::uint64_t offset, const std::string& where);

  // The likeliest first; of the same score, in the order of declaration.
  std::vector<Candidate> Candidates() const;

  // In the order of declaration.
  std::vector<Refused> Out() const;

  // Whether there is a candidate that fits well.
  bool FitsWell() const;

 private:
  struct Judged {
    const google::protobuf::Descriptor* type;
    Evidence evidence;
    std::string reason;  // why it is out; empty: it is not
  };

  static void Judge(Judged& judged, std::string_view bytes, std::uint64_t offset,
                    const std::string& where);

  std::vector<Judged> judged_;
};

}  // namespace qmsg
