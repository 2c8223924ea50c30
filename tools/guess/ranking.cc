#include "guess/ranking.h"

#include <algorithm>

#include "guess/wire_equivalence.h"

namespace qmsg {

using google::protobuf::Descriptor;

Ranking::Ranking(const std::vector<const Descriptor*>& types) {
  for (const Descriptor* type : types) {
    judged_.push_back({type, {}, {}});
  }
}

void Ranking::Judge(Judged& judged, std::string_view bytes, std::uint64_t offset,
                    const std::string& where) {
  if (judged.reason.empty()) {
    const std::string reason = judged.evidence.Judge(bytes, judged.type, offset);
    judged.reason = reason.empty() ? "" : where + reason;
  }
}

void Ranking::Judge(std::string_view bytes, std::uint64_t offset, const std::string& where) {
  for (Judged& judged : judged_) {
    Judge(judged, bytes, offset, where);
  }
}

void Ranking::JudgeAs(const Descriptor* type, std::string_view bytes, std::uint64_t offset,
                      const std::string& where) {
  auto found = std::find_if(judged_.begin(), judged_.end(),
                            [type](const Judged& judged) { return judged.type == type; });
  if (found == judged_.end()) {
    found = judged_.insert(judged_.end(), {type, {}, {}});
  }
  Judge(*found, bytes, offset, where);
}

std::vector<Candidate> Ranking::Candidates() const {
  std::vector<Candidate> candidates;
  for (const Judged& judged : judged_) {
    if (!judged.reason.empty()) {
      continue;
    }
    const auto same =
        std::find_if(candidates.begin(), candidates.end(), [&judged](const Candidate& other) {
          return judged.evidence.Score() == other.evidence.Score() &&
                 AreWireEquivalent(judged.type, other.types.front());
        });
    if (same == candidates.end()) {
      candidates.push_back({{judged.type}, judged.evidence, 1});
    } else {
      same->types.push_back(judged.type);
    }
  }
  std::stable_sort(candidates.begin(), candidates.end(),
                   [](const Candidate& a, const Candidate& b) {
                     return a.evidence.Score() > b.evidence.Score();
                   });
  std::size_t before = 0;  // types that are likelier, or listed above
  std::size_t rank = 1;
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    if (i > 0 && candidates[i].evidence.Score() != candidates[i - 1].evidence.Score()) {
      rank = before + 1;
    }
    candidates[i].rank = rank;
    before += candidates[i].types.size();
  }
  return candidates;
}

std::vector<Refused> Ranking::Out() const {
  std::vector<Refused> out;
  for (const Judged& judged : judged_) {
    if (!judged.reason.empty()) {
      out.push_back({judged.type, judged.reason});
    }
  }
  return out;
}

bool Ranking::FitsWell() const {
  return std::any_of(judged_.begin(), judged_.end(), [](const Judged& judged) {
    return judged.reason.empty() && judged.evidence.FitsWell();
  });
}

}  // namespace qmsg
