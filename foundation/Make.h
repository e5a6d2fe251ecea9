// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utility>

namespace cabinaudio {

/// A new object. Exhausted memory ends the process here, as it does in AudioNormalMalloc, instead
/// of leaving the library as an exception.
template <typename T, typename... Arguments>
[[nodiscard]] T* make(Arguments&&... arguments) noexcept {
    return new T(std::forward<Arguments>(arguments)...);
}

}  // namespace cabinaudio
