// SPDX-License-Identifier: Apache-2.0
// A build without Cairo.
#include "devkit/hear/Error.h"
#include "devkit/hear/Picture.h"

namespace cabinaudio::hear {

void drawPicture(const std::string& path, const Recording& /*recording*/,
                 const std::vector<Verdict>& /*verdicts*/) {
    throw Error(path + ": this build draws no pictures: it was built without Cairo");
}

}  // namespace cabinaudio::hear
