// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/link/RemoteCall.h>

#include <dlfcn.h>

#include <cstdint>

/// The library's own operations, for test programs whose versions of them come first.
namespace cabinaudio::test::real {

template <typename Function>
Function next(const char* symbol) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, symbol));
}

inline std::int32_t rcalloc(RemoteCall* rc, std::uint8_t** req, std::uint32_t reqLen,
                            std::uint8_t** ret, std::uint32_t retLen) {
    using Rcalloc =
        std::int32_t (*)(RemoteCall*, std::uint8_t**, std::uint32_t, std::uint8_t**, std::uint32_t);
    static const auto function = next<Rcalloc>("_ZN10RemoteCall7rcallocEPPhjS1_j");
    return function(rc, req, reqLen, ret, retLen);
}

inline std::int32_t rcfree(RemoteCall* rc, void* req, void* ret) {
    using Rcfree = std::int32_t (*)(RemoteCall*, void*, void*);
    static const auto function = next<Rcfree>("_ZN10RemoteCall6rcfreeEPvS0_");
    return function(rc, req, ret);
}

}  // namespace cabinaudio::test::real
