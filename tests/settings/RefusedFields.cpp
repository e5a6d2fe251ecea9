// SPDX-License-Identifier: Apache-2.0
//
// Compiled alone, with the fields of a request on the command line: not a part of the test program.
#include "client/Setting.h"

namespace cabinaudio::setting {

[[maybe_unused]] auto requestOf([[maybe_unused]] const char* tag,
                                [[maybe_unused]] const char* name) {
    return sent(FIELDS).size;
}

}  // namespace cabinaudio::setting
