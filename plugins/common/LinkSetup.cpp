// SPDX-License-Identifier: Apache-2.0
#include "plugins/common/LinkSetup.h"

#include <cabinaudio/link/LinkPolicy.h>

#include <dlfcn.h>

#include <chrono>
#include <cstdlib>

namespace cabinaudio::plugin {

namespace {

using namespace std::chrono_literals;

constexpr auto LONGEST_REPLY = 2000ms;

// Priorities of the log library, which is loaded with the library but not linked: its headers are
// not needed to build a plug-in.
constexpr int PRIORITY_ERROR = 6;
constexpr int PRIORITY_SILENT = 8;

void completePolicy() {
    LinkPolicy policy = linkPolicy();
    policy.allowsOrdinaryThreads = true;
    policy.wakesOnServerLoss = true;
    if (policy.replyTimeout.count() == 0) policy.replyTimeout = LONGEST_REPLY;
    setLinkPolicy(policy);
}

/// Plug-ins are loaded with local names. So only a program that is linked with the library, or
/// loads it for its own use, has the library's names in the global scope.
bool programUsesLibrary() {
    void* const program = dlopen(nullptr, RTLD_LAZY | RTLD_NOLOAD);
    if (program == nullptr) return false;
    const bool isThere = dlsym(program, "_ZN10cabinaudio13setLinkPolicyERKNS_10LinkPolicyE");
    dlclose(program);
    return isThere;
}

/// @return the priority before, or -1 when the log is not to be touched
int setLogPriority(int priority) {
    static const bool isOurs = std::getenv("CABINAUDIO_LOG") == nullptr && !programUsesLibrary();
    using Set = int(int);
    static Set* const set =
        reinterpret_cast<Set*>(dlsym(RTLD_DEFAULT, "__android_log_set_minimum_priority"));
    return isOurs && set != nullptr ? set(priority) : -1;
}

}  // namespace

void prepareLibrary() {
    [[maybe_unused]] static const bool isDone = [] {
        completePolicy();
        setLogPriority(PRIORITY_ERROR);
        return true;
    }();
}

void silenceLog() {
    setLogPriority(PRIORITY_SILENT);
}

SilentLog::SilentLog() : mBefore(setLogPriority(PRIORITY_SILENT)) {}

SilentLog::~SilentLog() {
    if (mBefore >= 0) setLogPriority(mBefore);
}

}  // namespace cabinaudio::plugin
