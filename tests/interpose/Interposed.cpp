// SPDX-License-Identifier: Apache-2.0
#include "tests/interpose/Interposed.h"

#include <dlfcn.h>

#include <cstring>

namespace cabinaudio::test {

void* definitionBehind(const char* name, const char* symbol) {
    char intercepted[96] = "__interceptor_";
    std::strncat(intercepted, name, sizeof intercepted - std::strlen(intercepted) - 1);
    void* const sanitizers = dlsym(RTLD_DEFAULT, intercepted);
    return sanitizers != nullptr ? sanitizers : dlsym(RTLD_NEXT, symbol);
}

}  // namespace cabinaudio::test
