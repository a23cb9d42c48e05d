#include "LibraryCalls.h"

#include <cstdint>
#include <cstring>
#include <link.h>
#include <new>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

namespace TestSupport {

namespace {

// What is looked for in the loaded libraries, and the slots found.
struct Search_s {
  const char* name;
  const std::vector<std::string>& libraries;
  std::vector<void**> slots;
};

// The dynamic section of a library.
struct Tables_s {
  const char* names = nullptr;
  const ElfW(Sym) * symbols = nullptr;
  const unsigned char* calls = nullptr;
  std::size_t callsSize = 0;
  const unsigned char* data = nullptr;
  std::size_t dataSize = 0;
  std::size_t entrySize = sizeof(ElfW(Rel));
};

Tables_s tablesOf(const ElfW(Dyn) * section) {
  Tables_s tables;
  for (; section->d_tag != DT_NULL; ++section) {
    const auto address = static_cast<std::uintptr_t>(section->d_un.d_ptr);
    switch (section->d_tag) {
    case DT_STRTAB:
      tables.names = reinterpret_cast<const char*>(address);
      break;
    case DT_SYMTAB:
      tables.symbols = reinterpret_cast<const ElfW(Sym)*>(address);
      break;
    case DT_JMPREL:
      tables.calls = reinterpret_cast<const unsigned char*>(address);
      break;
    case DT_PLTRELSZ:
      tables.callsSize = section->d_un.d_val;
      break;
    case DT_RELA:
      tables.entrySize = sizeof(ElfW(Rela));
      tables.data = reinterpret_cast<const unsigned char*>(address);
      break;
    case DT_REL:
      tables.data = reinterpret_cast<const unsigned char*>(address);
      break;
    case DT_RELASZ:
    case DT_RELSZ:
      tables.dataSize = section->d_un.d_val;
      break;
    default:
      break;
    }
  }
  return tables;
}

// The slots of plain function addresses have the same two numbers on x86 and x86-64.
bool isFunctionSlot(const ElfW(Rel) & entry) {
  const auto kind = static_cast<unsigned int>(entry.r_info & 0xFF);
  return kind == R_X86_64_JUMP_SLOT || kind == R_X86_64_GLOB_DAT;
}

std::size_t symbolOf(const ElfW(Rel) & entry) {
  constexpr unsigned int shift = sizeof(void*) == 8 ? 32 : 8;
  return static_cast<std::size_t>(entry.r_info >> shift);
}

void findSlots(const Tables_s& tables, const unsigned char* begin, std::size_t size, ElfW(Addr) base,
               Search_s& search) {
  for (std::size_t at = 0; at < size; at += tables.entrySize) {
    ElfW(Rel) entry;
    std::memcpy(&entry, begin + at, sizeof entry);
    if (isFunctionSlot(entry) &&
        std::strcmp(tables.names + tables.symbols[symbolOf(entry)].st_name, search.name) == 0) {
      search.slots.push_back(reinterpret_cast<void**>(base + entry.r_offset));
    }
  }
}

bool isWanted(const dl_phdr_info& object, const Search_s& search) {
  const std::string path = object.dlpi_name;
  const std::string name = path.substr(path.rfind('/') + 1);
  for (const std::string& library : search.libraries) {
    if (name.compare(0, library.size(), library) == 0) {
      return true;
    }
  }
  return false;
}

int searchObject(dl_phdr_info* object, std::size_t, void* data) {
  auto& search = *static_cast<Search_s*>(data);
  if (!isWanted(*object, search)) {
    return 0;
  }
  for (int number = 0; number < object->dlpi_phnum; ++number) {
    const ElfW(Phdr)& segment = object->dlpi_phdr[number];
    if (segment.p_type == PT_DYNAMIC) {
      const Tables_s tables = tablesOf(
          reinterpret_cast<const ElfW(Dyn)*>(static_cast<std::uintptr_t>(object->dlpi_addr + segment.p_vaddr)));
      findSlots(tables, tables.calls, tables.callsSize, object->dlpi_addr, search);
      findSlots(tables, tables.data, tables.dataSize, object->dlpi_addr, search);
    }
  }
  return 0;
}

// The loader may have made the slots read-only.
void makeWritable(void** slot) {
  const auto pageSize = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  const auto page = reinterpret_cast<std::uintptr_t>(slot) & ~(pageSize - 1);
  if (mprotect(reinterpret_cast<void*>(page), pageSize, PROT_READ | PROT_WRITE) != 0) {
    throw std::runtime_error("the calls of a library cannot be led elsewhere");
  }
}

std::size_t blocksTaken = 0;
std::size_t blocksGivenBack = 0;

void* takeBlock(std::size_t size) {
  ++blocksTaken;
  return ::operator new(size);
}

void giveBack(void* block) {
  ++blocksGivenBack;
  ::operator delete(block);
}

void giveBackSized(void* block, std::size_t) {
  giveBack(block);
}

const std::vector<std::string> librariesWithHeap = {"libzemoUtils", "libstdc++"};

} // namespace

LibraryCall_c::LibraryCall_c(const char* name, void* substitute, const std::vector<std::string>& libraries) {
  Search_s search = {name, libraries, {}};
  dl_iterate_phdr(searchObject, &search);
  if (search.slots.empty()) {
    throw std::runtime_error(std::string("no library calls ") + name);
  }
  for (void** slot : search.slots) {
    makeWritable(slot);
    m_slots.emplace_back(slot, *slot);
    *slot = substitute;
  }
}

LibraryCall_c::~LibraryCall_c() {
  for (const auto& slot : m_slots) {
    *slot.first = slot.second;
  }
}

HeapUse_c::HeapUse_c()
    : m_new(sizeof(void*) == 8 ? "_Znwm" : "_Znwj", &takeBlock, librariesWithHeap),
      m_delete("_ZdlPv", &giveBack, librariesWithHeap),
      m_sizedDelete(sizeof(void*) == 8 ? "_ZdlPvm" : "_ZdlPvj", &giveBackSized, librariesWithHeap) {
  blocksTaken = 0;
  blocksGivenBack = 0;
}

std::size_t HeapUse_c::taken() const {
  return blocksTaken;
}

std::size_t HeapUse_c::givenBack() const {
  return blocksGivenBack;
}

} // namespace TestSupport
