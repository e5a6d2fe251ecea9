// SPDX-License-Identifier: Apache-2.0
#include "tools/view/Export.h"

namespace cabinaudio::tool::view {

std::string exportFault(const std::string& file) {
    const auto endsIn = [&](const char* end) { return file.ends_with(end); };
    return endsIn(".svg") || endsIn(".png")
               ? ""
               : "--export: must be a file name that ends in .svg or .png";
}

void exportPicture(Session&, const ViewOptions&) {
    throw Failure("no picture yet");
}

}  // namespace cabinaudio::tool::view
