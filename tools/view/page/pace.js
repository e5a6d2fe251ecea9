// SPDX-License-Identifier: Apache-2.0
// Bars follow every event. Numbers and lines change together and less often: nobody can read faster,
// and each time costs a layout of the page.

const TEXT_PAUSE_MS = 350;

let isDue = true;
let writtenAt = -TEXT_PAUSE_MS;

/** Call before a picture is drawn. `isWhole`: texts are written in any case. */
export function beginPicture(isWhole) {
    const now = performance.now();
    isDue = isWhole || now - writtenAt >= TEXT_PAUSE_MS;
    if (isDue) writtenAt = now;
}

/** Whether the picture that is drawn now has new texts. */
export function textsAreDue() {
    return isDue;
}
