// usage: differential record CORPUS RECORD   writes down what is seen of each input, as a hash
//        differential check CORPUS RECORD    compares; at the first difference it prints the number
//                                            of the input and returns 1
//        differential show CORPUS NUMBER     prints what is seen of one input, a line for each
//                                            stage: its name, a tab, the result in hexadecimal
// The first line that is printed is the file of the library that the program runs with.

#include <link.h>

#include <cstdint>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "inputs.h"
#include "observe.h"
#include "support/hex_bytes.h"

namespace {

using differential::Input;
using differential::Observations;

// Of so many inputs, one is looked at.
constexpr std::size_t kEach = QMSG_EACH;

class Hash : public Observations {
 public:
  void Add(const char* stage, int variant, const std::string& result) override {
    Mix(std::hash<std::string_view>{}(stage));
    Mix(static_cast<std::size_t>(variant));
    Mix(std::hash<std::string_view>{}(result));
  }

  std::uint64_t value() const { return value_; }

 private:
  void Mix(std::size_t more) {
    value_ = (value_ ^ more) * 0x9e3779b97f4a7c15;
    value_ ^= value_ >> 32;
  }

  std::uint64_t value_ = 0;
};

class Lines : public Observations {
 public:
  void Add(const char* stage, int variant, const std::string& result) override {
    std::cout << stage;
    if (variant != 0) {
      std::cout << ' ' << variant;
    }
    std::cout << '\t' << wire::Hex(result) << '\n';
  }
};

// Thrown to end a visit.
struct Enough {};

using VisitNumbered = std::function<void(std::size_t number, const Input& input)>;

void ForEachInput(const std::string& corpus, const VisitNumbered& visit) {
  std::size_t number = 0;
  const auto visit_some = [&](const Input& input) {
    if (number % kEach == 0) {
      visit(number, input);
    }
    ++number;
  };
  differential::ForEachMessageOf(corpus, visit_some);
  differential::ForEachDamage(visit_some);
  differential::ForEachText(visit_some);
}

struct Verdicts {
  std::size_t accepted = 0;
  std::size_t refused = 0;
};

// Inputs that are all refused, or all accepted, would show little.
void RequireBothVerdicts(std::map<std::string, Verdicts> verdicts) {
  for (const differential::Message* prototype : contract::Prototypes()) {
    const Verdicts& of_type = verdicts[prototype->GetTypeName()];
    if (of_type.accepted == 0 || of_type.refused == 0) {
      throw std::runtime_error("the inputs of " + prototype->GetTypeName() +
                               " are not both accepted and refused ones");
    }
  }
}

void Record(const std::string& corpus, const std::string& path) {
  std::vector<std::uint64_t> hashes;
  std::map<std::string, Verdicts> verdicts;
  ForEachInput(corpus, [&](std::size_t /*number*/, const Input& input) {
    Hash hash;
    Verdicts& of_type = verdicts[input.prototype->GetTypeName()];
    ++(Observe(input, hash) ? of_type.accepted : of_type.refused);
    hashes.push_back(hash.value());
  });
  RequireBothVerdicts(verdicts);
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(hashes.data()),
             static_cast<std::streamsize>(hashes.size() * sizeof(std::uint64_t)));
  if (!file.flush()) {
    throw std::runtime_error(path + ": cannot be written");
  }
  std::cout << hashes.size() << " inputs\n";
}

std::vector<std::uint64_t> ReadRecord(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string content{std::istreambuf_iterator<char>(file), {}};
  std::vector<std::uint64_t> hashes(content.size() / sizeof(std::uint64_t));
  if (hashes.empty()) {
    throw std::runtime_error(path + ": cannot be read, or is empty; 'record' writes it");
  }
  content.copy(reinterpret_cast<char*>(hashes.data()), hashes.size() * sizeof(std::uint64_t));
  return hashes;
}

bool Check(const std::string& corpus, const std::string& path) {
  const std::vector<std::uint64_t> recorded = ReadRecord(path);
  std::size_t next = 0;
  try {
    ForEachInput(corpus, [&](std::size_t number, const Input& input) {
      Hash hash;
      Observe(input, hash);
      if (next == recorded.size() || hash.value() != recorded[next++]) {
        std::cout << number << '\n';
        throw Enough();
      }
    });
  } catch (const Enough&) {
    return false;
  }
  if (next != recorded.size()) {
    throw std::runtime_error(path + " has more inputs than there are");
  }
  std::cout << next << " inputs\n";
  return true;
}

void Show(const std::string& corpus, std::size_t wanted) {
  try {
    ForEachInput(corpus, [&](std::size_t number, const Input& input) {
      if (number == wanted) {
        std::cout << "type\t" << wire::Hex(input.prototype->GetTypeName()) << '\n';
        Lines lines;
        Observe(input, lines);
        throw Enough();
      }
    });
  } catch (const Enough&) {
    return;
  }
  throw std::runtime_error("no input has the number " + std::to_string(wanted));
}

std::string Library() {
  std::string found;
  dl_iterate_phdr(
      [](dl_phdr_info* info, std::size_t /*size*/, void* data) {
        const std::string name = info->dlpi_name;
        if (name.find("/libqmsg") != std::string::npos) {
          *static_cast<std::string*>(data) = name;
        }
        return 0;
      },
      &found);
  return found;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() != 3) {
      throw std::invalid_argument("usage: differential record|check|show CORPUS RECORD|NUMBER");
    }
    std::cout << Library() << '\n';
    const auto& [command, corpus, last] = std::tie(arguments[0], arguments[1], arguments[2]);
    if (command == "record") {
      Record(corpus, last);
    } else if (command == "check") {
      return Check(corpus, last) ? EXIT_SUCCESS : EXIT_FAILURE;
    } else if (command == "show") {
      Show(corpus, std::stoul(last));
    } else {
      throw std::invalid_argument("'" + command + "' is none of record, check, show");
    }
    return EXIT_SUCCESS;
  } catch (const std::exception& error) {
    std::cerr << "differential: " << error.what() << '\n';
    return 2;
  }
}
