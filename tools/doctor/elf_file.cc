#include "doctor/elf_file.h"

#include <elf.h>
#include <link.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <type_traits>

namespace qmsg::doctor {
namespace {

using Header = ElfW(Ehdr);
using Segment = ElfW(Phdr);
using Section = ElfW(Shdr);
using Dynamic = ElfW(Dyn);
using Symbol = ElfW(Sym);

#if defined(__x86_64__) && !defined(__ILP32__)
constexpr int kMachine = EM_X86_64;
#elif defined(__i386__)
constexpr int kMachine = EM_386;
#elif defined(__aarch64__)
constexpr int kMachine = EM_AARCH64;
#elif defined(__arm__)
constexpr int kMachine = EM_ARM;
#elif defined(__powerpc64__)
constexpr int kMachine = EM_PPC64;
#elif defined(__s390x__)
constexpr int kMachine = EM_S390;
#elif defined(__riscv)
constexpr int kMachine = EM_RISCV;
#else
constexpr int kMachine = EM_NONE;  // unknown: the loader decides
#endif

constexpr int kClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
constexpr int kOrder = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? ELFDATA2LSB : ELFDATA2MSB;

class Reader {
 public:
  explicit Reader(std::string_view bytes) : bytes_(bytes) {}

  ElfFile Run() {
    if (ReadHeader() && ReadSegments() && ReadSections()) {
      ReadDynamic();
    }
    return std::move(file_);
  }

 private:
  bool Refuse(std::string fault) {
    file_.fault = std::move(fault);
    return false;
  }

  bool RefuseEnd(std::uint64_t end) {
    if (end <= bytes_.size()) {  // the addition has overflowed
      return Refuse("is damaged: an offset in it exceeds any file size");
    }
    return Refuse("is cut off: it should have at least " + std::to_string(end) + " bytes and has " +
                  std::to_string(bytes_.size()));
  }

  bool Has(std::uint64_t offset, std::uint64_t size) const {
    return offset <= bytes_.size() && size <= bytes_.size() - offset;
  }

  template <typename T>
  std::optional<T> At(std::uint64_t offset) const {
    static_assert(std::is_trivially_copyable_v<T>);
    if (!Has(offset, sizeof(T))) {
      return std::nullopt;
    }
    T value;
    std::memcpy(&value, bytes_.data() + offset, sizeof(T));
    return value;
  }

  // The string at that index of a string table.
  std::string Text(std::uint64_t table, std::uint64_t size, std::uint64_t index) const {
    if (!Has(table, size) || index >= size) {
      return "";
    }
    const std::string_view rest = bytes_.substr(table + index, size - index);
    const std::size_t end = rest.find('\0');
    return std::string(end == std::string_view::npos ? std::string_view() : rest.substr(0, end));
  }

  bool ReadHeader() {
    if (bytes_.substr(0, SELFMAG) != ELFMAG) {
      return Refuse(bytes_.empty() ? "is empty" : "is not an ELF file");
    }
    const std::optional<Header> header = At<Header>(0);
    if (!header) {
      return RefuseEnd(sizeof(Header));
    }
    header_ = *header;
    if (header_.e_ident[EI_CLASS] != kClass || header_.e_ident[EI_DATA] != kOrder ||
        (kMachine != EM_NONE && header_.e_machine != kMachine)) {
      return Refuse("is for another architecture (ELF machine " +
                    std::to_string(header_.e_machine) + ", this one is " +
                    std::to_string(kMachine) + ")");
    }
    if (header_.e_type != ET_DYN && header_.e_type != ET_EXEC) {
      return Refuse("is not a shared object: its ELF type is " + std::to_string(header_.e_type));
    }
    file_.is_program = header_.e_type == ET_EXEC;
    return true;
  }

