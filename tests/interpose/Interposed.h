// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <type_traits>

/// Functions that test programs define in front of a library's: each in one file of this directory,
/// one file per family. A program that names a family (INTERPOSES in its CMakeLists.txt) defines
/// all functions of the family, and a test sets hooks for those that it observes or replaces.
namespace cabinaudio::test {

/// The definition behind this program's own: a sanitizer's if there is one, else that of the next
/// library.
[[nodiscard]] void* definitionBehind(const char* name, const char* symbol);

template <typename Signature>
class Interposed;

/// One such function. A call without a hook goes straight to the definition behind. Any thread may
/// set a hook at any time; calls that are inside the earlier hook finish there.
///
/// Everything is inlined: the sanitizers' own start-up calls some of the functions, and files that
/// are compiled without sanitizers must not lend others their copies of these operations.
template <typename Result, typename... Arguments>
class Interposed<Result(Arguments...)> {
public:
    using Function = Result(Arguments...);

    /// @param symbol  of the definition behind, if it differs from the name
    constexpr explicit Interposed(const char* name, const char* symbol = nullptr)
        : mName(name), mSymbol(symbol != nullptr ? symbol : name) {}

    [[gnu::always_inline]] Result operator()(Arguments... arguments) {
        Function* const hook = mHook.load(std::memory_order_acquire);
        return hook != nullptr ? hook(arguments...) : real(arguments...);
    }

    /// Calls the definition behind.
    [[gnu::always_inline]] Result real(Arguments... arguments) {
        Function* function = mReal.load(std::memory_order_acquire);
        if (function == nullptr) {
            function = reinterpret_cast<Function*>(definitionBehind(mName, mSymbol));
            mReal.store(function, std::memory_order_release);
        }
        return function(arguments...);
    }

    /// Null removes the hook.
    [[gnu::always_inline]] void set(Function* hook) {
        mHook.store(hook, std::memory_order_release);
    }

    [[nodiscard, gnu::always_inline]] const char* name() const { return mName; }

private:
    const char* mName;
    const char* mSymbol;
    std::atomic<Function*> mHook{nullptr};
    std::atomic<Function*> mReal{nullptr};
};

/// Sets a hook for as long as it lives; one at a time for each function.
template <typename Signature>
class Hooked {
public:
    Hooked(Interposed<Signature>& function, std::type_identity_t<Signature>* hook)
        : mFunction(function) {
        mFunction.set(hook);
    }
    ~Hooked() { mFunction.set(nullptr); }
    Hooked(const Hooked&) = delete;
    Hooked& operator=(const Hooked&) = delete;

private:
    Interposed<Signature>& mFunction;
};

}  // namespace cabinaudio::test
