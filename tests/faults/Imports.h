// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace cabinaudio::test {

/// A loaded shared library and what it calls of others.
class Imports {
public:
    /// @param library  a part of the file's name; throws std::runtime_error when none is loaded
    explicit Imports(const char* library);

    /// Every function or object that the library takes from elsewhere, sorted, each once.
    [[nodiscard]] std::vector<std::string> names() const;
    /// Lets the library's calls of `name` go to `function` from now on; nobody else's.
    /// @return whether the library calls it
    bool redirect(const char* name, void* function);
    /// Where the library lies, to one byte behind it; addresses in its file count from here.
    [[nodiscard]] std::uintptr_t base() const { return mBase; }
    [[nodiscard]] std::uintptr_t end() const { return mEnd; }
    [[nodiscard]] const std::string& file() const { return mFile; }

private:
    struct Slot {
        const char* name;
        void** at;
    };

    std::string mFile;
    std::uintptr_t mBase = 0;
    std::uintptr_t mEnd = 0;
    std::vector<Slot> mSlots;
};

}  // namespace cabinaudio::test
