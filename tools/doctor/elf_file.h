// Reads an ELF file of this machine's kind, which may be damaged or made to do harm.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qmsg::doctor {

struct ElfFile {
  // Why no loader could take it, as the rest of a sentence about the file. Empty: nothing is wrong,
  // and only then the rest says anything.
  std::string fault;
  bool is_program = false;
  std::string soname;                // empty: it has none
  std::vector<std::string> needed;   // SONAMEs of the libraries that it is linked with
  std::vector<std::string> exports;  // names of what it defines for others
  // Offset and size of the parts that are loaded, in bytes of the file.
  std::vector<std::pair<std::size_t, std::size_t>> loaded;
};

ElfFile ReadElf(std::string_view bytes);

}  // namespace qmsg::doctor
