// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>
#include <string_view>

namespace cabinaudio::tool::view {

/// A file of the page.
struct Asset {
    std::string_view name;  // "index.html"
    std::string_view content;
};

/// All files of tools/view/page. The build writes the definition.
[[nodiscard]] std::span<const Asset> assets();

/// The media type by the end of the file's name.
[[nodiscard]] const char* mediaTypeOf(std::string_view name);

}  // namespace cabinaudio::tool::view
