#include "tests/kit/allocation_ledger.h"

#include <elf.h>
#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kit {
namespace {

struct redirected_slot {
  void** place;
  void* original;
};

struct live_block {
  size_t number;
  size_t size;
};

struct ledger_state {
  std::mutex mutex;
  std::unordered_map<const void*, live_block> live;
  std::vector<heap_call> calls;
  size_t entered = 0;
  size_t live_bytes = 0;
  size_t peak_bytes = 0;
  size_t allocations = 0;
  size_t failures = 0;
  size_t bad_releases = 0;
  size_t successes_left = allocation_ledger::never;
  bool keeps_failing = false;
  std::vector<redirected_slot> slots;
};

ledger_state* open_ledger = nullptr;

[[noreturn]] void give_up(const char* reason) {
  std::fprintf(stderr, "allocation_ledger: %s\n", reason);
  std::abort();
}

bool allocation_may_succeed() {
  const std::lock_guard lock(open_ledger->mutex);
  size_t& left = open_ledger->successes_left;
  if (left == allocation_ledger::never) return true;
  if (left > 0) {
    --left;
    return true;
  }
  if (!open_ledger->keeps_failing) left = allocation_ledger::never;
  ++open_ledger->failures;
  return false;
}

/// The block's number.
size_t enter(const void* block, size_t size) {
  const std::lock_guard lock(open_ledger->mutex);
  const size_t number = open_ledger->entered++;
  open_ledger->live[block] = {number, size};
  open_ledger->live_bytes += size;
  open_ledger->peak_bytes = std::max(open_ledger->peak_bytes, open_ledger->live_bytes);
  return number;
}

void* entered(void* block, size_t size) {
  if (block == nullptr) return nullptr;
  const size_t number = enter(block, size);
  const std::lock_guard lock(open_ledger->mutex);
  ++open_ledger->allocations;
  open_ledger->calls.push_back({number, size, false});
  return block;
}

/// False when the block was not live.
bool struck(const void* block) {
  const std::lock_guard lock(open_ledger->mutex);
  const auto found = open_ledger->live.find(block);
  if (found == open_ledger->live.end()) {
    ++open_ledger->bad_releases;
    return false;
  }
  const live_block& released = found->second;
  open_ledger->live_bytes -= released.size;
  open_ledger->calls.push_back({released.number, released.size, true});
  open_ledger->live.erase(found);
  return true;
}

void* counted_malloc(size_t size) {
  return allocation_may_succeed() ? entered(std::malloc(size), size) : nullptr;
}

void* counted_calloc(size_t count, size_t size) {
  return allocation_may_succeed() ? entered(std::calloc(count, size), count * size) : nullptr;
}

void* counted_realloc(void* block, size_t size) {
  if (!allocation_may_succeed()) return nullptr;
  if (block != nullptr && !struck(block)) return nullptr;
  return entered(std::realloc(block, size), size);
}

void counted_free(void* block) {
  if (block != nullptr && struck(block)) std::free(block);
}

void* replacement_of(std::string_view name) {
  if (name == "malloc") return reinterpret_cast<void*>(counted_malloc);
  if (name == "calloc") return reinterpret_cast<void*>(counted_calloc);
  if (name == "realloc") return reinterpret_cast<void*>(counted_realloc);
  if (name == "free") return reinterpret_cast<void*>(counted_free);
  return nullptr;
}

/// Immediate binding leaves the table read-only after loading; it is opened for one write.
void write_slot(void** place, void* value) {
  const uintptr_t page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
  void* const start = reinterpret_cast<void*>(reinterpret_cast<uintptr_t>(place) & ~(page - 1));
  if (mprotect(start, page, PROT_READ | PROT_WRITE) != 0) give_up("cannot open the import table");
  *place = value;
}

/// The parts of a loaded object's dynamic section that lead to its imported functions.
struct dynamic_view {
  const ElfW(Sym) * symbols = nullptr;
  const char* names = nullptr;
  const ElfW(Rela) * tables[2] = {};
  size_t counts[2] = {};
};

dynamic_view view_of(const dl_phdr_info& object) {
  dynamic_view view;
  const ElfW(Dyn)* entry = nullptr;
  for (size_t i = 0; i < object.dlpi_phnum; ++i)
    if (object.dlpi_phdr[i].p_type == PT_DYNAMIC)
      entry = reinterpret_cast<const ElfW(Dyn)*>(object.dlpi_addr + object.dlpi_phdr[i].p_vaddr);
  for (; entry != nullptr && entry->d_tag != DT_NULL; ++entry) {
    const ElfW(Addr) value = entry->d_un.d_ptr;
    switch (entry->d_tag) {
      case DT_SYMTAB:
        view.symbols = reinterpret_cast<const ElfW(Sym)*>(value);
        break;
      case DT_STRTAB:
        view.names = reinterpret_cast<const char*>(value);
        break;
      case DT_RELA:
        view.tables[0] = reinterpret_cast<const ElfW(Rela)*>(value);
        break;
      case DT_RELASZ:
        view.counts[0] = value / sizeof(ElfW(Rela));
        break;
      case DT_JMPREL:
        view.tables[1] = reinterpret_cast<const ElfW(Rela)*>(value);
        break;
      case DT_PLTRELSZ:
        view.counts[1] = value / sizeof(ElfW(Rela));
        break;
      default:
        break;
    }
  }
  return view;
}

int redirect_imports(dl_phdr_info* object, size_t, void* wanted) {
  const std::string_view path = object->dlpi_name;
  const size_t slash = path.rfind('/');
  const std::string_view file = slash == path.npos ? path : path.substr(slash + 1);
  if (file != static_cast<const char*>(wanted)) return 0;
  const dynamic_view view = view_of(*object);
  for (int table = 0; table < 2; ++table) {
    for (size_t i = 0; i < view.counts[table]; ++i) {
      const ElfW(Rela)& relocation = view.tables[table][i];
      const auto symbol = ELF64_R_SYM(relocation.r_info);
      if (symbol == 0) continue;
      void* const replacement = replacement_of(view.names + view.symbols[symbol].st_name);
      if (replacement == nullptr) continue;
      void** const place = reinterpret_cast<void**>(object->dlpi_addr + relocation.r_offset);
      open_ledger->slots.push_back({place, *place});
      write_slot(place, replacement);
    }
  }
  return 1;
}

}  // namespace

