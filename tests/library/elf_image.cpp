#include "tests/library/elf_image.h"

#include <elf.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace orv::test {

namespace {

class File {
 public:
  explicit File(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    bytes_.assign(std::istreambuf_iterator<char>(in), {});
    const auto header = at<Elf64_Ehdr>(0);
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 ||
        header.e_ident[EI_CLASS] != ELFCLASS64) {
      throw std::runtime_error(path + " is not a 64-bit ELF file");
    }
    for (std::size_t i = 0; i < header.e_shnum; ++i) {
      sections_.push_back(at<Elf64_Shdr>(header.e_shoff + i * header.e_shentsize));
    }
  }

  const std::vector<Elf64_Shdr>& sections() const { return sections_; }

  template <typename T>
  T at(std::size_t offset) const {
    if (offset > bytes_.size() || bytes_.size() - offset < sizeof(T)) {
      throw std::runtime_error("ELF file is cut short");
    }
    T value;
    std::memcpy(&value, bytes_.data() + offset, sizeof(T));
    return value;
  }

  template <typename T>
  std::vector<T> table(const Elf64_Shdr& section) const {
    std::vector<T> rows;
    for (std::size_t offset = 0; offset + sizeof(T) <= section.sh_size; offset += sizeof(T)) {
      rows.push_back(at<T>(section.sh_offset + offset));
    }
    return rows;
  }

  /// A name of the string table that the section is linked to.
  std::string name(const Elf64_Shdr& section, std::size_t index) const {
    const std::size_t start = sections_.at(section.sh_link).sh_offset + index;
    const std::size_t end = bytes_.find('\0', start);
    return bytes_.substr(start, end - start);
  }

 private:
  std::string bytes_;
  std::vector<Elf64_Shdr> sections_;
};

void readSymbols(const File& file, const Elf64_Shdr& section, ElfImage& image) {
  for (const auto& symbol : file.table<Elf64_Sym>(section)) {
    const bool local = ELF64_ST_BIND(symbol.st_info) == STB_LOCAL;
    if (local) continue;
    const bool isDefined = symbol.st_shndx != SHN_UNDEF;
    (isDefined ? image.exported : image.imported).insert(file.name(section, symbol.st_name));
  }
}

void readDynamic(const File& file, const Elf64_Shdr& section, ElfImage& image) {
  for (const auto& entry : file.table<Elf64_Dyn>(section)) {
    switch (entry.d_tag) {
      case DT_NEEDED:
        image.neededFiles.push_back(file.name(section, entry.d_un.d_val));
        break;
      case DT_FLAGS_1:
        image.noDelete = (entry.d_un.d_val & DF_1_NODELETE) != 0;
        break;
      case DT_TEXTREL:
        image.textRelocations = true;
        break;
      default:
        break;
    }
  }
}

}  // namespace

ElfImage readElfImage(const std::string& path) {
  const File file(path);
  ElfImage image;
  for (const Elf64_Shdr& section : file.sections()) {
    if (section.sh_type == SHT_DYNSYM) readSymbols(file, section, image);
    if (section.sh_type == SHT_DYNAMIC) readDynamic(file, section, image);
  }
  return image;
}

}  // namespace orv::test
