// SPDX-License-Identifier: Apache-2.0
// A build without FFTW or libsamplerate.
#include "tools/Failure.h"
#include "tools/check/CheckCommand.h"

namespace cabinaudio::tool {

ExitCode run(const CheckOptions& /*options*/, const CommonOptions& /*common*/) {
    throw Failure("this program is built without FFTW or libsamplerate and makes no checks");
}

}  // namespace cabinaudio::tool
