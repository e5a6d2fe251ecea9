// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/streams/SourceRouting.h"

#include <algorithm>

namespace cabinaudio::server {

void SourceRouting::activate(PlaybackStream& sink) {
    std::erase(mCandidates, &sink);
    mCandidates.push_back(&sink);
    route();
    sink.offerRing(mDelay);  // again, in case memory was lacking before
}

void SourceRouting::withdraw(const PlaybackStream& sink) {
    std::erase(mCandidates, &sink);
    route();
}

void SourceRouting::onRingUnmapped(PlaybackStream& sink) {
    const bool isUnasked = sink.ringOffer()->isOffered();
    sink.onRingUnmapped();
    if (!isUnasked) return;
    std::erase(mCandidates, &sink);
    if (mActive == &sink) mActive = nullptr;
    route();
}

void SourceRouting::forget(const PlaybackStream& sink) {
    std::erase(mCandidates, &sink);
    if (mActive == &sink) mActive = nullptr;
    route();
}

void SourceRouting::route() {
    PlaybackStream* next = mCandidates.empty() ? nullptr : mCandidates.back();
    if (next == mActive) return;
    if (mActive != nullptr) mActive->withdrawRing();
    mActive = next;
    if (mActive != nullptr) mActive->offerRing(mDelay);
}

}  // namespace cabinaudio::server
