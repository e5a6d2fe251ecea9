// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>
#include <string>

namespace cabinaudio::python {

/// A refusal of the library. In Python it becomes the exception of cabinaudio._errors for its
/// status: ServerGone when a lost server may be the reason, and is lost.
class Failure : public std::exception {
public:
    /// To be made without the interpreter lock: it may look for the server, for 50 ms at most.
    /// @param status  of the library or the server
    /// @param call    for the text: 'write to "music"'
    /// @param done    bytes that were read or written before
    Failure(int status, std::string call, long done = 0);

    [[nodiscard]] int status() const { return mStatus; }
    [[nodiscard]] const std::string& call() const { return mCall; }
    [[nodiscard]] long done() const { return mDone; }
    [[nodiscard]] bool isServerGone() const { return mIsServerGone; }
    [[nodiscard]] const char* what() const noexcept override { return mCall.c_str(); }

private:
    int mStatus;
    std::string mCall;
    long mDone;
    bool mIsServerGone;
};

/// Whether a server listens. Does not block; the server sees a connection that comes and goes.
[[nodiscard]] bool serverListens();

/// Makes this module's exceptions known to Python. Called once, by the module.
void translateFailures();

}  // namespace cabinaudio::python
