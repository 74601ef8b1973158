#include "cli_shell/tools/exported_handlers.hpp"

#include <elf.h>
#include <link.h>

#include <cstring>

namespace cli_shell {

namespace {

// Reads records at offsets that the file itself gives, and so may lie anywhere.
class Object {
 public:
  explicit Object(std::string_view bytes) : bytes_(bytes) {}

  template <class Record>
  bool read(std::size_t offset, Record &record) const {
    if (offset > bytes_.size() || bytes_.size() - offset < sizeof record) {
      return false;
    }
    std::memcpy(&record, bytes_.data() + offset, sizeof record);
    return true;
  }

  [[nodiscard]] std::string_view text(std::size_t offset) const {
    const std::string_view rest = offset < bytes_.size() ? bytes_.substr(offset) : "";
    return rest.substr(0, rest.find('\0'));
  }

 private:
  std::string_view bytes_;
};

using Header = ElfW(Ehdr);
using Section = ElfW(Shdr);
using Symbol = ElfW(Sym);

bool is_exported_function(const Symbol &symbol) {
  return symbol.st_shndx != SHN_UNDEF && ELF64_ST_TYPE(symbol.st_info) == STT_FUNC &&
         ELF64_ST_BIND(symbol.st_info) == STB_GLOBAL && ELF64_ST_VISIBILITY(symbol.st_other) == STV_DEFAULT;
}

bool can_be_handler(std::string_view name) {
  return !name.empty() && name[0] != '_' && !name.starts_with("cli_shell_");
}

void append_functions(const Object &object, const Section &symbols, const Section &names,
                      std::vector<std::string> &out) {
  Symbol symbol;
  for (std::size_t at = 0; at + sizeof symbol <= symbols.sh_size; at += sizeof symbol) {
    if (!object.read(symbols.sh_offset + at, symbol)) {
      return;
    }
    const std::string_view name = object.text(names.sh_offset + symbol.st_name);
    if (is_exported_function(symbol) && can_be_handler(name)) {
      out.emplace_back(name);
    }
  }
}

}  // namespace

std::vector<std::string> exported_handlers(std::string_view object_bytes) {
  const Object object(object_bytes);
  std::vector<std::string> functions;
  Header header;
  if (!object.read(0, header) || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 ||
      header.e_shentsize != sizeof(Section)) {
    return functions;
  }
  for (std::size_t at = 0; at < header.e_shnum; ++at) {
    Section section;
    Section names;
    if (object.read(header.e_shoff + at * sizeof section, section) && section.sh_type == SHT_DYNSYM &&
        object.read(header.e_shoff + section.sh_link * sizeof section, names)) {
      append_functions(object, section, names, functions);
    }
  }
  return functions;
}

}  // namespace cli_shell
