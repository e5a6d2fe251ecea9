// SPDX-License-Identifier: Apache-2.0
#include "tests/faults/Imports.h"

#include <elf.h>
#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace cabinaudio::test {
namespace {

// What the linker fills in with the address of a function of another library.
#if defined(__x86_64__)
constexpr unsigned CALL_SLOT = R_X86_64_JUMP_SLOT;
constexpr unsigned DATA_SLOT = R_X86_64_GLOB_DAT;
#elif defined(__arm__)
constexpr unsigned CALL_SLOT = R_ARM_JUMP_SLOT;
constexpr unsigned DATA_SLOT = R_ARM_GLOB_DAT;
#elif defined(__aarch64__)
constexpr unsigned CALL_SLOT = R_AARCH64_JUMP_SLOT;
constexpr unsigned DATA_SLOT = R_AARCH64_GLOB_DAT;
#endif

constexpr std::size_t symbolOf(std::uint64_t info) {
    return static_cast<std::size_t>(__WORDSIZE == 64 ? info >> 32 : info >> 8);
}
constexpr unsigned typeOf(std::uint64_t info) {
    return static_cast<unsigned>(__WORDSIZE == 64 ? info & 0xffffffff : info & 0xff);
}

/// A table of relocations: entries of both forms begin with where and what.
struct Table {
    std::uintptr_t at = 0;
    std::size_t bytes = 0;
    std::size_t entry = sizeof(ElfW(Rela));
};

struct Found {
    const char* wanted;
    std::string file;
    std::uintptr_t base = 0;
    std::uintptr_t end = 0;
    const ElfW(Dyn) * dynamic = nullptr;
};

int look(struct dl_phdr_info* info, std::size_t /*size*/, void* context) {
    auto& found = *static_cast<Found*>(context);
    if (std::strstr(info->dlpi_name, found.wanted) == nullptr) return 0;
    found.file = info->dlpi_name;
    found.base = info->dlpi_addr;
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const ElfW(Phdr)& header = info->dlpi_phdr[i];
        if (header.p_type == PT_LOAD)
            found.end =
                std::max<std::uintptr_t>(found.end, found.base + header.p_vaddr + header.p_memsz);
        if (header.p_type == PT_DYNAMIC)
            found.dynamic = reinterpret_cast<const ElfW(Dyn)*>(found.base + header.p_vaddr);
    }
    return 1;
}

}  // namespace

Imports::Imports(const char* library) {
    Found found;
    found.wanted = library;
    dl_iterate_phdr(look, &found);
    if (found.dynamic == nullptr) throw std::runtime_error(library);
    mFile = found.file;
    mBase = found.base;
    mEnd = found.end;

    const ElfW(Sym)* symbols = nullptr;
    const char* texts = nullptr;
    Table data;
    Table calls;
    for (const ElfW(Dyn)* entry = found.dynamic; entry->d_tag != DT_NULL; ++entry) {
        const std::uintptr_t value = entry->d_un.d_ptr;
        switch (entry->d_tag) {
            case DT_SYMTAB:
                symbols = reinterpret_cast<const ElfW(Sym)*>(value);
                break;
            case DT_STRTAB:
                texts = reinterpret_cast<const char*>(value);
                break;
            case DT_RELA:
            case DT_REL:
                data.at = value;
                break;
            case DT_RELASZ:
            case DT_RELSZ:
                data.bytes = value;
                break;
            case DT_JMPREL:
                calls.at = value;
                break;
            case DT_PLTRELSZ:
                calls.bytes = value;
                break;
            case DT_PLTREL:
                calls.entry = value == DT_REL ? sizeof(ElfW(Rel)) : sizeof(ElfW(Rela));
                break;
            default:
                break;
        }
    }
    data.entry = calls.entry;
    for (const Table& table : {data, calls})
        for (std::size_t at = 0; at < table.bytes; at += table.entry) {
            const auto& entry = *reinterpret_cast<const ElfW(Rel)*>(table.at + at);
            const unsigned type = typeOf(entry.r_info);
            if (type != CALL_SLOT && type != DATA_SLOT) continue;
            const ElfW(Sym)& symbol = symbols[symbolOf(entry.r_info)];
            if (symbol.st_shndx != SHN_UNDEF) continue;
            mSlots.push_back(
                {texts + symbol.st_name, reinterpret_cast<void**>(mBase + entry.r_offset)});
        }
}

std::vector<std::string> Imports::names() const {
    std::vector<std::string> all;
    for (const Slot& slot : mSlots)
        all.emplace_back(slot.name);
    std::sort(all.begin(), all.end());
    all.erase(std::unique(all.begin(), all.end()), all.end());
    return all;
}

bool Imports::redirect(const char* name, void* function) {
    bool isCalled = false;
    const auto page = static_cast<std::uintptr_t>(getpagesize());
    for (const Slot& slot : mSlots) {
        if (std::strcmp(slot.name, name) != 0) continue;
        // Some of them lie in what the linker has made read-only.
        void* const start =
            reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(slot.at) / page * page);
        if (mprotect(start, page, PROT_READ | PROT_WRITE) != 0)
            throw std::runtime_error("mprotect");
        *slot.at = function;
        isCalled = true;
    }
    return isCalled;
}

}  // namespace cabinaudio::test
