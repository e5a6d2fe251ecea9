// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/settings/Setting.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace cabinaudio::tool {

/// One setting: a row of the table, and values for its placeholders.
struct Named {
    const Setting* setting = nullptr;
    Names names = {};
    std::string name = {};  // as users write it, escaped
    bool isByName = false;  // the user gave the full name, not a pattern
};

/// Names that only the server knows.
struct LiveNames {
    Texts types = {};
    std::vector<std::pair<std::string, std::string>> tracks = {};  // pairs of tag and name
};

/// Finds settings by name. The placeholders in the table's names stand for
///
///     <loudspeaker>   LF, RF, LS, RS, CF, L1
///     <path>          main, second, alternative, auxiliary
///     <output>        main, alternative, auxiliary
///     <input>         0, 1
///     <type>          a stream type of the server
///     <tag> <track>   a stream, which need not exist (yet)
///     <number> <effect>   anything; the server does not list them
class Directory {
public:
    /// @param live  empty without a server
    explicit Directory(std::optional<LiveNames> live) : mLive(std::move(live)) {}

    /// All settings whose names are known, in the table's order.
    [[nodiscard]] std::vector<Named> all() const;

    /// The setting with this name; empty if there is none.
    [[nodiscard]] std::optional<Named> find(const std::string& name) const;

    /// Whether select() finds something.
    [[nodiscard]] bool matches(const std::string& nameOrPattern) const;

    /// The setting with this name, or those that match the pattern ('*', '?', '[...]').
    /// @throws Failure with ExitCode::Usage and the most similar names when nothing matches
    [[nodiscard]] std::vector<Named> select(const std::string& nameOrPattern) const;

    /// The same for several names; all settings for an empty list.
    [[nodiscard]] std::vector<Named> select(const std::vector<std::string>& namesOrPatterns) const;

    /// @throws Failure for a setting that does not exist
    [[noreturn]] void refuse(const std::string& name) const;

private:
    void expand(const Setting& setting, std::vector<Named>& into) const;
    [[nodiscard]] bool accepts(const std::string& placeholder, const std::string& text) const;
    [[nodiscard]] bool match(const std::string& pattern, const std::string& name,
                             Names& names) const;

    std::optional<LiveNames> mLive;
};

[[nodiscard]] bool isPattern(const std::string& text);

}  // namespace cabinaudio::tool
