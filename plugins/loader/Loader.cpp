// SPDX-License-Identifier: Apache-2.0
#include "plugins/loader/Loader.h"

#include <dlfcn.h>

namespace cabinaudio::plugin {

namespace {

/// Of the development kit: found by this module's search path.
constexpr char TOGETHER[] = "libcabinaudio-with-board.so";
constexpr char LIBRARY[] = "libcabinaudio.so.2";

std::string beside(const std::string& path) {
    Dl_info module = {};
    if (dladdr(reinterpret_cast<const void*>(&loadModule), &module) == 0) return path;
    const std::string own = module.dli_fname;
    return own.substr(0, own.rfind('/') + 1) + path;
}

bool isLoaded(const char* library) {
    void* const handle = dlopen(library, RTLD_LAZY | RTLD_NOLOAD);
    if (handle != nullptr) dlclose(handle);
    return handle != nullptr;
}

/// A library that is loaded already cannot be bound anew: a program that uses it itself has the
/// launcher, or has chosen to do without the stand-in.
bool needsStandIn() {
    return dlsym(RTLD_DEFAULT, "cabinaudio_board_active") == nullptr && !isLoaded(LIBRARY);
}

}  // namespace

bool bindLibrary() {
    // A module of another kind may have done so.
    if (isLoaded(TOGETHER)) return true;
    return needsStandIn() && dlopen(TOGETHER, RTLD_NOW | RTLD_DEEPBIND) != nullptr;
}

void* loadModule(const std::string& path, Scope scope) {
    const bool isBound = bindLibrary();
    const int mode = isBound && scope == Scope::Module ? RTLD_DEEPBIND : 0;
    return dlopen(beside(path).c_str(), RTLD_NOW | mode);
}

}  // namespace cabinaudio::plugin
