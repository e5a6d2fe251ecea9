// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <dlfcn.h>

#include <atomic>
#include <cstdarg>

// For a program's own definitions of platform functions. The sanitizers' start-up calls those, so
// nothing here may need a sanitizer: files that include this are compiled without, and each has its
// own copy, which the linker cannot exchange for one that was compiled with.
namespace cabinaudio::test {
namespace {

/// The definition behind ours. A sanitizer's stands in the program, too, under another name.
template <typename Function>
Function* next(std::atomic<Function*>& found, const char* name, const char* sanitizers) {
    Function* function = found.load(std::memory_order_acquire);
    if (function == nullptr) {
        void* at = dlsym(RTLD_DEFAULT, sanitizers);
        if (at == nullptr) at = dlsym(RTLD_NEXT, name);
        function = reinterpret_cast<Function*>(at);
        found.store(function, std::memory_order_release);
    }
    return function;
}

/// A system call, with as many arguments as one can have.
struct SystemCall {
    long number;
    long argument[6];

    /// As syscall(2) of the next library.
    [[nodiscard]] long pass() const {
        using Function = long(long, ...);
        static constinit std::atomic<Function*> found{nullptr};
        return next(found, "syscall", "__interceptor_syscall")(
            number, argument[0], argument[1], argument[2], argument[3], argument[4], argument[5]);
    }
};

/// What syscall(2) was called with.
[[maybe_unused]] SystemCall systemCall(long number, std::va_list arguments) {
    SystemCall call = {number, {}};
    for (long& one : call.argument)
        one = va_arg(arguments, long);
    return call;
}

}  // namespace
}  // namespace cabinaudio::test
