// SPDX-License-Identifier: Apache-2.0
#include "devkit/text/Output.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace cabinaudio::text {
namespace {

// The stream remembers only that a write failed. 0: none, or the reason is unknown.
std::atomic<int> gError{0};

void note(bool isWritten) {
    const int error = errno;
    int none = 0;
    if (!isWritten) gError.compare_exchange_strong(none, error);
}

/// Some file systems report a full disk only when a descriptor is closed; a copy serves as well.
void closeCopy() {
    const int copy = dup(STDOUT_FILENO);
    if (copy >= 0) note(close(copy) == 0);
}

}  // namespace

void print(std::string_view text) {
    note(std::fwrite(text.data(), 1, text.size(), stdout) == text.size());
    flushOutput();
}

void flushOutput() {
    note(std::fflush(stdout) == 0);
}

bool outputIsLost() {
    return gError != 0 || std::ferror(stdout) != 0;
}

std::string outputFault() {
    flushOutput();
    closeCopy();
    if (!outputIsLost()) return "";
    const int error = gError;
    return std::string("cannot write to standard output") +
           (error != 0 ? std::string(": ") + std::strerror(error) : "");
}

}  // namespace cabinaudio::text
