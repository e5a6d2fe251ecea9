// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/run/Elf.h"

#include "devkit/board/run/Descriptor.h"
#include "devkit/board/run/Refusal.h"

#include <elf.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <exception>
#include <limits>
#include <vector>

namespace cabinaudio::run {
namespace {

struct Elf32 {
    using Header = Elf32_Ehdr;
    using Segment = Elf32_Phdr;
    using Entry = Elf32_Dyn;
};
struct Elf64 {
    using Header = Elf64_Ehdr;
    using Segment = Elf64_Phdr;
    using Entry = Elf64_Dyn;
};

constexpr std::size_t LONGEST_TEXT = 4096;  // for a path or a name
constexpr std::size_t MOST_ENTRIES = 65536;
constexpr std::uint64_t FARTHEST = std::numeric_limits<off64_t>::max();

class Truncated : public std::exception {};

/// Bounds-checked reads: a corrupt file gives Truncated, whatever its headers contain.
class Reader {
public:
    explicit Reader(int descriptor) : mDescriptor(descriptor) {}

    template <typename T>
    T at(std::uint64_t offset) const {
        T value;
        if (read(offset, &value, sizeof value) != sizeof value) throw Truncated();
        return value;
    }

    std::string textAt(std::uint64_t offset) const {
        char text[LONGEST_TEXT];
        const std::size_t got = read(offset, text, sizeof text);
        const std::size_t length = strnlen(text, got);
        if (length == got) throw Truncated();
        return {text, length};
    }

private:
    std::size_t read(std::uint64_t offset, void* into, std::size_t length) const {
        if (offset > FARTHEST - length) throw Truncated();
        const ssize_t got = pread64(mDescriptor, into, length, static_cast<off64_t>(offset));
        return got < 0 ? 0 : static_cast<std::size_t>(got);
    }

    int mDescriptor;
};

/// The dynamic section refers to addresses; the loadable segments map them to file offsets.
template <typename Segment>
std::uint64_t fileOffset(const std::vector<Segment>& segments, std::uint64_t address) {
    for (const Segment& segment : segments) {
        if (segment.p_type == PT_LOAD && address >= segment.p_vaddr &&
            address - segment.p_vaddr < segment.p_filesz) {
            return segment.p_offset + (address - segment.p_vaddr);
        }
    }
    throw Truncated();
}

template <typename Elf>
std::string soname(const Reader& file, const std::vector<typename Elf::Segment>& segments,
                   const typename Elf::Segment& dynamic) {
    using Entry = typename Elf::Entry;
    std::optional<std::uint64_t> name;
    std::optional<std::uint64_t> texts;
    for (std::uint64_t i = 0; i < dynamic.p_filesz / sizeof(Entry) && i < MOST_ENTRIES; ++i) {
        const auto entry = file.at<Entry>(dynamic.p_offset + i * sizeof(Entry));
        if (entry.d_tag == DT_NULL) break;
        if (entry.d_tag == DT_SONAME)
            name = entry.d_un.d_val;
        else if (entry.d_tag == DT_STRTAB)
            texts = entry.d_un.d_ptr;
    }
    return name && texts ? file.textAt(fileOffset(segments, *texts) + *name) : std::string();
}

template <typename Elf>
ElfFile describeFile(const Reader& file, int bits) {
    using Segment = typename Elf::Segment;
    const auto header = file.at<typename Elf::Header>(0);
    std::vector<Segment> segments;
    for (unsigned i = 0; i < header.e_phnum; ++i)
        segments.push_back(file.at<Segment>(header.e_phoff + i * sizeof(Segment)));
    ElfFile elf{bits, header.e_machine, {}, {}};
    for (const Segment& segment : segments) {
        if (segment.p_type == PT_INTERP)
            elf.loader = file.textAt(segment.p_offset);
        else if (segment.p_type == PT_DYNAMIC)
            elf.soname = soname<Elf>(file, segments, segment);
    }
    return elf;
}

}  // namespace

std::optional<ElfFile> readElf(const std::string& path) {
    const Descriptor descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!descriptor) throw Refusal(withReason("cannot read " + path));
    const Reader file(descriptor.get());
    try {
        struct Identification {
            unsigned char bytes[EI_NIDENT];
        };
        const auto identification = file.at<Identification>(0);
        const unsigned char* bytes = identification.bytes;
        if (std::memcmp(bytes, ELFMAG, SELFMAG) != 0 || bytes[EI_DATA] != ELFDATA2LSB)
            return std::nullopt;
        switch (bytes[EI_CLASS]) {
            case ELFCLASS32:
                return describeFile<Elf32>(file, 32);
            case ELFCLASS64:
                return describeFile<Elf64>(file, 64);
            default:
                return std::nullopt;
        }
    } catch (const Truncated&) {
        return std::nullopt;
    }
}

std::string describe(const ElfFile& elf) {
    const std::string bits = std::to_string(elf.bits) + "-bit ";
    switch (elf.machine) {
        case EM_X86_64:
        case EM_386:
            return bits + "x86";
        case EM_ARM:
        case EM_AARCH64:
            return bits + "ARM";
        default:
            return bits + "machine " + std::to_string(elf.machine);
    }
}

std::string debianTriplet(const ElfFile& elf) {
    switch (elf.machine) {
        case EM_X86_64:
            return elf.bits == 64 ? "x86_64-linux-gnu" : "x86_64-linux-gnux32";
        case EM_386:
            return "i386-linux-gnu";
        case EM_ARM:
            return "arm-linux-gnueabihf";
        case EM_AARCH64:
            return "aarch64-linux-gnu";
        default:
            return {};
    }
}

}  // namespace cabinaudio::run
