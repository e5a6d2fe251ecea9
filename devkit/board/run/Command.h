// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/board/run/Program.h"

#include <string>
#include <vector>

namespace cabinaudio::run {

/// How a program is executed on this machine, and the libraries preloaded into it.
class Command {
public:
    /// @throws Refusal when this machine cannot run the program
    explicit Command(const Program& program);

    bool isEmulated() const { return !mEmulator.empty(); }

    /// Sets the libraries to preload, in this order.
    void preload(const std::vector<std::string>& libraries);

    /// Replaces this process by the program; the environment is passed on. Returns only on failure,
    /// with errno.
    void execute() const;

    /// Like execute(), but the loader only lists the objects that it would load, and exits.
    void executeDryRun() const;

private:
    void setPreloadVariable() const;
    std::vector<std::string> emulatedWords(bool dryRun) const;

    const Program& mProgram;
    std::string mEmulator;
    std::string mPreload;
};

}  // namespace cabinaudio::run
