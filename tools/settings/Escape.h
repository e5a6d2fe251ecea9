// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/text/Escape.h"

namespace cabinaudio::tool {

using text::escaped;
using text::unescaped;

}  // namespace cabinaudio::tool