allocation_ledger::allocation_ledger(const char* library) {
  if (open_ledger != nullptr) give_up("already open");
  open_ledger = new ledger_state;
  if (dl_iterate_phdr(redirect_imports, const_cast<char*>(library)) == 0)
    give_up("the library is not loaded");
  if (open_ledger->slots.empty()) give_up("the library imports no allocator");
}

allocation_ledger::~allocation_ledger() {
  for (const redirected_slot& slot : open_ledger->slots) write_slot(slot.place, slot.original);
  delete open_ledger;
  open_ledger = nullptr;
}

void allocation_ledger::fail_after(size_t successes) {
  open_ledger->successes_left = successes;
  open_ledger->keeps_failing = false;
}
void allocation_ledger::fail_from(size_t successes) {
  open_ledger->successes_left = successes;
  open_ledger->keeps_failing = true;
}
size_t allocation_ledger::live_blocks() const { return open_ledger->live.size(); }
size_t allocation_ledger::live_bytes() const { return open_ledger->live_bytes; }
size_t allocation_ledger::peak_bytes() const { return open_ledger->peak_bytes; }
size_t allocation_ledger::allocations() const { return open_ledger->allocations; }
size_t allocation_ledger::failures() const { return open_ledger->failures; }
size_t allocation_ledger::bad_releases() const { return open_ledger->bad_releases; }
std::vector<heap_call> allocation_ledger::calls() const { return open_ledger->calls; }
void allocation_ledger::adopt(void* block, size_t size) { (void)enter(block, size); }
bool allocation_ledger::holds(const void* block) const { return open_ledger->live.contains(block); }
void allocation_ledger::release(void* block) { counted_free(block); }
void allocation_ledger::release_all() {
  while (live_blocks() != 0) release(const_cast<void*>(open_ledger->live.begin()->first));
}

}  // namespace kit