  bool ReadSegments() {
    if (header_.e_phnum == 0 || header_.e_phentsize != sizeof(Segment)) {
      return Refuse("is damaged: it has no valid segment table");
    }
    for (std::uint64_t i = 0; i < header_.e_phnum; ++i) {
      const std::uint64_t offset = header_.e_phoff + i * sizeof(Segment);
      const std::optional<Segment> segment = At<Segment>(offset);
      if (offset < header_.e_phoff || !segment) {
        return RefuseEnd(offset + sizeof(Segment));
      }
      if (segment->p_type != PT_LOAD && segment->p_type != PT_DYNAMIC) {
        continue;
      }
      if (!Has(segment->p_offset, segment->p_filesz)) {
        return RefuseEnd(segment->p_offset + segment->p_filesz);
      }
      segments_.push_back(*segment);
      if (segment->p_type == PT_LOAD) {
        file_.loaded.emplace_back(segment->p_offset, segment->p_filesz);
      }
    }
    return true;
  }

  // Sections are optional; if there are any, their table ends the file.
  bool ReadSections() {
    if (header_.e_shoff == 0 || header_.e_shentsize != sizeof(Section)) {
      return true;
    }
    const std::uint64_t end = header_.e_shoff + std::uint64_t{header_.e_shnum} * sizeof(Section);
    if (end < header_.e_shoff || end > bytes_.size()) {
      return RefuseEnd(end);
    }
    for (std::uint64_t i = 0; i < header_.e_shnum; ++i) {
      const Section section = *At<Section>(header_.e_shoff + i * sizeof(Section));
      const auto names = At<Section>(header_.e_shoff + section.sh_link * sizeof(Section));
      if (section.sh_type == SHT_DYNSYM && section.sh_link < header_.e_shnum && names &&
          Has(section.sh_offset, section.sh_size)) {
        ReadExports(section, *names);
      }
    }
    return true;
  }

  void ReadExports(const Section& symbols, const Section& names) {
    for (std::uint64_t i = 0; i + sizeof(Symbol) <= symbols.sh_size; i += sizeof(Symbol)) {
      const Symbol symbol = *At<Symbol>(symbols.sh_offset + i);
      if (symbol.st_shndx != SHN_UNDEF) {
        file_.exports.push_back(Text(names.sh_offset, names.sh_size, symbol.st_name));
      }
    }
  }

  std::optional<std::uint64_t> OffsetOf(std::uint64_t address) const {
    for (const Segment& segment : segments_) {
      if (segment.p_type == PT_LOAD && address >= segment.p_vaddr &&
          address - segment.p_vaddr < segment.p_filesz) {
        return address - segment.p_vaddr + segment.p_offset;
      }
    }
    return std::nullopt;
  }

  void ReadDynamic() {
    std::vector<Dynamic> entries;
    for (const Segment& segment : segments_) {
      for (std::uint64_t i = 0; segment.p_type == PT_DYNAMIC && i < segment.p_filesz;
           i += sizeof(Dynamic)) {
        const std::optional<Dynamic> entry = At<Dynamic>(segment.p_offset + i);
        if (!entry || entry->d_tag == DT_NULL) {
          break;
        }
        entries.push_back(*entry);
      }
    }
    std::optional<std::uint64_t> table;
    std::uint64_t size = 0;
    for (const Dynamic& entry : entries) {
      if (entry.d_tag == DT_STRTAB) {
        table = OffsetOf(entry.d_un.d_ptr);
      } else if (entry.d_tag == DT_STRSZ) {
        size = entry.d_un.d_val;
      } else if (entry.d_tag == DT_FLAGS_1 && (entry.d_un.d_val & DF_1_PIE) != 0) {
        file_.is_program = true;
      }
    }
    if (!table || !Has(*table, size)) {
      Refuse(entries.empty() ? "is not a shared object: it has no dynamic section"
                             : "is damaged: its dynamic string table lies outside the file");
      return;
    }
    for (const Dynamic& entry : entries) {
      if (entry.d_tag == DT_SONAME) {
        file_.soname = Text(*table, size, entry.d_un.d_val);
      } else if (entry.d_tag == DT_NEEDED) {
        file_.needed.push_back(Text(*table, size, entry.d_un.d_val));
      }
    }
  }

  std::string_view bytes_;
  Header header_{};
  std::vector<Segment> segments_;
  ElfFile file_;
};

}  // namespace

ElfFile ReadElf(std::string_view bytes) { return Reader(bytes).Run(); }

}  // namespace qmsg::doctor
