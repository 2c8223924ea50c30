// Reads an ELF file for this machine, which may be damaged or malicious.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qmsg::doctor {

struct ElfFile {
  // Why no loader accepts it, as the rest of a sentence about the file. The other members are only
  // valid if it is empty.
  std::string fault;
  bool is_program = false;
  std::string soname;                // empty: it has none
  std::vector<std::string> needed;   // SONAMEs of the libraries that it is linked with
  std::vector<std::string> exports;  // names of the symbols it exports
  // Offset and size in the file of the loaded segments.
  std::vector<std::pair<std::size_t, std::size_t>> loaded;
};

ElfFile ReadElf(std::string_view bytes);

}  // namespace qmsg::doctor
