// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utility>

namespace cabinaudio {

/// Creates an object. Exhausted memory ends the process here, as in AudioNormalMalloc, so that no
/// exception leaves the library.
template <typename T, typename... Arguments>
[[nodiscard]] T* make(Arguments&&... arguments) noexcept {
    return new T(std::forward<Arguments>(arguments)...);
}

}  // namespace cabinaudio
