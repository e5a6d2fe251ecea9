// SPDX-License-Identifier: Apache-2.0
// A library with the stand-in's soname that never answers the launcher.
extern "C" __attribute__((visibility("default"))) int impostor() {
    return 0;
}
