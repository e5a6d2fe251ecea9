// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace cabinaudio::plugin {

/// Where a module finds its symbols first, once the library is deeply bound.
enum class Scope {
    /// In the module and the libraries that it is linked with: it has the library's allocator, also
    /// in a program that has one of its own.
    Module,
    /// In the program: a program has copies of other libraries' variables that it uses itself, and
    /// the module must see them.
    Program
};

/// Loads the client library behind the board's stand-in, as described below, if that is wanted.
/// @return whether the library is bound in this way
[[nodiscard]] bool bindLibrary();

/// Loads a module that is linked with the client library, with local names.
///
/// Where the development kit is installed and the process has neither the board's stand-in nor the
/// library yet, the library is loaded behind the stand-in first: a program then needs no launcher.
/// The stand-in's functions precede the C library's for the library only, not for the program;
/// hence the deep binding. It also goes round functions that others preload. Elsewhere the module
/// is loaded as any other.
///
/// @param path  relative to the directory of the module that contains this function
/// @return a handle, or null; the reason is that of dlerror()
[[nodiscard]] void* loadModule(const std::string& path, Scope scope);

}  // namespace cabinaudio::plugin
