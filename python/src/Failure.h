// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>
#include <string>

namespace cabinaudio::python {

/// A refusal of the library. In Python it becomes the exception that cabinaudio._errors.make()
/// returns for it.
class Failure : public std::exception {
public:
    /// @param status  of the library or the server
    /// @param call    for the text: 'write to "music"'
    /// @param done    bytes that were read or written before
    Failure(int status, std::string call, long done = 0)
        : mStatus(status), mCall(std::move(call)), mDone(done) {}

    [[nodiscard]] int status() const { return mStatus; }
    [[nodiscard]] const std::string& call() const { return mCall; }
    [[nodiscard]] long done() const { return mDone; }
    [[nodiscard]] const char* what() const noexcept override { return mCall.c_str(); }

private:
    int mStatus;
    std::string mCall;
    long mDone;
};

/// Makes this module's exceptions known to Python. Called once, by the module.
void translateFailures();

}  // namespace cabinaudio::python
