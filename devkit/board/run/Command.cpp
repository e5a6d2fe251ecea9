// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/run/Command.h"

#include "devkit/board/Handshake.h"
#include "devkit/board/run/PreloadList.h"
#include "devkit/board/run/Refusal.h"

#include <elf.h>
#include <unistd.h>

#include <cstdlib>

namespace cabinaudio::run {
namespace {

constexpr char PRELOAD_VARIABLE[] = "LD_PRELOAD";
constexpr char DRY_RUN_VARIABLE[] = "LD_TRACE_LOADED_OBJECTS";
constexpr char EMULATOR[] = "qemu-arm";

bool runsNatively(const ElfFile& elf) {
    return elf.machine == board::THIS_MACHINE ||
           (board::THIS_MACHINE == EM_X86_64 && elf.machine == EM_386);
}

std::string emulatorFor(const Program& program) {
    if (runsNatively(program.elf)) return {};
    if (program.elf.machine != EM_ARM) {
        throw Refusal(program.binary + " is for " + describe(program.elf) +
                      " and does not run on this machine");
    }
    try {
        return findCommand(EMULATOR);
    } catch (const Refusal&) {
        throw Refusal(program.binary + " is for 32-bit ARM and needs qemu-arm (Debian: qemu-user)");
    }
}

void executeWords(const std::string& file, const std::vector<std::string>& words) {
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (const std::string& word : words) {
        pointers.push_back(const_cast<char*>(word.c_str()));  // execv() does not change them
    }
    pointers.push_back(nullptr);
    execv(file.c_str(), pointers.data());
}

}  // namespace

Command::Command(const Program& program) : mProgram(program), mEmulator(emulatorFor(program)) {}

void Command::preload(const std::vector<std::string>& libraries) {
    mPreload = joinedPreloads(libraries);
}

/// A guest library in the emulator's own environment has the wrong architecture for it, and a host
/// board library there would answer in the guest's place.
void Command::setPreloadVariable() const {
    const std::string own = isEmulated() ? joinedPreloads(foreignPreloads()) : mPreload;
    if (own.empty())
        unsetenv(PRELOAD_VARIABLE);
    else
        setenv(PRELOAD_VARIABLE, own.c_str(), 1);
}

std::vector<std::string> Command::emulatedWords(bool dryRun) const {
    std::vector<std::string> words{mEmulator};
    if (std::getenv("QEMU_LD_PREFIX") == nullptr) {
        // Loader and libraries must both come from this machine's armhf packages.
        words.insert(words.end(), {"-L", "/"});
    }
    words.insert(words.end(), {"-E", std::string(PRELOAD_VARIABLE) + "=" + mPreload});
    if (dryRun) words.insert(words.end(), {"-E", std::string(DRY_RUN_VARIABLE) + "=1"});
    if (mProgram.viaScript.empty())
        words.insert(words.end(), {"-0", mProgram.arguments.front(), mProgram.binary});
    else
        words.insert(words.end(), mProgram.viaScript.begin(), mProgram.viaScript.end());
    words.insert(words.end(), mProgram.arguments.begin() + 1, mProgram.arguments.end());
    return words;
}

void Command::execute() const {
    setPreloadVariable();
    if (isEmulated())
        executeWords(mEmulator, emulatedWords(false));
    else
        executeWords(mProgram.path, mProgram.arguments);
}

void Command::executeDryRun() const {
    setPreloadVariable();
    if (isEmulated()) {
        executeWords(mEmulator, emulatedWords(true));
    } else {
        setenv(DRY_RUN_VARIABLE, "1", 1);
        executeWords(mProgram.path, mProgram.arguments);
    }
}

}  // namespace cabinaudio::run
