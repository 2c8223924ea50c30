#include <cstddef>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string>

#include "inputs.h"
#include "support/hex_bytes.h"

namespace differential {
void ForEachMessageOf(const std::string& corpus, const Visitor& visit) {
  std::map<std::string, const Message*> prototypes;
  for (const Message* prototype : contract::Prototypes()) {
    prototypes[prototype->GetTypeName()] = prototype;
  }
  std::ifstream file(corpus);
  std::size_t count = 0;
  for (std::string line; std::getline(file, line); ++count) {
    const std::size_t blank = line.find(' ');
    const auto found = prototypes.find(line.substr(0, blank));
    if (blank == std::string::npos || found == prototypes.end()) {
      throw std::runtime_error(corpus + ":" + std::to_string(count + 1) +
                               ": not a message type, a blank and bytes");
    }
    visit({found->second, wire::Bytes(line.substr(blank + 1)), Detail::kFull});
  }
  if (count == 0) {
    throw std::runtime_error(corpus + ": cannot be read, or is empty; corpus.py writes it");
  }
}

}  // namespace differential
