// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace cabinaudio::run {

/// Facts about a program or library that the launcher needs.
struct ElfFile {
    int bits = 0;               // 32 or 64
    std::uint16_t machine = 0;  // EM_...
    std::string loader;         // program interpreter, empty in static programs and libraries
    std::string soname;

    bool fits(const ElfFile& other) const { return bits == other.bits && machine == other.machine; }
};

/// Reads the headers of a file.
/// @return empty unless it is a complete little-endian ELF file
/// @throws Refusal when it cannot be read
std::optional<ElfFile> readElf(const std::string& path);

/// "64-bit x86", "32-bit ARM" ...
std::string describe(const ElfFile& elf);

/// Directory below lib with the libraries for such files; "" if there is none.
std::string debianTriplet(const ElfFile& elf);

}  // namespace cabinaudio::run
