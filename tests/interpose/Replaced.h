// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/interpose/Interposed.h"

#include <cerrno>
#include <functional>
#include <memory>
#include <mutex>
#include <type_traits>
#include <utility>

namespace cabinaudio::test {

/// Sets a hook that has captures for as long as it lives; one at a time for each function.
template <auto& FUNCTION,
          typename Signature = typename std::remove_reference_t<decltype(FUNCTION)>::Function>
class Replaced;

template <auto& FUNCTION, typename Result, typename... Arguments>
class Replaced<FUNCTION, Result(Arguments...)> {
public:
    explicit Replaced(std::function<Result(Arguments...)> hook) {
        exchange(std::make_shared<Hook>(std::move(hook)));
        FUNCTION.set(call);
    }
    ~Replaced() {
        FUNCTION.set(nullptr);
        exchange(nullptr);
    }
    Replaced(const Replaced&) = delete;
    Replaced& operator=(const Replaced&) = delete;

private:
    using Hook = std::function<Result(Arguments...)>;

    static void exchange(std::shared_ptr<Hook> hook) {
        const std::lock_guard lock(sLock);
        sHook.swap(hook);
    }
    static std::shared_ptr<Hook> current() {
        const std::lock_guard lock(sLock);
        return sHook;
    }
    /// The hook stays alive while a call is inside. errno stays as the hook left it.
    static Result call(Arguments... arguments) {
        int error = errno;
        std::shared_ptr<Hook> hook = current();
        errno = error;
        const Result result = hook != nullptr ? (*hook)(arguments...) : FUNCTION.real(arguments...);
        error = errno;
        hook.reset();
        errno = error;
        return result;
    }

    static inline std::mutex sLock;
    static inline std::shared_ptr<Hook> sHook;
};

}  // namespace cabinaudio::test
