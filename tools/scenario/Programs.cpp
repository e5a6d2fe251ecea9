// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/Programs.h"

#include "devkit/board/Board.h"
#include "tools/scenario/Files.h"
#include "tools/scenario/Signals.h"
#include "tools/scenario/Wait.h"

#include <csignal>

namespace cabinaudio::tool::scenario {

void Programs::start(const Program& program) {
    ChildStart start;
    start.words = {mLocations.launcher, "--instance", mInstance, "--"};
    start.words.insert(start.words.end(), program.words.begin(), program.words.end());
    const std::string log = mDirectory.file(program.name + ".log");
    start.outputFile = log;
    start.errorFile = log;
    // Settings of the library belong to the user, not to a test.
    start.variables = {{board::INSTANCE_VARIABLE, mInstance},
                       {board::CONFIG_DIRECTORY_VARIABLE, mDirectory.file("config")},
                       {"PATH", mLocations.searchPath()}};
    mChildren[program.name] = std::make_unique<Child>(start);
    mLogs[program.name] = log;
}

void Programs::send(const std::string& name, int signal) const {
    if (const auto child = mChildren.find(name); child != mChildren.end())
        child->second->send(signal);
}

void Programs::end(std::chrono::milliseconds grace) {
    const auto haveEnded = [&] {
        (void)update();
        return haveAllEnded();
    };
    if (haveEnded()) return;
    sendToAll(SIGCONT);
    sendToAll(SIGTERM);
    if (!Wait::regardless(grace, haveEnded)) sendToAll(SIGKILL);
}

void Programs::sendToAll(int signal) const {
    for (const auto& [name, child] : mChildren)
        if (!hasEnded(name)) child->sendToGroup(signal);
}

bool Programs::update() {
    const std::size_t before = mEnds.size();
    for (const auto& [name, child] : mChildren)
        if (const std::optional<int> status = child->ended()) mEnds.emplace(name, *status);
    return mEnds.size() > before;
}

bool Programs::hasEnded(const std::string& name) const {
    return mEnds.contains(name);
}

bool Programs::haveAllEnded() const {
    return mEnds.size() == mChildren.size();
}

std::string Programs::running() const {
    std::string names;
    for (const auto& [name, child] : mChildren)
        if (!hasEnded(name)) names += (names.empty() ? "\"" : ", \"") + name + "\"";
    return names;
}

std::string Programs::failures() const {
    std::string text;
    for (const auto& [name, status] : mEnds) {
        if (status == 0) continue;
        const std::string said = lastLine(mLogs.at(name));
        text += "; \"" + name + "\" has ended with " + endText(status) +
                (said.empty() ? "" : ": " + said);
    }
    return text;
}

}  // namespace cabinaudio::tool::scenario
