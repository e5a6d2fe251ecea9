// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <type_traits>

namespace cabinaudio {

template <typename Signature>
class FunctionRef;

/// A non-owning reference to a callable: two words, no allocation, and a function that takes it is
/// compiled once for all callables. For parameters only; valid as long as the callable.
template <typename... Arguments>
class FunctionRef<void(Arguments...)> {
public:
    template <typename Callable>
    requires(!std::is_same_v<Callable, FunctionRef>) FunctionRef(const Callable& callable)
        : mCallable(&callable), mCall([](const void* self, Arguments... arguments) {
              (*static_cast<const Callable*>(self))(arguments...);
          }) {}

    void operator()(Arguments... arguments) const { mCall(mCallable, arguments...); }

private:
    const void* mCallable;
    void (*mCall)(const void* callable, Arguments... arguments);
};

}  // namespace cabinaudio
