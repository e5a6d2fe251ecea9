// SPDX-License-Identifier: Apache-2.0
#include "tools/view/Assets.h"

#include <algorithm>
#include <utility>

namespace cabinaudio::tool::view {

const char* mediaTypeOf(std::string_view name) {
    static constexpr std::pair<std::string_view, const char*> TYPES[] = {
        {".html", "text/html; charset=utf-8"},
        {".css", "text/css; charset=utf-8"},
        {".js", "text/javascript; charset=utf-8"},
        {".svg", "image/svg+xml"},
        {".json", "application/json"},
        {".png", "image/png"},
        {".ico", "image/vnd.microsoft.icon"}};
    const auto* const found =
        std::find_if(std::begin(TYPES), std::end(TYPES),
                     [&](const auto& type) { return name.ends_with(type.first); });
    return found != std::end(TYPES) ? found->second : "application/octet-stream";
}

}  // namespace cabinaudio::tool::view
