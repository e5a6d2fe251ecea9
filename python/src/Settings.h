// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "python/src/Life.h"
#include "python/src/Python.h"
#include "tools/settings/Clients.h"
#include "tools/settings/Directory.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace cabinaudio::python {

/// The server's settings by the names, with the types, ranges and refusals of the command-line
/// tool. Any thread: one request at a time, without the interpreter lock.
class Settings {
public:
    Settings();
    ~Settings();
    Settings(const Settings&) = delete;
    Settings& operator=(const Settings&) = delete;

    /// Names that fit one name or pattern ('*', '?', '[...]').
    /// @throws py::key_error  when nothing fits
    [[nodiscard]] std::vector<std::string> names(const std::string& pattern);

    /// The value: float, int, bool, str, bytes, or a list of them.
    [[nodiscard]] py::object get(const std::string& name);

    /// @param text  as after `cabinaudio set NAME=`
    /// @throws py::value_error  when the setting does not take it
    void set(const std::string& name, const std::string& text);

    /// Kind, unit, range ...
    [[nodiscard]] py::dict describe(const std::string& name);

    void close();

private:
    [[nodiscard]] tool::Directory directory();
    [[nodiscard]] tool::Named find(const std::string& name);

    Life mLife;
    std::mutex mLock;  // the library's objects are for one thread at a time
    std::unique_ptr<tool::Clients> mClients;
};

void bindSettings(py::module_& module);

}  // namespace cabinaudio::python
