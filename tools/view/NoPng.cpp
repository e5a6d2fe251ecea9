// SPDX-License-Identifier: Apache-2.0
// Of builds without Cairo.
#include "tools/Failure.h"
#include "tools/view/Canvas.h"

namespace cabinaudio::tool::view {

std::unique_ptr<Canvas> makePngCanvas(double, double) {
    throw Failure("this build draws no PNG files: it was made without Cairo; .svg works");
}

}  // namespace cabinaudio::tool::view
