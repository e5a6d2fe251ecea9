// SPDX-License-Identifier: Apache-2.0
#include "tools/view/Model.h"

#include "tools/BoardLaunch.h"
#include "tools/view/CabinJson.h"

namespace cabinaudio::tool::view {

void Model::connect() {
    mLive.reset();
    mSettings.connect();
    ServerFacts facts;
    facts.isDevelopment = mSettings.isFed();
    facts.instance = boardInstance();
    if (facts.isDevelopment) {
        mLive.emplace(mTimeout);
        if (!mLive->begin(mTimeout)) mLive.reset();
    }
    if (mLive) {
        facts.version = mLive->state().value("version", "");
        facts.time = mLive->state().value("time", "");
    } else {
        facts.version = mSession.serverVersion();
    }
    mCabin = cabinOf(facts);
    ++mConnections;
}

Snapshot Model::snapshot() const {
    return {.connection = mConnections,
            .gone = "",
            .cabin = mCabin,
            .settings = mSettings.shown(),
            .live = mLive ? mLive->live() : nullptr};
}

Snapshot Model::goneSnapshot(const std::string& why) const {
    Snapshot snapshot;
    snapshot.connection = mConnections;
    snapshot.gone = why;
    return snapshot;
}

}  // namespace cabinaudio::tool::view
